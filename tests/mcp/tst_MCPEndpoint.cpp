#include "mcp/MCPEndpoint.h"

#include "mcp/FakeTools.h"
#include "support/Awaited.h"

#include <QTest>
#include <QTimer>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

// JSON is written with ' for " here.

HTTPRequest request(QByteArray body)
{
    return {"POST", "/mcp", {{"authorization", "Bearer 0123abcd"}}, body.replace('\'', '"')};
}

/// A response in one line: the status, the type when there is one, the body.
QByteArray told(const HTTPResponse &response)
{
    QByteArray text = QByteArray::number(response.status) + ' ';
    for (const auto &[name, value] : response.headers)
        text += '[' + name + ": " + value + "] ";
    text += response.body;
    return text.replace('"', '\'');
}

QByteArray result(const QByteArray &value, const QByteArray &id = "1")
{
    return "{'id':" + id + ",'jsonrpc':'2.0','result':" + value + '}';
}

QByteArray error(const QByteArray &code, const QByteArray &text, const QByteArray &id)
{
    return "{'error':{'code':" + code + ",'message':'" + text + "'},'id':" + id
        + ",'jsonrpc':'2.0'}";
}

const QByteArray ok = "200 [Content-Type: application/json] ";
const QByteArray bad = "400 [Content-Type: application/json] ";
const QByteArray parseError = bad + error("-32700", "Parse error", "null");
const QByteArray invalid = bad + error("-32600", "Invalid request", "null");
const QByteArray ping = "{'id':1,'method':'ping'}";
const QByteArray pong = result("{}");

QByteArray textResult(const QByteArray &text, const QByteArray &isError = "true")
{
    return ok
        + result("{'content':[{'text':'" + text + "','type':'text'}],'isError':" + isError + '}');
}

QByteArray toolCall(const QByteArray &params, const QByteArray &id = "1")
{
    return "{'id':" + id + ",'method':'tools/call','params':" + params + '}';
}

const QByteArray wait = toolCall("{'name':'wait'}");

} // namespace

class tst_MCPEndpoint final : public QObject
{
    Q_OBJECT

private:
    FakeTools m_tools;
    MCPEndpoint m_endpoint{MCPAccess("0123abcd"), m_tools, this};

    QByteArray answer(const QByteArray &body)
    {
        return told(awaited(m_endpoint.answer(request(body))));
    }

private slots:
    void checksPathThenTokenThenMethod()
    {
        const QByteArray token = "Bearer 0123abcd";
        const auto check = [&](const QByteArray &method, const QByteArray &path,
                               const QByteArray &authorization, const QByteArray &response) {
            HTTPRequest asked{method, path, {{"authorization", authorization}}, request(ping).body};
            QCOMPARE(told(awaited(m_endpoint.answer(asked))), response);
            asked.headers.clear();
            if (authorization.isEmpty())
                QCOMPARE(told(awaited(m_endpoint.answer(asked))), response);
        };
        const QByteArray plain = " [Content-Type: text/plain; charset=utf-8] ";
        check("POST", "/", token, "404 ");
        check("GET", "/MCP", token, "404 ");
        check("GET", "/mc", {}, "404 ");
        for (const QByteArray wrong : {"", "bearer 0123abcd", "Bearer 0123ABCD", "Bearer 0123",
                                       "Bearer 0123abcd0", "Basic x"})
            check("GET", "/mcp", wrong, "401" + plain + "Unauthorized");
        check("GET", "/mcp", token, "405" + plain + "This endpoint does not provide an SSE stream");
        check("get", "/mcp", token, "405 ");
        check("PUT", "/mcp", token, "405 ");
        check("DELETE", "/mcp/x?y", token, "200 ");
        check("POST", "/mcp?session=1", token, ok + pong);
    }

    void answersMessages()
    {
        const auto check = [&](const QByteArray &body, const QByteArray &response) {
            const QByteArray actual = answer(body);
            QVERIFY2(actual == response, body + " leads to " + actual);
        };
        for (const QByteArray body : {"", "{'id':1", "12", "'ping'", "null", "\xef\xbb\xbf{}",
                                      "{}{}", "{'id':'\\ud800','method':'ping'}"})
            check(body, parseError);
        for (const QByteArray body : {"[1]", "[[{}]]", "[{'id':1,'method':'ping'},2]"})
            check(body, invalid);
        for (const QByteArray body : {"[]", "{}", "{'method':'notifications/initialized'}",
                                      "{'method':'ping'}", "[{'method':'ping'},{}]"})
            check(body, "202 ");
        // Names written otherwise, that come twice, inside others.
        for (const QByteArray body : {"{'\\u0069d':1,'m\\u0065thod':'p\\u0069ng'}",
                                      "{'id':2,'method':'x','id':1,'method':'ping'}",
                                      "{'params':{'id':5,'method':'x'},'id':1,'method':'ping'}"})
            check(body, ok + pong);
        check('[' + ping + ']', ok + '[' + pong + ']');
        check('[' + ping + ",{'method':'x'},{'id':'b','method':'ping'}]",
              ok + '[' + pong + ',' + result("{}", "'b'") + ']');

        const auto checkUnknown = [&](const QByteArray &member, const QByteArray &method) {
            check("{'id':1" + member + '}', ok + error("-32601", "Unknown method: " + method, "1"));
        };
        checkUnknown("", "");
        checkUnknown(",'method':7", "");
        checkUnknown(",'method':'PING'", "PING");
        checkUnknown(",'method':'a/b \\'c\\'\\n\\u00e4'", "a/b \\'c\\'\\nä");

        const auto checkInitialize = [&](const QByteArray &params, const QByteArray &version) {
            check("{'id':1,'method':'initialize','params':" + params + '}',
                  ok
                      + result("{'capabilities':{'tools':{'listChanged':false}},'protocolVersion':'"
                               + version + "','serverInfo':{'name':'korvane','version':'1.0.0'}}"));
        };
        checkInitialize("{}", "2025-06-18");
        checkInitialize("{'protocolVersion':'1999 \\'x\\''}", "1999 \\'x\\'");
        checkInitialize("{'protocolVersion':2}", "2025-06-18");
        checkInitialize("['protocolVersion','x']", "2025-06-18");
        for (const QByteArray params : {"", ",'params':{'cursor':'x'}"})
            check("{'id':1,'method':'tools/list'" + params + '}',
                  ok + result("{'tools':[{'name':'echo'}]}"));
        QCOMPARE(m_tools.definitionsCount, 1);

        check(toolCall("{'name':'echo','arguments':{'text':'a\\nü','number':1.5}}"),
              textResult("a\\nü, 1.5", "false"));
        // Of other kinds, twice, no object, none.
        for (const QByteArray rest :
             {",'arguments':{'text':1,'number':true}", ",'arguments':{'text':'a','text':null}",
              ",'arguments':['text']", ""})
            check(toolCall("{'name':'echo'" + rest + '}'),
                  textResult("no text, no number", "false"));
        check(toolCall("{'name':'fa\\'il'}"), textResult("Unknown tool: fa\\'il"));
        check(toolCall("{'name':1}"), textResult("Unknown tool: "));
        check("{'id':1,'method':'tools/call'}", textResult("Unknown tool: "));
    }

