#include "mcp/MCPEndpoint.h"

#include "mcp/FakeTools.h"
#include "support/Awaited.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

HTTPRequest request(const QByteArray &body, const QByteArray &method = "POST")
{
    return {method, "/mcp", {{"authorization", "Bearer 0123abcd"}}, body};
}

/// A response in one line: the status, the type when there is one, the body.
QByteArray told(const HTTPResponse &response)
{
    QByteArray text = QByteArray::number(response.status);
    for (const auto &[name, value] : response.headers)
        text += " [" + name + ": " + value + ']';
    return text + ' ' + response.body;
}

const QByteArray json = "200 [Content-Type: application/json] ";
const QByteArray badJson = "400 [Content-Type: application/json] ";
const QByteArray plain = " [Content-Type: text/plain; charset=utf-8] ";

QByteArray textResult(const QByteArray &text, const QByteArray &isError)
{
    return json + "{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":{\"content\":[{\"text\":\"" + text
        + "\",\"type\":\"text\"}],\"isError\":" + isError + "}}";
}

QByteArray toolCall(const QByteArray &params)
{
    return R"({"id":1,"method":"tools/call","params":)" + params + '}';
}

} // namespace

class tst_MCPEndpoint final : public QObject
{
    Q_OBJECT

private:
    FakeTools m_tools;
    QObject m_state;
    MCPEndpoint m_endpoint{MCPAccess("0123abcd"), m_tools, &m_state};

private slots:
    void checksPathThenTokenThenMethod_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("authorization");
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArray>("response");
        const QByteArray token = "Bearer 0123abcd";
        const auto row = [](const char *name, const QByteArray &path,
                            const QByteArray &authorization, const QByteArray &method,
                            const QByteArray &response) {
            QTest::newRow(name) << path << authorization << method << response;
        };
        row("another path", "/", token, "POST", "404 ");
        row("a path in capitals", "/MCP", token, "GET", "404 ");
        row("a path without the token", "/mc", {}, "GET", "404 ");
        row("a longer path", "/mcp/x?y", token, "DELETE", "200 ");
        row("no token", "/mcp", {}, "POST", "401" + plain + "Unauthorized");
        row("the scheme in lower case", "/mcp", "bearer 0123abcd", "POST",
            "401" + plain + "Unauthorized");
        row("the token in capitals", "/mcp", "Bearer 0123ABCD", "POST",
            "401" + plain + "Unauthorized");
        row("half the token", "/mcp", "Bearer 0123", "POST", "401" + plain + "Unauthorized");
        row("the token twice", "/mcp", token + token, "POST", "401" + plain + "Unauthorized");
        row("the token and more", "/mcp", token + "B", "POST", "401" + plain + "Unauthorized");
        row("no token for another method", "/mcp", "Basic x", "GET",
            "401" + plain + "Unauthorized");
        row("GET", "/mcp", token, "GET",
            "405" + plain + "This endpoint does not provide an SSE stream");
        row("get", "/mcp", token, "get", "405 ");
        row("PUT", "/mcp", token, "PUT", "405 ");
        row("DELETE", "/mcp", token, "DELETE", "200 ");
        row("POST", "/mcp?session=1", token, "POST",
            json + R"({"id":1,"jsonrpc":"2.0","result":{}})");
    }
    void checksPathThenTokenThenMethod()
    {
        QFETCH(const QByteArray, path);
        QFETCH(const QByteArray, authorization);
        QFETCH(const QByteArray, method);
        QFETCH(const QByteArray, response);
        HTTPRequest asked{method, path, {}, R"({"id":1,"method":"ping"})"};
        if (!authorization.isNull())
            asked.headers["authorization"] = authorization;
        QCOMPARE(told(awaited(m_endpoint.answer(asked))), response);
    }

    void answersMessages_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("response");
        const auto row = [](const char *name, const QByteArray &body, const QByteArray &response) {
            QTest::newRow(name) << body << response;
        };
        const auto parseError = badJson
            + R"({"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"})";
        const auto invalid = badJson
            + R"({"error":{"code":-32600,"message":"Invalid request"},"id":null,"jsonrpc":"2.0"})";
        const auto initialized = [](const QByteArray &version) {
            return json
                + R"({"id":0,"jsonrpc":"2.0","result":{"capabilities":{"tools":{"listChanged":false}},)"
                  "\"protocolVersion\":\""
                + version + "\",\"serverInfo\":{\"name\":\"korvane\",\"version\":\"1.0.0\"}}}";
        };
        const auto unknown = [](const QByteArray &method) {
            return json + "{\"error\":{\"code\":-32601,\"message\":\"Unknown method: " + method
                + "\"},\"id\":1,\"jsonrpc\":\"2.0\"}";
        };

        row("nothing", "", parseError);
        row("no JSON", "{\"id\":1", parseError);
        row("a bare number", "12", parseError);
        row("a bare string", "\"ping\"", parseError);
        row("null", "null", parseError);
        row("a byte-order mark", "\xef\xbb\xbf{}", parseError);
        row("more behind it", "{}{}", parseError);
        row("half a character", R"({"id":"\ud800","method":"ping"})", parseError);
        row("an array of numbers", "[1]", invalid);
        row("an array of arrays", "[[{}]]", invalid);
        row("one number among objects", R"([{"id":1,"method":"ping"},2])", invalid);
        row("an empty array", "[]", "202 ");

        row("a notification", R"({"method":"notifications/initialized"})", "202 ");
        row("a request without id", R"({"method":"ping"})", "202 ");
        row("an empty object", "{}", "202 ");
        row("a null id", R"({"id":null,"method":"ping"})",
            json + R"({"id":null,"jsonrpc":"2.0","result":{}})");
        row("no method", R"({"id":1})", unknown(""));
        row("a method that is no string", R"({"id":1,"method":7})", unknown(""));
        row("an unknown method", "{\"id\":1,\"method\":\"a/b \\\"c\\\"\\n\\u00e4\"}",
            unknown("a/b \\\"c\\\"\\nä"));
        row("a method in capitals", R"({"id":1,"method":"PING"})", unknown("PING"));
        row("names written otherwise", R"({"\u0069d":1,"m\u0065thod":"p\u0069ng"})",
            json + R"({"id":1,"jsonrpc":"2.0","result":{}})");
        row("names that come twice", R"({"id":2,"method":"x","id":1,"method":"ping"})",
            json + R"({"id":1,"jsonrpc":"2.0","result":{}})");
        row("members inside others", R"({"params":{"id":5,"method":"x"},"id":1,"method":"ping"})",
            json + R"({"id":1,"jsonrpc":"2.0","result":{}})");

        row("initialize", R"({"id":0,"method":"initialize"})", initialized("2025-06-18"));
        row("initialize with a version",
            "{\"id\":0,\"method\":\"initialize\",\"params\":{\"protocolVersion\":\"1999 "
            "\\\"x\\\"\"}}",
            initialized("1999 \\\"x\\\""));
        row("initialize with a number",
            R"({"id":0,"method":"initialize","params":{"protocolVersion":2}})",
            initialized("2025-06-18"));
        row("initialize with an array",
            R"({"id":0,"method":"initialize","params":["protocolVersion","x"]})",
            initialized("2025-06-18"));
        const auto tools =
            json + R"({"id":1,"jsonrpc":"2.0","result":{"tools":[{"name":"echo"}]}})";
        row("tools/list", R"({"id":1,"method":"tools/list"})", tools);
        row("tools/list again", R"({"id":1,"method":"tools/list","params":{"cursor":"x"}})", tools);

        row("a tool", toolCall(R"({"name":"echo","arguments":{"text":"a\nü","number":1.5}})"),
            textResult(R"(a\nü, 1.5)", "false"));
        row("arguments of other kinds",
            toolCall(R"({"name":"echo","arguments":{"text":1,"number":true}})"),
            textResult("no text, no number", "false"));
        row("the later of two arguments",
            toolCall(R"({"name":"echo","arguments":{"text":"a","text":null}})"),
            textResult("no text, no number", "false"));
        row("arguments that are no object", toolCall(R"({"name":"echo","arguments":["text"]})"),
            textResult("no text, no number", "false"));
        row("a tool without arguments", toolCall(R"({"name":"echo"})"),
            textResult("no text, no number", "false"));
        row("a tool that fails", toolCall("{\"name\":\"fa\\\"il\"}"),
            textResult("Unknown tool: fa\\\"il", "true"));
        row("a tool without a name", toolCall(R"({"name":1})"),
            textResult("Unknown tool: ", "true"));
        row("a call without params", R"({"id":1,"method":"tools/call"})",
            textResult("Unknown tool: ", "true"));

        row("a batch", R"([{"id":1,"method":"ping"},{"method":"x"},{"id":"b","method":"ping"}])",
            json
                + R"([{"id":1,"jsonrpc":"2.0","result":{}},{"id":"b","jsonrpc":"2.0","result":{}}])");
        row("a batch of one", R"([{"id":1,"method":"ping"}])",
            json + R"([{"id":1,"jsonrpc":"2.0","result":{}}])");
        row("a batch of notifications", R"([{"method":"ping"},{}])", "202 ");
    }
    void answersMessages()
    {
        QFETCH(const QByteArray, body);
        QFETCH(const QByteArray, response);
        QCOMPARE(told(awaited(m_endpoint.answer(request(body)))), response);
        QCOMPARE_LE(m_tools.definitionsCount, 1);
    }

    void givesIdsBackAsTheyCame_data()
    {
        QTest::addColumn<QByteArray>("id");
        for (const char *id :
             {"0", "-0", "9007199254740993", "18446744073709551616", "1.0", "1e400", "-1E-400",
              "0.1000000000000000055511151231257827", "\"\"", "\"\\u00e4\\/\"", "\"ä😀\"", "true",
              "null", "[1, 2.50]", "{\"b\":1,\"a\":[ ]}"})
            QTest::addRow("%s", id) << QByteArray(id);
        QTest::newRow("deep") << QByteArray(100000, '[') + QByteArray(100000, ']');
        QTest::newRow("long") << '"' + QByteArray(100000, 'x') + '"';
    }
    void givesIdsBackAsTheyCame()
    {
        QFETCH(const QByteArray, id);
        const QByteArray asked = "{ \"id\" : " + id + " , \"method\":\"ping\"}";
        const QByteArray reply = "{\"id\":" + id + R"(,"jsonrpc":"2.0","result":{}})";
        QCOMPARE(awaited(m_endpoint.answer(request(asked))).body, reply);
        QCOMPARE(awaited(m_endpoint.answer(request('[' + asked + ']'))).body, '[' + reply + ']');
        const auto inCall = awaited(m_endpoint.answer(request(
            "{\"id\":" + id + R"(,"method":"tools/call","params":{"name":"echo","arguments":)"
            + "{\"text\":" + id + "}}}")));
        QVERIFY(inCall.body.startsWith("{\"id\":" + id + ','));
    }

    void handlesABatchOneAfterTheOther()
    {
        FakeTools tools;
        MCPEndpoint endpoint(MCPAccess("0123abcd"), tools, this);
        const QByteArray wait = toolCall(R"({"name":"wait"})");
        auto batch = endpoint.answer(request('[' + wait + ',' + wait + "]"));
        // Others go on meanwhile.
        QCOMPARE(awaited(endpoint.answer(request(R"({"id":1,"method":"ping"})"))).status, 200);
        QCOMPARE(tools.waiting(), size_t(1));
        tools.deliver(u"done"_s);
        QTRY_COMPARE(tools.waiting(), size_t(2));
        tools.deliver(u"done, too"_s);
        const QByteArray body = awaited(std::move(batch)).body;
        QVERIFY2(body.indexOf(R"("done")") < body.indexOf(R"("done, too")"), body);
    }

    void asksNoToolsWithoutWhatTheyWorkOn()
    {
        FakeTools tools;
        auto state = std::make_unique<QObject>();
        MCPEndpoint endpoint(MCPAccess("0123abcd"), tools, state.get());
        state.reset();
        const auto response = awaited(endpoint.answer(request(toolCall(R"({"name":"echo"})"))));
        QCOMPARE(told(response), textResult("The IDE is shutting down.", "true"));
        QCOMPARE(tools.calls, QStringList());
    }

    void endsTheWaitWhenItGoes()
    {
        auto tools = std::make_unique<FakeTools>();
        auto endpoint = std::make_unique<MCPEndpoint>(MCPAccess("0123abcd"), *tools, this);
        auto call = endpoint->answer(request('[' + toolCall(R"({"name":"wait"})") + ",{}]"));
        auto longOne = endpoint->answer(request(QByteArray(3'000'000, ' ') + "{}"));
        QVERIFY(!call.isReady());
        QVERIFY(!longOne.isReady());
        endpoint.reset();
        tools.reset();
        QCOMPARE(awaited(std::move(call)).status, 404);
        QCOMPARE(awaited(std::move(longOne)).status, 404);
    }

    void keepsTheWindowGoingDuringLongRequests_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        QTest::newRow("a long batch")
            << '[' + QByteArray(R"({"id":1,"method":"ping"},)").repeated(30'000) + "{}]" << 200;
        QTest::newRow("a long batch of notifications")
            << '[' + QByteArray("{},").repeated(300'000) + "{}]" << 202;
        QTest::newRow("a long text")
            << "{\"id\":1,\"method\":\"x\",\"params\":\"" + QByteArray(8'000'000, 'x') + "\"}"
            << 200;
    }
    void keepsTheWindowGoingDuringLongRequests()
    {
        QFETCH(const QByteArray, body);
        QFETCH(const int, status);
        QTimer ticker;
        int ticks = 0;
        connect(&ticker, &QTimer::timeout, this, [&] { ++ticks; });
        ticker.start(0);
        QCOMPARE(awaited(m_endpoint.answer(request(body))).status, status);
        QCOMPARE_GT(ticks, 3);
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
        QCOMPARE(tools.calls.size(), 1);
        QCOMPARE(told(ask(8)),
                 badJson
                     + R"({"error":{"code":-32600,"message":"Invalid request"},"id":null,)"
                       R"("jsonrpc":"2.0"})");
        QCOMPARE(tools.calls.size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_MCPEndpoint)
#include "tst_MCPEndpoint.moc"
