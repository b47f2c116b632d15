#include "mcp/MCPEndpoint.h"

#include "mcp/FakeTools.h"
#include "support/Awaited.h"

#include <QTest>
#include <QTimer>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

HTTPRequest request(const QByteArray &body)
{
    return {"POST", "/mcp", {{"authorization", "Bearer 0123abcd"}}, body};
}

/// A response in one line: the status, the type when there is one, the body.
QByteArray told(const HTTPResponse &response)
{
    QByteArray text = QByteArray::number(response.status);
    for (const auto &[name, value] : response.headers)
        text += " [" + name + ": " + value + ']';
    return text + ' ' + response.body;
}

const QByteArray json = " [Content-Type: application/json] ";
const QByteArray plain = " [Content-Type: text/plain; charset=utf-8] ";
const QByteArray ping = R"({"id":1,"method":"ping"})";
const QByteArray pong = R"({"id":1,"jsonrpc":"2.0","result":{}})";
const QByteArray parseError =
    "400" + json + R"({"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"})";
const QByteArray invalid = "400" + json
    + R"({"error":{"code":-32600,"message":"Invalid request"},"id":null,"jsonrpc":"2.0"})";

QByteArray textResult(const QByteArray &text, const QByteArray &isError)
{
    return "200" + json + "{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":{\"content\":[{\"text\":\""
        + text + "\",\"type\":\"text\"}],\"isError\":" + isError + "}}";
}

QByteArray toolCall(const QByteArray &params, const QByteArray &id = "1")
{
    return "{\"id\":" + id + R"(,"method":"tools/call","params":)" + params + '}';
}

const QByteArray wait = toolCall(R"({"name":"wait"})");

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
        const auto answer = [&](const QByteArray &method, const QByteArray &path,
                                const QByteArray &authorization) {
            return told(awaited(
                m_endpoint.answer({method, path, {{"authorization", authorization}}, ping})));
        };
        for (const QByteArray path : {"/", "/MCP", "/mc"})
            QCOMPARE(answer("POST", path, path == "/" ? token : ""), "404 ");
        for (const QByteArray wrong : {"", "bearer 0123abcd", "Bearer 0123ABCD", "Bearer 0123",
                                       "Bearer 0123abcd0", "Basic x"})
            QCOMPARE(answer("GET", "/mcp", wrong), "401" + plain + "Unauthorized");
        QCOMPARE(told(awaited(m_endpoint.answer({"POST", "/mcp", {}, ping}))),
                 "401" + plain + "Unauthorized");
        QCOMPARE(answer("GET", "/mcp", token),
                 "405" + plain + "This endpoint does not provide an SSE stream");
        for (const QByteArray method : {"get", "PUT"})
            QCOMPARE(answer(method, "/mcp", token), "405 ");
        QCOMPARE(answer("DELETE", "/mcp/x?y", token), "200 ");
        QCOMPARE(answer("POST", "/mcp?session=1", token), "200" + json + pong);
    }

    void answersMessages_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("response");
        const auto row = [](const QByteArray &body, const QByteArray &response) {
            QTest::newRow(body.left(80).toPercentEncoding(" \"[]{}:,/\\")) << body << response;
        };
        for (const QByteArray body : {"", "{\"id\":1", "12", "\"ping\"", "null", "\xef\xbb\xbf{}",
                                      "{}{}", R"({"id":"\ud800","method":"ping"})"})
            row(body, parseError);
        for (const QByteArray body : {"[1]", "[[{}]]", R"([{"id":1,"method":"ping"},2])"})
            row(body, invalid);
        for (const QByteArray body : {"[]", "{}", R"({"method":"notifications/initialized"})",
                                      R"({"method":"ping"})", R"([{"method":"ping"},{}])"})
            row(body, "202 ");

        // Names written otherwise, that come twice, inside others.
        for (const QByteArray body : {R"({"\u0069d":1,"m\u0065thod":"p\u0069ng"})",
                                      R"({"id":2,"method":"x","id":1,"method":"ping"})",
                                      R"({"params":{"id":5,"method":"x"},"id":1,"method":"ping"})"})
            row(body, "200" + json + pong);
        row('[' + ping + ']', "200" + json + '[' + pong + ']');
        row('[' + ping + R"(,{"method":"x"},{"id":"b","method":"ping"}])",
            "200" + json + '[' + pong + R"(,{"id":"b","jsonrpc":"2.0","result":{}}])");

        const auto unknown = [&](const QByteArray &member, const QByteArray &method) {
            row("{\"id\":1" + member + '}',
                "200" + json + "{\"error\":{\"code\":-32601,\"message\":\"Unknown method: " + method
                    + "\"},\"id\":1,\"jsonrpc\":\"2.0\"}");
        };
        unknown({}, {});
        unknown(R"(,"method":7)", {});
        unknown(R"(,"method":"PING")", "PING");
        unknown(",\"method\":\"a/b \\\"c\\\"\\n\\u00e4\"", "a/b \\\"c\\\"\\nä");

        const auto initialize = [&](const QByteArray &params, const QByteArray &version) {
            row(R"({"id":1,"method":"initialize")" + params + '}',
                "200" + json + R"({"id":1,"jsonrpc":"2.0","result":{"capabilities":{"tools":)"
                    + "{\"listChanged\":false}},\"protocolVersion\":\"" + version
                    + "\",\"serverInfo\":{\"name\":\"korvane\",\"version\":\"1.0.0\"}}}");
        };
        initialize({}, "2025-06-18");
        initialize(",\"params\":{\"protocolVersion\":\"1999 \\\"x\\\"\"}", "1999 \\\"x\\\"");
        initialize(R"(,"params":{"protocolVersion":2})", "2025-06-18");
        initialize(R"(,"params":["protocolVersion","x"])", "2025-06-18");
        for (const QByteArray params : {"", R"(,"params":{"cursor":"x"})"})
            row(R"({"id":1,"method":"tools/list")" + params + '}',
                "200" + json + R"({"id":1,"jsonrpc":"2.0","result":{"tools":[{"name":"echo"}]}})");

        row(toolCall(R"({"name":"echo","arguments":{"text":"a\nü","number":1.5}})"),
            textResult(R"(a\nü, 1.5)", "false"));
        // Of other kinds, twice, no object, none.
        for (const QByteArray rest :
             {R"(,"arguments":{"text":1,"number":true})",
              R"(,"arguments":{"text":"a","text":null})", R"(,"arguments":["text"])", ""})
            row(toolCall(R"({"name":"echo")" + rest + '}'),
                textResult("no text, no number", "false"));
        row(toolCall("{\"name\":\"fa\\\"il\"}"), textResult("Unknown tool: fa\\\"il", "true"));
        row(toolCall(R"({"name":1})"), textResult("Unknown tool: ", "true"));
        row(R"({"id":1,"method":"tools/call"})", textResult("Unknown tool: ", "true"));
    }
    void answersMessages()
    {
        QFETCH(const QByteArray, body);
        QFETCH(const QByteArray, response);
        QCOMPARE(answer(body), response);
        QCOMPARE_LE(m_tools.definitionsCount, 1);
    }

    void givesIdsBackAsTheyCame()
    {
        for (const QByteArray &id : QByteArrayList{
                 "0", "-0", "9007199254740993", "18446744073709551616", "1.0", "1e400", "-1E-400",
                 "0.1000000000000000055511151231257827", "\"\"", "\"\\u00e4\\/\"", "\"ä😀\"", "true",
                 "null", "[1, 2.50]", "{\"b\":1,\"a\":[ ]}",
                 QByteArray(100'000, '[') + QByteArray(100'000, ']'),
                 '"' + QByteArray(100'000, 'x') + '"'}) {
            const QByteArray asked = "{ \"id\" : " + id + " , \"method\":\"ping\"}";
            const QByteArray reply = "{\"id\":" + id + R"(,"jsonrpc":"2.0","result":{}})";
            QCOMPARE(answer(asked), "200" + json + reply);
            QCOMPARE(answer('[' + asked + ']'), "200" + json + '[' + reply + ']');
            const QByteArray call =
                toolCall(R"({"name":"echo","arguments":{"text":)" + id + "}}", id);
            QVERIFY2(answer(call).startsWith("200" + json + "{\"id\":" + id + ','), id);
        }
    }

    void handlesABatchOneAfterTheOther()
    {
        auto batch = m_endpoint.answer(request('[' + wait + ',' + wait + ']'));
        QCOMPARE(answer(ping), "200" + json + pong); // others go on meanwhile
        QCOMPARE(m_tools.waiting.size(), size_t(1));
        m_tools.deliver(u"done"_s);
        QTRY_COMPARE(m_tools.waiting.size(), size_t(2));
        m_tools.deliver(u"done, too"_s);
        const QByteArray body = awaited(std::move(batch)).body;
        QVERIFY2(body.indexOf(R"("done")") < body.indexOf(R"("done, too")"), body);
    }

    void asksNoToolsWithoutWhatTheyWorkOn()
    {
        FakeTools tools;
        auto state = std::make_unique<QObject>();
        MCPEndpoint endpoint(MCPAccess("0123abcd"), tools, state.get());
        state.reset();
        QCOMPARE(told(awaited(endpoint.answer(request(wait)))),
                 textResult("The IDE is shutting down.", "true"));
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
                                       "{\"params\":\"" + QByteArray(8'000'000, 'x') + "\"}"}) {
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
        const QByteArray list = R"({"id":1,"method":"tools/list"},)";
        const QByteArray call = toolCall(R"({"name":"echo"})");
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
