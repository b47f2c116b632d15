#include "mcp/MCPServer.h"

#include "mcp/FakeTools.h"
#include "mcp/MCPHTTPServer.h"
#include "mcp/SocketClient.h"
#include "support/MemorySettings.h"
#include "support/RecordingShell.h"

#include <QRegularExpression>
#include <QTest>

#include <future>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QByteArray ofSession(const QByteArray &session, const QByteArray &body)
{
    const QByteArray token = "Authorization: Bearer 0123abcd\r\n";
    return post(body, session.isEmpty() ? token : token + "Mcp-Session-Id: " + session + "\r\n");
}

/// A server with its dependencies, on a port that was free at the start.
class ServerFixture
{
public:
    ServerFixture()
    {
        MCPHTTPServer probe(0, {});
        if (!probe.start())
            qFatal("There is no free port.");
        settings.setNumber(Settings::serverPort, probe.port());
        settings.setText(Settings::serverToken, u"0123abcd"_s);
        probe.stop();
        make();
    }
    void make()
    {
        server.reset();
        auto fakes = std::make_unique<FakeTools>();
        tools = fakes.get();
        server.reset(new MCPServer({shell, settings, [](bool) {}, std::move(fakes), &state}));
    }
    /// Calls the tool "wait" from \p client.
    void beginCall(SocketClient &client, const QByteArray &id, const QByteArray &session = {})
    {
        const auto before = tools->stops.size();
        server->start();
        client.connectTo(server->port());
        client.send(ofSession(
            session, R"({"method":"tools/call","params":{"name":"wait"},"id":)" + id + '}'));
        QTRY_COMPARE(tools->stops.size(), before + 1);
    }

    RecordingShell shell;
    MemorySettings settings;
    QObject state;
    FakeTools *tools;
    std::unique_ptr<MCPServer> server;
};

} // namespace

class tst_MCPServer final : public QObject
{
    Q_OBJECT

private slots:
    void readsPortAndTokenFromTheSettings()
    {
        ServerFixture served;
        for (const auto &[stored, port] :
             {std::pair(0, 8787), {-1, 8787}, {1, 1}, {65535, 65535}, {65536, 8787}}) {
            served.settings.setNumber(Settings::serverPort, stored);
            served.make();
            QCOMPARE(int(served.server->port()), port);
            QCOMPARE(served.settings.number(Settings::serverPort), stored);
        }
        served.settings.setText(Settings::serverToken, {});
        served.make();
        const QString token = served.server->token();
        QVERIFY2(QRegularExpression(u"^[0-9a-f]{32}$"_s).match(token).hasMatch(),
                 qPrintable(token));
        served.make();
        QCOMPARE(served.server->connectionCommand(),
                 u"claude mcp add --transport http micropython http://127.0.0.1:8787/mcp"
                 " --header \"Authorization: Bearer "_s
                     + token + u'"');
        served.settings.setText(Settings::serverToken, {});
        served.make();
        QVERIFY(served.server->token() != token);
    }

    void closesAllWhenItStopsOrIsDestroyedDuringACall()
    {
        ServerFixture served;
        SocketClient first;
        served.beginCall(first, "1");
        served.server->stop();
        QCOMPARE(first.rest(), QByteArray());
        served.tools->deliver(u"too late"_s);

        SocketClient second;
        served.beginCall(second, "1");
        const auto lines = served.shell.lines();
        served.server.reset();
        QCOMPARE(second.rest(), QByteArray());
        QCOMPARE(served.shell.lines(), lines);
    }

    void requestsTheStopOfClosedAndCanceledCalls()
    {
        ServerFixture served;
        const auto stops = [&] {
            QByteArray text;
            for (const CallStop &stop : served.tools->stops)
                text += stop.canceled.stop_requested() ? 'c'
                    : stop.unwanted.stop_requested()   ? 'u'
                                                       : '-';
            return text;
        };
        const auto cancel = [&](const QByteArray &id, const QByteArray &session = {}) {
            SocketClient other(served.server->port());
            other.send(ofSession(session,
                                 R"({"method":"notifications/cancelled","params":{"requestId":)"
                                     + id + "}}"));
            auto response = std::async(std::launch::async, [&] { return other.response(); });
            return QTest::qWaitFor([&] {
                       return response.wait_for(std::chrono::seconds(0))
                           == std::future_status::ready;
                   })
                && response.get().startsWith("HTTP/1.1 202 ");
        };
        SocketClient first;
        SocketClient second;
        SocketClient third;
        auto closing = std::make_unique<SocketClient>();
        served.beginCall(first, "1", "x");
        served.beginCall(second, "\"a\"");
        served.beginCall(third, "1", "y");
        served.beginCall(*closing, "4");
        closing.reset();
        QTRY_COMPARE(stops(), "---u");
        QVERIFY(cancel("\"a\""));
        QVERIFY(cancel("99"));
        QVERIFY(cancel("1")); // of another client
        QVERIFY(cancel("1", "z"));
        QCOMPARE(stops(), "-c-u");
        QVERIFY(cancel("1", "y"));
        QCOMPARE(stops(), "-ccu");
        served.server->stop();
        QCOMPARE(stops(), "uccu");
    }
};

QTEST_GUILESS_MAIN(tst_MCPServer)
#include "tst_MCPServer.moc"
