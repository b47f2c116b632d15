#include "mcp/MCPEndpoint.h"

#include "mcp/FakeTools.h"
#include "mcp/ToolCalls.h"
#include "support/Awaited.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

// JSON is written with ' for " here.

HTTPRequest request(QByteArray body)
{
    return {"POST", "/mcp", {{"authorization", "Bearer 0123abcd"}}, body.replace('\'', '"')};
}

/// A response in one line: the status, the type when there is one, the body.
QByteArray toText(const HTTPResponse &response)
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
    MCPEndpoint m_endpoint{MCPAccess("0123abcd"), R"([{"name":"echo"}])"};
    ToolCalls m_calls{m_tools, this};

    static QCoro::Task<HTTPResponse> begin(const MCPEndpoint &endpoint, ToolCalls &calls,
                                           const HTTPRequest &request)
    {
        auto answer = endpoint.answer(request);
        if (auto *const work = std::get_if<ToolRequest>(&answer))
            return calls.run(std::move(*work), 1);
        return [](HTTPResponse response) -> QCoro::Task<HTTPResponse> {
            co_return response;
        }(std::get<HTTPResponse>(std::move(answer)));
    }
    QByteArray answer(const HTTPRequest &request)
    {
        return toText(awaited(begin(m_endpoint, m_calls, request)));
    }
    QByteArray answer(const QByteArray &body) { return answer(request(body)); }

