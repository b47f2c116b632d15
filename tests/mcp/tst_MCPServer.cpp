#include "mcp/MCPServer.h"

#include "mcp/FakeTools.h"
#include "mcp/MCPHTTPServer.h"
#include "mcp/SocketClient.h"
#include "support/MemorySettings.h"
#include "support/RecordingShell.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <sys/socket.h>
#include <thread>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QByteArray asked(const QByteArray &body)
{
    return post(body, "Authorization: Bearer 0123abcd\r\n");
}

const QByteArray ping = asked(R"({"id":1,"method":"ping"})");

/// A server with all that it needs, on a port that is free at the time.
class Served
{
public:
    Served()
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
        server.reset(new MCPServer({shell, settings,
                                    [this](bool isRunning) { flags += isRunning ? u'+' : u'-'; },
                                    std::move(fakes), &state}));
    }

    RecordingShell shell;
    MemorySettings settings;
    QString flags; // what it was told: + runs, - does not
    QObject state;
    FakeTools *tools;
    std::unique_ptr<MCPServer> server;
};

/// Runs the event loop until \p isSo, which is asked every millisecond.
void runUntil(const std::function<bool()> &isSo)
{
    QTimer beat;
    beat.start(1);
    while (!isSo())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// Threads that do the same over and over until these go.
std::vector<std::jthread> crowd(const std::function<void()> &act)
{
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([act](const std::stop_token &stop) {
            while (!stop.stop_requested())
                act();
        });
    }
    return threads;
}

/// Runs \p work on a thread and the event loop here until that is done. Yields for how many
/// milliseconds the loop kept a timer waiting, at the worst.
qint64 worstStall(const std::function<void()> &work)
{
    std::atomic<bool> isDone = false; // a race detector sees this, and not what an event loop does
    std::thread thread([&] {
        work();
        isDone = true;
    });
    qint64 worst = 0;
    QElapsedTimer since;
    since.start();
    runUntil([&] {
        worst = std::max(worst, since.restart());
        return isDone.load();
    });
    thread.join();
    return worst;
}

/// Whether \p count pings are answered. Keeps no event loop going.
bool isAnswered(SocketClient &client, int count)
{
    while (count > 0 && client.send(ping) && client.response().contains("200 OK"))
        --count;
    return count == 0;
}

bool isServed(SocketClient &client)
{
    bool result = false;
    worstStall([&] { result = isAnswered(client, 1); });
    return result;
}

} // namespace

