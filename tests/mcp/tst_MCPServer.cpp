#include "mcp/MCPServer.h"

#include "mcp/FakeTools.h"
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

const QByteArray ping = R"({"id":1,"method":"ping"})";

/// A server with all that it needs, on a port that is free at the time.
class Served
{
public:
    Served()
    {
        settings.setNumber(Settings::serverPort, freePort());
        settings.setText(Settings::serverToken, u"0123abcd"_s);
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
    [[nodiscard]] QString url() const { return u"http://127.0.0.1:%1/mcp"_s.arg(server->port()); }
    [[nodiscard]] static QByteArray asked(const QByteArray &body)
    {
        return post(body, "Authorization: Bearer 0123abcd\r\n");
    }

    RecordingShell shell;
    MemorySettings settings;
    QString flags; // what it was told: + runs, - does not
    QObject state;
    FakeTools *tools;
    std::unique_ptr<MCPServer> server;
};

/// Runs \p work on a thread and the event loop here until that is done. Yields what it says.
bool meanwhile(const std::function<bool()> &work)
{
    QEventLoop loop;
    bool result = false;
    std::thread thread([&] {
        result = work();
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    thread.join();
    return result;
}

bool isAnswered(SocketClient &client, const QByteArray &request)
{
    return client.send(request) && client.response().startsWith("HTTP/1.1 200 OK");
}

/// How long the event loop was kept from a timer, at the worst.
class Stalls
{
public:
    Stalls()
    {
        m_since.start();
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            m_worstMs = std::max(m_worstMs, m_since.restart());
            ++m_ticks;
        });
        m_timer.start(1);
    }
    [[nodiscard]] qint64 worstMs() const { return m_worstMs; }
    [[nodiscard]] int ticks() const { return m_ticks; }

private:
    QTimer m_timer;
    QElapsedTimer m_since;
    qint64 m_worstMs = 0;
    int m_ticks = 0;
};

} // namespace

class tst_MCPServer final : public QObject
{
    Q_OBJECT

private slots:
    void takesItsPortFromTheSettings_data()
    {
        QTest::addColumn<int>("stored");
        QTest::addColumn<int>("port");
        QTest::newRow("absent") << 0 << 8787;
        QTest::newRow("negative") << -1 << 8787;
        QTest::newRow("lowest") << 1 << 1;
        QTest::newRow("highest") << 65535 << 65535;
        QTest::newRow("beyond all ports") << 65536 << 8787;
    }
    void takesItsPortFromTheSettings()
    {
        QFETCH(const int, stored);
        QFETCH(const int, port);
        Served served;
        served.settings.setNumber(Settings::serverPort, stored);
        served.make();
        QCOMPARE(int(served.server->port()), port);
        QCOMPARE(served.settings.number(Settings::serverPort), stored);
    }

    void makesATokenOnceAndKeepsIt()
    {
        Served served;
        served.settings.setText(Settings::serverToken, {});
        served.make();
        const QString token = served.server->token();
        QVERIFY2(QRegularExpression(u"^[0-9a-f]{32}$"_s).match(token).hasMatch(),
                 qPrintable(token));
        served.make();
        QCOMPARE(served.server->token(), token);
        QCOMPARE(served.server->connectionCommand(),
                 u"claude mcp add --transport http micropython "_s + served.url()
                     + u" --header \"Authorization: Bearer "_s + token + u'"');
        served.settings.setText(Settings::serverToken, {});
        served.make();
        QVERIFY(served.server->token() != token);
    }

    void saysWhenItStartsAndStops()
    {
        Served served;
        const QSignalSpy changes(served.server.get(), &MCPServer::isRunningChanged);
        served.server->stop();
        served.server->start();
        QVERIFY(served.server->isRunning());
        served.server->start();
        QCOMPARE(served.shell.lines(),
                 QStringList(u"info: MCP server listening on "_s + served.url()));
        served.server->stop();
        served.server->stop();
        QVERIFY(!served.server->isRunning());
        QCOMPARE(served.shell.lines().mid(1), QStringList(u"info: MCP server stopped."_s));
        QCOMPARE(served.flags, u"+-"_s);
        QCOMPARE(changes.size(), 2);
        QVERIFY(!SocketClient(served.server->port()).isConnected());
    }

    void saysWhyItCannotStart()
    {
        Served first;
        first.server->start();
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
        second.server->start();
        QVERIFY(second.server->isRunning());
        QCOMPARE(second.server->lastError(), QString());
        QCOMPARE(errors.size(), 2);
    }

    void saysWhenItsListenerFails()
    {
        Served served;
        served.server->start();
        const auto listener = listenerOn(served.server->port());
        QVERIFY(listener);
        ::shutdown(*listener, SHUT_RD);
        QTRY_VERIFY(!served.server->isRunning());
        const QString reason = qt_error_string(EINVAL);
        QCOMPARE(served.shell.lines().mid(1),
                 QStringList(u"error: MCP server stopped: "_s + reason));
        QCOMPARE(served.server->lastError(), reason);
        QCOMPARE(served.flags, u"+-"_s);
        served.server->stop();
        QCOMPARE(served.shell.lines().size(), 2);

        served.server->start();
        QVERIFY(served.server->isRunning());
        QCOMPARE(served.server->lastError(), QString());
        QVERIFY(meanwhile([&] {
            SocketClient client(served.server->port());
            return isAnswered(client, Served::asked(ping));
        }));
    }