private slots:
    void checksPathThenTokenThenMethod()
    {
        const QByteArray token = "Bearer 0123abcd";
        const auto check = [&](const QByteArray &method, const QByteArray &path,
                               const QByteArray &authorization, const QByteArray &response) {
            HTTPRequest asked{method, path, {{"authorization", authorization}}, request(ping).body};
            QCOMPARE(answer(asked), response);
            asked.headers.clear();
            if (authorization.isEmpty())
                QCOMPARE(answer(asked), response);
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
        const QByteArray deep = QByteArray("[{'a':").repeated(200'000);
        for (const QByteArray &body : QByteArrayList{
                 "", "{'id':1", "[1,{}", "12", "'ping'", "{}{}", "\xef\xbb\xbf{}", "{}\xef\xbb\xbf",
                 QByteArray("{}\0", 3), QByteArray("['\0']", 5), "{'a':[1,]}", "{'a':01}",
                 "{'a':1e400}", "{'a':'\\ud83d'}", "{'a':'\xff'}", "{'a':'b\nc'}", deep})
            check(body, parseError);
        check(deep + '1' + QByteArray("}]").repeated(200'000), "202 ");
        for (const QByteArray body : {"[1]", "[[{}]]", "[{'id':1,'method':'ping'},2]"})
            check(body, invalid);
        for (const QByteArray body : {"[]", "{}", "{'method':'notifications/initialized'}",
                                      "{'method':'ping'}", "[{'method':'ping'},{}]"})
            check(body, "202 ");
        check('[' + ping + ']', ok + '[' + pong + ']');
        check('[' + ping + ",{'method':'x'},{'id':'b','method':'ping'}]",
              ok + '[' + pong + ',' + result("{}", "'b'") + ']');
        for (const QByteArray &id :
             QByteArrayList{"-9007199254740993", "18446744073709551616", "1.0", "-1E-400",
                            "0.1000000000000000055511151231257827", "''", "'ä😀'", "true", "null",
                            "[1,2.50,{}]", "{'b':1,'a':[],'':{'b':'[','c':[]}}"})
            check("{'id': " + id + " ,'method':'ping'}", ok + result("{}", id));
        // Escaped names, members twice, members of the same name elsewhere.
        for (const QByteArray body : {"{'\\u0069d':1,'m\\u0065thod':'p\\u0069ng'}",
                                      "{'id':2,'method':'x','id':1,'method':'ping'}",
                                      "{'id':1,'method':'ping','params':{'id':5,'method':'x'}}"})
            check(body, ok + pong);

        const auto checkUnknown = [&](const QByteArray &member, const QByteArray &method) {
            check("{'id':1" + member + '}', ok + error("-32601", "Unknown method: " + method, "1"));
        };
        checkUnknown("", "");
        checkUnknown(",'method':7", "");
        checkUnknown(",'method':'PING'", "PING");
        checkUnknown(",'method':'a/b \\'c\\'\\n\\u00e4'", "a/b \\'c\\'\\nä");

        const auto checkInitialize = [&](const QByteArray &params, const QByteArray &version) {
            QByteArray actual = answer("{'id':1,'method':'initialize','params':" + params + '}');
            const auto session = actual.indexOf("[Mcp-Session-Id: ");
            QCOMPARE(session, ok.size());
            actual.remove(session, actual.indexOf(' ', session + 20) + 1 - session);
            QCOMPARE(
                actual,
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

        for (const auto &[arguments, text] : QList<std::pair<QByteArray, QByteArray>>{
                 {"{'text':'a\\nü','number':1.5}", "a\\nü, 1.5"},
                 {"{'text':null,'number':18446744073709551615}", "no text, 1.84467e+19"},
                 {"{'text':'x','text':7,'number':'8'}", "no text, no number"},
                 {"['text','number'],'x':{'text':'y'}", "no text, no number"},
                 {"{'text':'x'},'arguments':{'number':1}", "no text, 1"}})
            check(toolCall("{'name':'echo','arguments':" + arguments + '}'),
                  textResult(text, "false"));
        check(toolCall("{'name':'fa\\'il'}"), textResult("Unknown tool: fa\\'il"));
    }

    void handlesABatchOneAfterTheOther()
    {
        auto batch = begin(m_endpoint, m_calls, request('[' + wait + ',' + wait + ']'));
        QCOMPARE(answer(ping), ok + pong); // other requests are answered meanwhile
        QCOMPARE(m_tools.waiting.size(), size_t(1));
        m_tools.deliver(u"done"_s);
        QTRY_COMPARE(m_tools.waiting.size(), size_t(2));
        m_tools.deliver(u"done, too"_s);
        const QByteArray body = awaited(std::move(batch)).body;
        QVERIFY2(body.indexOf("\"done\"") < body.indexOf("done, too"), body);
        // The client cancels a call before it begins; then the client disconnects.
        const QByteArray two = '[' + wait + ',' + toolCall("{'name':'echo'}", "2") + ']';
        batch = begin(m_endpoint, m_calls, request(two));
        answer("{'method':'notifications/cancelled','params':{'requestId':2}}");
        m_tools.deliver(u"first"_s);
        QVERIFY(awaited(std::move(batch)).body.contains("The call was canceled."));
        batch = begin(m_endpoint, m_calls, request(two));
        QTest::qSleep(10); // the event loop continues between the calls
        m_tools.deliver(u"first"_s);
        QMetaObject::invokeMethod(
            this, [this] { m_calls.abandonAll(); }, Qt::QueuedConnection);
        awaited(std::move(batch));
        QVERIFY(m_tools.calls.last() == u"wait"_s);
    }

    void callsNoToolsAfterTheirStateIsDestroyed()
    {
        FakeTools tools;
        auto state = std::make_unique<QObject>();
        ToolCalls calls(tools, state.get());
        state.reset();
        QCOMPARE(toText(awaited(begin(m_endpoint, calls, request(wait)))),
                 textResult("The IDE is shutting down."));
        QVERIFY(tools.calls.isEmpty());
    }

    void refusesABatchWithTooLongReplies()
    {
        const MCPEndpoint endpoint(MCPAccess("0123abcd"), QByteArray(1 << 23, ' '));
        const QByteArray list = "{'id':1,'method':'tools/list'},";
        const QByteArray call = toolCall("{'name':'echo'}");
        m_tools.calls.clear();
        const auto ask = [&](int lists) {
            const QByteArray body = '[' + list.repeated(lists) + call + ']';
            return awaited(begin(endpoint, m_calls, request(body)));
        };
        QCOMPARE(ask(7).status, 200);
        QCOMPARE(toText(ask(8)), invalid);
        QCOMPARE(m_tools.calls.size(), 1); // none of a refused batch
    }
};

QTEST_GUILESS_MAIN(tst_MCPEndpoint)
#include "tst_MCPEndpoint.moc"