class tst_MCPServer final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { allowManyDescriptors(); }

    void takesPortAndTokenFromTheSettings()
    {
        Served served;
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

    void saysWhenItStartsAndStopsAndWhyItCannot()
    {
        Served first;
        const QString port = QString::number(first.server->port());
        const QSignalSpy changes(first.server.get(), &MCPServer::isRunningChanged);
        first.server->stop();
        first.server->start();
        first.server->start();
        QVERIFY(first.server->isRunning());

        Served second;
        second.settings.setNumber(Settings::serverPort, first.server->port());
        second.make();
        const QSignalSpy errors(second.server.get(), &MCPServer::lastErrorChanged);
        second.server->start();
        const QString reason = qt_error_string(EADDRINUSE);
        QCOMPARE(second.shell.lines(),
                 QStringList(u"error: Could not start MCP server: "_s + reason));
        QCOMPARE(second.server->lastError(), reason);
        QVERIFY(!second.server->isRunning());
        QCOMPARE(second.flags, QString());

        first.server->stop();
        first.server->stop();
        QVERIFY(!first.server->isRunning());
        QCOMPARE(first.shell.lines(),
                 (QStringList{u"info: MCP server listening on http://127.0.0.1:%1/mcp"_s.arg(port),
                              u"info: MCP server stopped."_s}));
        QCOMPARE(first.flags, u"+-"_s);
        QCOMPARE(changes.size(), 2);
        second.server->start();
        QVERIFY(second.server->isRunning());
        QCOMPARE(second.server->lastError(), QString());
        QCOMPARE(errors.size(), 2);
    }

    void saysWhenItsListenerFails()
    {
        Served served;
        served.server->start();
        SocketClient before(served.server->port());
        QVERIFY(isServed(before));
        for (int descriptor = 3; descriptor < 100; ++descriptor) {
            int isListening = 0;
            socklen_t length = sizeof isListening;
            ::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &length);
            if (isListening)
                ::shutdown(descriptor, SHUT_RD);
        }
        QTRY_VERIFY(!served.server->isRunning());
        const QString reason = qt_error_string(EINVAL);
        QCOMPARE(served.shell.lines().mid(1),
                 QStringList(u"error: MCP server stopped: "_s + reason));
        QCOMPARE(served.server->lastError(), reason);
        QCOMPARE(served.flags, u"+-"_s);
        QVERIFY(isServed(before)); // until it is stopped
        served.server->stop();
        QCOMPARE(before.rest(), QByteArray());
        QCOMPARE(served.shell.lines().size(), 2);

        served.server->start();
        QCOMPARE(served.server->lastError(), QString());
        SocketClient after(served.server->port());
        QVERIFY(isServed(after));
    }

    void answersManyConnectionsAtOnce()
    {
        Served served;
        served.server->start();
        QByteArrayList responses;
        const qint64 stall = worstStall([&] {
            std::vector<std::unique_ptr<SocketClient>> clients(MCPHTTPServer::maxConnections);
            for (auto &client : clients)
                client = std::make_unique<SocketClient>(served.server->port());
            for (const auto &client : clients)
                client->send(ping);
            for (const auto &client : clients)
                responses += client->response();
        });
        QCOMPARE(responses.count(responses.value(0)), qsizetype(MCPHTTPServer::maxConnections));
        QVERIFY2(responses[0].endsWith("{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":{}}"),
                 responses[0]);
        QCOMPARE_LT(stall, 2000);
    }

    void keepsTheWindowGoingUnderAFlood()
    {
        for (const QByteArray &flood : {ping, post("{}"), post(QByteArray(8'000'000, '[')),
                                        QByteArray("\r\n\r\n") + QByteArray(1000, '\xff')}) {
            Served served;
            served.server->start();
            const QByteArray bytes = flood.repeated(std::max(qsizetype(1), 100'000 / flood.size()));
            const auto vandals = crowd([&] { SocketClient(served.server->port()).send(bytes); });
            SocketClient client(served.server->port());
            bool isServed = false;
            const qint64 stall = worstStall([&] { isServed = isAnswered(client, 20); });
            QVERIFY2(isServed, flood.first(4));
            QCOMPARE_LT(stall, 2000); // a few milliseconds, but this machine may be busy
        }
    }

    void closesAllWhenItStopsOrGoesWhileACallWaits()
    {
        Served served;
        const auto beginCall = [&](SocketClient &client) {
            const auto before = served.tools->waiting.size();
            served.server->start();
            client.connectTo(served.server->port());
            client.send(asked(R"({"id":1,"method":"tools/call","params":{"name":"wait"}})"));
            QTRY_COMPARE(served.tools->waiting.size(), before + 1);
        };
        SocketClient first;
        beginCall(first);
        served.server->stop();
        QCOMPARE(first.rest(), QByteArray());
        served.tools->deliver(u"too late"_s);

        SocketClient second;
        beginCall(second);
        const auto lines = served.shell.lines();
        served.server.reset();
        QCOMPARE(second.rest(), QByteArray());
        QCOMPARE(served.shell.lines(), lines);
    }

    void tellsCallsThatTheirClientHasClosedOrCanceled()
    {
        Served served;
        served.server->start();
        const auto beginCall = [&](SocketClient &client, const QByteArray &id) {
            const auto before = served.tools->stops.size();
            client.connectTo(served.server->port());
            client.send(
                asked(R"({"method":"tools/call","params":{"name":"wait"},"id":)" + id + '}'));
            QTRY_COMPARE(served.tools->stops.size(), before + 1);
        };
        const auto stops = [&] {
            QByteArray text;
            for (const CallStop &stop : served.tools->stops)
                text += stop.canceled.stop_requested() ? 'c'
                    : stop.unwanted.stop_requested()   ? 'u'
                                                       : '-';
            return text;
        };
        const auto cancel = [&](const QByteArray &id) {
            SocketClient other(served.server->port());
            other.send(
                asked(R"({"method":"notifications/cancelled","params":{"requestId":)" + id + "}}"));
            QByteArray response;
            worstStall([&] { response = other.response(); });
            return response.startsWith("HTTP/1.1 202 ");
        };
        SocketClient first;
        SocketClient second;
        SocketClient third;
        auto closing = std::make_unique<SocketClient>();
        beginCall(first, "1");
        beginCall(second, "\"a\"");
        beginCall(third, "1");
        beginCall(*closing, "4");
        closing.reset();
        QTRY_COMPARE(stops(), "---u");
        QVERIFY(cancel("\"a\""));
        QVERIFY(cancel("99"));
        QVERIFY(cancel("1")); // of two clients
        QCOMPARE(stops(), "-c-u");
        served.server->stop();
        QCOMPARE(stops(), "ucuu");
    }

    void startsAndStopsUnderLoad()
    {
        Served served;
        std::atomic<int> answered = 0;
        {
            const auto clients = crowd([&] {
                SocketClient client(served.server->port());
                while (client.send(ping.repeated(3)) && !client.response().isEmpty())
                    ++answered;
            });
            for (int round = 0; round < 100; ++round) {
                answered = 0;
                served.server->start();
                QVERIFY2(served.server->isRunning(), qPrintable(served.server->lastError()));
                // At times it stops at once, with requests on their way.
                runUntil([&] { return answered >= round % 4; });
                served.server->stop();
            }
        }
        QCOMPARE(served.flags, u"+-"_s.repeated(100));
        QVERIFY(!SocketClient().connectTo(served.server->port()));
    }
};

QTEST_GUILESS_MAIN(tst_MCPServer)
#include "tst_MCPServer.moc"