    void givesIdsBackAsTheyCame()
    {
        for (const QByteArray &id :
             QByteArrayList{"0", "-0", "9007199254740993", "18446744073709551616", "1.0", "1e400",
                            "-1E-400", "0.1000000000000000055511151231257827", "''", "'\\u00e4\\/'",
                            "'ä😀'", "true", "null", "[1, 2.50]", "{'b':1,'a':[ ]}",
                            QByteArray(100'000, '[') + QByteArray(100'000, ']'),
                            '\'' + QByteArray(100'000, 'x') + '\''}) {
            const QByteArray asked = "{ 'id' : " + id + " , 'method':'ping'}";
            QCOMPARE(answer(asked), ok + result("{}", id));
            QCOMPARE(answer('[' + asked + ']'), ok + '[' + result("{}", id) + ']');
            const QByteArray call = toolCall("{'name':'echo','arguments':{'text':" + id + "}}", id);
            QVERIFY2(answer(call).startsWith(ok + "{'id':" + id + ','), id);
        }
    }

    void handlesABatchOneAfterTheOther()
    {
        auto batch = m_endpoint.answer(request('[' + wait + ',' + wait + ']'));
        QCOMPARE(answer(ping), ok + pong); // others go on meanwhile
        QCOMPARE(m_tools.waiting.size(), size_t(1));
        m_tools.deliver(u"done"_s);
        QTRY_COMPARE(m_tools.waiting.size(), size_t(2));
        m_tools.deliver(u"done, too"_s);
        const QByteArray body = awaited(std::move(batch)).body;
        QVERIFY2(body.indexOf("\"done\"") < body.indexOf("done, too"), body);
    }

    void asksNoToolsWithoutWhatTheyWorkOn()
    {
        FakeTools tools;
        auto state = std::make_unique<QObject>();
        MCPEndpoint endpoint(MCPAccess("0123abcd"), tools, state.get());
        state.reset();
        QCOMPARE(told(awaited(endpoint.answer(request(wait)))),
                 textResult("The IDE is shutting down."));
        QVERIFY(tools.calls.isEmpty());
    }

    void endsTheWaitWhenItGoes()
    {
        auto tools = std::make_unique<FakeTools>();
        auto endpoint = std::make_unique<MCPEndpoint>(MCPAccess("0123abcd"), *tools, this);
        auto call = endpoint->answer(request('[' + wait + ",{}]"));
        auto longOne = endpoint->answer(request(QByteArray(3'000'000, ' ') + "{}"));
        QVERIFY(!call.isReady());
        QVERIFY(!longOne.isReady());
        endpoint.reset();
        tools.reset();
        QCOMPARE(awaited(std::move(call)).status, 404);
        QCOMPARE(awaited(std::move(longOne)).status, 404);
    }

    void keepsTheWindowGoingDuringLongRequests()
    {
        for (const QByteArray &body : {'[' + (ping + ',').repeated(30'000) + "{}]",
                                       '[' + QByteArray("{},").repeated(300'000) + "{}]",
                                       "{'params':'" + QByteArray(8'000'000, 'x') + "'}"}) {
            QTimer ticker;
            int ticks = 0;
            connect(&ticker, &QTimer::timeout, this, [&] { ++ticks; });
            ticker.start(0);
            QVERIFY2(answer(body).startsWith("20"), body.first(50));
            QCOMPARE_GT(ticks, 3);
        }
    }

    void refusesABatchThatAsksForMoreThanItMay()
    {
        FakeTools tools;
        tools.definitionsText = QByteArray(1 << 23, ' ');
        MCPEndpoint endpoint(MCPAccess("0123abcd"), tools, this);
        const QByteArray list = "{'id':1,'method':'tools/list'},";
        const QByteArray call = toolCall("{'name':'echo'}");
        const auto ask = [&](int lists) {
            return awaited(endpoint.answer(request('[' + list.repeated(lists) + call + ']')));
        };
        QCOMPARE(ask(7).status, 200);
        QCOMPARE(told(ask(8)), invalid);
        QCOMPARE(tools.calls.size(), 1); // not again behind the bound
    }
};

QTEST_GUILESS_MAIN(tst_MCPEndpoint)
#include "tst_MCPEndpoint.moc"
