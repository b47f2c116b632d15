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

/// Runs the event loop until \p isSo, which is asked every millisecond.
void runUntil(const std::function<bool()> &isSo)
{
    QTimer beat;
    beat.start(1);
    while (!isSo())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// Runs \p work on a thread and the event loop here until that is done. Yields what it says.
bool meanwhile(const std::function<bool()> &work)
{
    bool result = false;
    std::atomic<bool> isDone = false; // a race detector sees this, and not what an event loop does
    std::thread thread([&] {
        result = work();
        isDone = true;
    });
    runUntil([&] { return isDone.load(); });
    thread.join();
    return result;
}

bool isAnswered(SocketClient &client, const QByteArray &request)
{
    return client.send(request) && client.response().startsWith("HTTP/1.1 200 OK");
}

/// Threads that do the same over and over until this goes.
class Crowd
{
public:
    Crowd(int size, const std::function<void()> &act)
    {
        for (int i = 0; i < size; ++i) {
            m_threads.emplace_back([this, act] {
                while (!m_isOver)
                    act();
            });
        }
    }
    ~Crowd()
    {
        m_isOver = true;
        for (std::thread &thread : m_threads)
            thread.join();
    }

private:
    std::atomic<bool> m_isOver = false;
    std::vector<std::thread> m_threads;
};

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
    void takesItsPortFromTheSettings()
    {
        Served served;
        for (const auto &[stored, port] :
             {std::pair(0, 8787), {-1, 8787}, {1, 1}, {65535, 65535}, {65536, 8787}}) {
            served.settings.setNumber(Settings::serverPort, stored);
            served.make();
            QCOMPARE(int(served.server->port()), port);
            QCOMPARE(served.settings.number(Settings::serverPort), stored);
        }
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
        SocketClient before(served.server->port());
        const auto isServed = [&](SocketClient &client) {
            return meanwhile([&] { return isAnswered(client, Served::asked(ping)); });
        };
        QVERIFY(isServed(before));
        const int listener = listenerOn(served.server->port());
        QVERIFY(listener >= 0);
        ::shutdown(listener, SHUT_RD);
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
        QVERIFY(served.server->isRunning());
        QCOMPARE(served.server->lastError(), QString());
        SocketClient after(served.server->port());
        QVERIFY(isServed(after));
    }

    void answersFiveHundredConnections()
    {
        Served served;
        served.server->start();
        Stalls stalls;
        QByteArrayList responses;
        meanwhile([&] {
            std::vector<std::unique_ptr<SocketClient>> clients(500);
            for (auto &client : clients)
                client = std::make_unique<SocketClient>(served.server->port());
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
        QCOMPARE_LT(stalls.worstMs(), 2000);
    }

    void keepsTheWindowGoingUnderAFlood_data()
    {
        QTest::addColumn<QByteArray>("flood");
        QTest::newRow("pings") << Served::asked(ping);
        QTest::newRow("without the token") << post(ping);
        QTest::newRow("large and without the token") << post(QByteArray(8'000'000, '['));
        QTest::newRow("junk") << QByteArray("\r\n\r\n") + QByteArray(1000, '\xff');
    }
    void keepsTheWindowGoingUnderAFlood()
    {
        QFETCH(const QByteArray, flood);
        Served served;
        served.server->start();
        const QByteArray bytes = flood.repeated(std::max(qsizetype(1), 100'000 / flood.size()));
        Stalls stalls;
        bool isServed = false;
        {
            const Crowd vandals(4, [&] { SocketClient(served.server->port()).send(bytes); });
            isServed = meanwhile([&] {
                SocketClient client(served.server->port());
                int answered = 0;
                while (answered < 20 && isAnswered(client, Served::asked(ping)))
                    ++answered;
                return answered == 20;
            });
        }
        QVERIFY(isServed);
        QCOMPARE_GT(stalls.ticks(), 3);
        QCOMPARE_LT(stalls.worstMs(), 2000); // a few milliseconds, but this machine may be busy
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
        std::atomic<int> answered = 0;
        {
            const Crowd clients(4, [&] {
                SocketClient client(served.server->port());
                while (client.isConnected() && client.send(Served::asked(ping).repeated(3))
                       && !client.response().isEmpty())
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
        QVERIFY(!SocketClient(served.server->port()).isConnected());
    }
};

QTEST_GUILESS_MAIN(tst_MCPServer)
#include "tst_MCPServer.moc"