    void answersFiveHundredConnections()
    {
        Served served;
        served.server->start();
        Stalls stalls;
        QByteArrayList responses;
        meanwhile([&] {
            std::vector<std::unique_ptr<SocketClient>> clients;
            for (int i = 0; i < 500; ++i)
                clients.push_back(std::make_unique<SocketClient>(served.server->port()));
            for (const auto &client : clients)
                client->send(Served::asked(ping));
            for (const auto &client : clients)
                responses += client->response();
            return true;
        });
        const QByteArray expected =
            "HTTP/1.1 200 OK\r\nConnection: keep-alive\r\nContent-Length: 36\r\n"
            "Content-Type: application/json\r\n\r\n"
            "{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":{}}";
        QCOMPARE(responses, QByteArrayList(500, expected));
        QCOMPARE_LT(stalls.worstMs(), 500);
    }

    void keepsTheWindowGoingUnderAFlood_data()
    {
        QTest::addColumn<QByteArray>("flood");
        QTest::newRow("pings") << Served::asked(ping);
        QTest::newRow("without the token") << post(ping);
        QTest::newRow("large and without the token") << post(QByteArray(8 * 1024 * 1024, '['));
        QTest::newRow("junk") << QByteArray("\r\n\r\n") + QByteArray(1000, '\xff');
    }
    void keepsTheWindowGoingUnderAFlood()
    {
        QFETCH(const QByteArray, flood);
        Served served;
        served.server->start();
        std::atomic<bool> isOver = false;
        std::vector<std::thread> vandals;
        for (int i = 0; i < 4; ++i) {
            vandals.emplace_back([&] {
                const QByteArray bytes =
                    flood.repeated(std::max(qsizetype(1), 100'000 / flood.size()));
                while (!isOver) {
                    SocketClient client(served.server->port());
                    client.send(bytes);
                }
            });
        }
        Stalls stalls;
        const bool isServed = meanwhile([&] {
            SocketClient client(served.server->port());
            int answered = 0;
            while (answered < 50 && isAnswered(client, Served::asked(ping)))
                ++answered;
            return answered == 50;
        });
        isOver = true;
        for (std::thread &vandal : vandals)
            vandal.join();
        QVERIFY(isServed);
        QCOMPARE_GT(stalls.ticks(), 3);
        QCOMPARE_LT(stalls.worstMs(), 500); // a few milliseconds, but this machine may be busy
    }

    void holdsNobodyUpForACallThatWaits()
    {
        Served served;
        served.server->start();
        SocketClient waiting(served.server->port());
        waiting.send(Served::asked(R"({"id":"w","method":"tools/call","params":{"name":"wait"}})"));
        QTRY_COMPARE(served.tools->waiting(), size_t(1));
        QVERIFY(meanwhile([&] {
            SocketClient other(served.server->port());
            return isAnswered(other, Served::asked(ping))
                && isAnswered(waiting, Served::asked(ping)); // nor on the same connection
        }));
        served.tools->deliver(u"at last"_s);
        QVERIFY(meanwhile([&] { return waiting.response().contains("at last"); }));
    }

    void closesAllWhenItStopsOrGoesWhileACallWaits()
    {
        Served served;
        const QByteArray call =
            Served::asked(R"({"id":1,"method":"tools/call","params":{"name":"wait"}})");
        served.server->start();
        SocketClient first(served.server->port());
        first.send(call);
        QTRY_COMPARE(served.tools->waiting(), size_t(1));
        served.server->stop();
        QCOMPARE(first.rest(), QByteArray());
        served.tools->deliver(u"too late"_s);

        served.server->start();
        SocketClient second(served.server->port());
        second.send(call);
        QTRY_COMPARE(served.tools->waiting(), size_t(2));
        served.shell.clear();
        served.server.reset();
        QCOMPARE(second.rest(), QByteArray());
        QCOMPARE(served.shell.lines(), QStringList());
    }

    void startsAndStopsUnderLoad()
    {
        Served served;
        std::atomic<bool> isOver = false;
        std::vector<std::thread> clients;
        for (int i = 0; i < 4; ++i) {
            clients.emplace_back([&] {
                while (!isOver) {
                    SocketClient client(served.server->port());
                    while (client.isConnected() && client.send(Served::asked(ping).repeated(3))
                           && !client.response().isEmpty()) { }
                }
            });
        }
        for (int round = 0; round < 100; ++round) {
            served.server->start();
            QVERIFY2(served.server->isRunning(), qPrintable(served.server->lastError()));
            for (int turn = round % 5; turn >= 0; --turn)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            served.server->stop();
        }
        isOver = true;
        for (std::thread &client : clients)
            client.join();
        QCOMPARE(served.flags, u"+-"_s.repeated(100));
    }
};

QTEST_GUILESS_MAIN(tst_MCPServer)
#include "tst_MCPServer.moc"
