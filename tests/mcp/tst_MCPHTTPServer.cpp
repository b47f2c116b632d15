#include "mcp/MCPHTTPServer.h"

#include "mcp/SocketClient.h"

#include <QDir>
#include <QFile>
#include <QSemaphore>
#include <QTest>

#include <atomic>
#include <condition_variable>
#include <ctime>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Korvane;
using namespace std::chrono_literals;

namespace {

/// Keeps all that the server hands over, for the test to answer when it likes.
class Kept
{
public:
    MCPHTTPServer::Handler handler()
    {
        return [this](HTTPRequest request, HTTPReply reply) {
            const std::lock_guard lock(m_mutex);
            m_paths.push_back(request.path);
            m_replies.push_back(std::move(reply));
            m_more.notify_all();
        };
    }
    /// Waits until \p count requests have come, and not for ever. Yields how many did.
    qsizetype waitFor(qsizetype count, std::chrono::milliseconds patience = 30s)
    {
        std::unique_lock lock(m_mutex);
        m_more.wait_for(lock, patience, [&] { return count <= qsizetype(m_paths.size()); });
        return qsizetype(m_paths.size());
    }
    QByteArrayList paths()
    {
        const std::lock_guard lock(m_mutex);
        return {m_paths.begin(), m_paths.end()};
    }
    std::vector<HTTPReply> takeReplies()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_replies, {});
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_more;
    std::vector<QByteArray> m_paths; // a QList would share its data with the other thread
    std::vector<HTTPReply> m_replies;
};

void echo(HTTPRequest request, HTTPReply reply)
{
    reply(HTTPResponse{200, {}, request.path + request.body});
}

QByteArray get(const QByteArray &path)
{
    return "GET " + path + " HTTP/1.1\r\n\r\n";
}

double processorSeconds()
{
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

} // namespace

class tst_MCPHTTPServer final : public QObject
{
    Q_OBJECT

private slots:
    void writesResponsesToTheByte_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArrayList>("headers"); // name, value, name, value …
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("wire");
        const auto row = [](int code, const QByteArrayList &given, const QByteArray &content,
                            const QByteArray &expected) {
            QTest::addRow("%d", code) << code << given << content << "HTTP/1.1 " + expected;
        };
        const QByteArray keepAlive = "Connection: keep-alive\r\n";
        const QByteArray empty = keepAlive + "Content-Length: 0\r\n";
        row(200, {"Date", "today"}, {}, "200 OK\r\n" + empty + "Date: today\r\n\r\n");
        row(202, {}, {}, "202 Accepted\r\n" + empty + "\r\n");
        row(400, {}, {}, "400 Bad Request\r\n" + empty + "\r\n");
        row(401, {"Content-Type", "text/plain"}, "Ünauthorized",
            "401 Unauthorized\r\n" + keepAlive
                + "Content-Length: 13\r\nContent-Type: text/plain\r\n\r\nÜnauthorized");
        row(404, {}, {}, "404 Not Found\r\n" + empty + "\r\n");
        // In byte order, its own ones replaced.
        row(405,
            QByteArray("a,1,Z,2,Connection,close,Content-Length,9,Allow,POST,Content-,x")
                .split(','),
            "b",
            "405 Method Not Allowed\r\nAllow: POST\r\n" + keepAlive
                + "Content-: x\r\nContent-Length: 1\r\nZ: 2\r\na: 1\r\n\r\nb");
        row(500, {}, {}, "500 Error\r\n" + empty + "\r\n");
    }
    void writesResponsesToTheByte()
    {
        QFETCH(const int, status);
        QFETCH(const QByteArrayList, headers);
        QFETCH(const QByteArray, body);
        QFETCH(const QByteArray, wire);
        HTTPResponse response{status, {}, body};
        for (qsizetype i = 0; i < headers.size(); i += 2)
            response.headers[headers[i]] = headers[i + 1];

        MCPHTTPServer server(0, [&](HTTPRequest, HTTPReply reply) { reply(response); });
        QVERIFY(server.start());
        SocketClient client(server.port());
        for (int again = 0; again < 2; ++again) {
            client.send(get("/"));
            QCOMPARE(client.response(), wire);
        }
    }

    void sendsRepliesInTheOrderInWhichTheyAreGiven()
    {
        Kept kept;
        MCPHTTPServer server(0, kept.handler());
        QVERIFY(server.start());
        SocketClient client(server.port());
        QByteArray requests;
        QByteArrayList paths;
        for (int i = 0; i < 100; ++i) {
            paths += "/" + QByteArray::number(i);
            requests += get(paths.last());
        }
        client.send(requests);
        QCOMPARE(kept.waitFor(100), 100);
        QCOMPARE(kept.paths(), paths);

        auto replies = kept.takeReplies();
        std::thread elsewhere([&] {
            for (auto i = replies.size(); i-- > 0;)
                replies[i](HTTPResponse{200, {}, paths[qsizetype(i)]});
        });
        for (qsizetype i = 100; i-- > 0;)
            QCOMPARE(bodyOf(client.response()), paths[i]);
        elsewhere.join();
    }

    void repliesToAClosedConnectionOrAStoppedServerDoNothing()
    {
        Kept kept;
        std::vector<HTTPReply> replies;
        {
            MCPHTTPServer server(0, kept.handler());
            QVERIFY(server.start());
            {
                SocketClient gone(server.port());
                gone.send(get("/gone") + get("/gone too"));
                QCOMPARE(kept.waitFor(2), 2);
            }
            SocketClient client(server.port());
            client.send(get("/here"));
            QCOMPARE(kept.waitFor(3), 3);
            replies = kept.takeReplies();
            replies[0](HTTPResponse{200, {}, "to nobody"});
            replies[2](HTTPResponse{200, {}, "for you"});
            QCOMPARE(bodyOf(client.response()), "for you");
            replies[2](HTTPResponse{200, {}, "twice"});
            server.stop();
            QCOMPARE(client.rest(), QByteArray());
        }
        replies[1](HTTPResponse{200, {}, "to nobody"});
    }

    void neverAnswersARequestThatCameWithTheEndOfTheStream()
    {
        std::atomic<int> count = 0;
        QSemaphore isHeld;
        QSemaphore release;
        MCPHTTPServer server(0, [&](HTTPRequest request, HTTPReply reply) {
            if (request.path == "/hold") {
                isHeld.release();
                release.acquire();
            }
            ++count;
            reply(HTTPResponse{200, {}, request.path});
        });
        QVERIFY(server.start());
        // The request and the end arrive together for certain if the queue is busy when they come.
        for (int round = 0; round < 20; ++round) {
            SocketClient client(server.port());
            SocketClient holder(server.port());
            holder.send(get("/hold"));
            QVERIFY(isHeld.tryAcquire(1, 30s));
            client.send(get("/last"));
            client.closeSending();
            release.release();
            QCOMPARE(client.rest(), QByteArray());
            QCOMPARE(bodyOf(holder.response()), "/hold");
        }
        QCOMPARE(count.load(), 40);
    }

    void refusesWhatIsBeyondTheBoundsAfterWhatCameBefore()
    {
        Kept kept;
        MCPHTTPServer server(0, kept.handler());
        QVERIFY(server.start());
        SocketClient client(server.port());
        client.send(get("/before") + "POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n"
                    + get("/never"));
        QCOMPARE(kept.waitFor(1), 1);
        kept.takeReplies()[0](HTTPResponse{200, {}, "first"});
        QCOMPARE(bodyOf(client.response()), "first");
        QCOMPARE(client.rest(),
                 "HTTP/1.1 400 Bad Request\r\nConnection: keep-alive\r\nContent-Length: 0\r\n\r\n");
        QCOMPARE(kept.paths().size(), 1);

        // The answer arrives although the client is still sending, and then the line is cut.
        SocketClient flood(server.port());
        const QByteArray junk(1'000'000, 'x');
        while (flood.send(junk)) { }
    }

    void holdsBackOnlyWhoReadsSlowly()
    {
        const QByteArray answer(64'000, 'a');
        std::atomic<qsizetype> count = 0;
        MCPHTTPServer server(0, [&](HTTPRequest request, HTTPReply reply) {
            count += request.path == "/big";
            reply(HTTPResponse{200, {}, request.path == "/big" ? answer : "small"});
        });
        QVERIFY(server.start());
        SocketClient slow(server.port(), 4096);
        constexpr qsizetype asked = 2000;
        slow.send(get("/big").repeated(asked));
        SocketClient quick(server.port());
        for (int i = 0; i < 200; ++i) {
            quick.send(get("/small"));
            QCOMPARE(bodyOf(quick.response()), "small");
        }
        // The bound, what was on its way when that was reached, and what the system buffers.
        QCOMPARE_LT(count.load() * answer.size(), 20 * 1024 * 1024);
        for (qsizetype i = 0; i < asked; ++i)
            QCOMPARE(bodyOf(slow.response()).size(), answer.size());
        QCOMPARE(count.load(), asked);
    }

    void handsOverOnlySoManyUnansweredRequests_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<qsizetype>("asked");
        QTest::addColumn<qsizetype>("most");
        QTest::newRow("small ones") << get("/") << qsizetype(5000) << HTTPConnection::maxUnanswered;
        QTest::newRow("large ones")
            << post(QByteArray(300'000, 'b')) << qsizetype(20) << qsizetype(4);
        QTest::newRow("a very large one")
            << post(QByteArray(5'000'000, 'b')) << qsizetype(3) << qsizetype(1);
    }
    void handsOverOnlySoManyUnansweredRequests()
    {
        QFETCH(const QByteArray, request);
        QFETCH(const qsizetype, asked);
        QFETCH(const qsizetype, most);
        Kept kept;
        MCPHTTPServer server(0, kept.handler());
        QVERIFY(server.start());
        SocketClient client(server.port());
        std::thread sender([&] { client.send(request.repeated(asked)); });
        qsizetype answered = 0;
        while (answered < asked) {
            const auto expected = std::min(asked, answered + most);
            QCOMPARE(kept.waitFor(expected), expected);
            for (HTTPReply &reply : kept.takeReplies()) {
                reply(HTTPResponse{});
                ++answered;
            }
        }
        sender.join();
        for (qsizetype i = 0; i < asked; ++i)
            QVERIFY(!client.response().isEmpty());
    }

    void countsTheUnansweredRequestsOfClosedConnections()
    {
        Kept kept;
        MCPHTTPServer server(0, kept.handler());
        QVERIFY(server.start());
        qsizetype count = 0;
        while (count < HTTPLoad::maxRequests) {
            SocketClient client(server.port());
            client.send(get("/").repeated(HTTPConnection::maxUnanswered));
            count += count < HTTPLoad::maxRequests / 2 ? HTTPConnection::maxUnanswered : 1;
            QCOMPARE(kept.waitFor(count), count);
        }
        SocketClient waiting(server.port());
        waiting.send(get("/waiting"));
        const auto all = HTTPLoad::maxRequests + 1;
        QCOMPARE(kept.waitFor(all, 100ms), all - 1);
        for (bool isThere = false; !isThere;) {
            isThere = kept.paths().contains("/waiting");
            for (HTTPReply &reply : kept.takeReplies())
                reply(HTTPResponse{200, {}, "in the end"});
        }
        QCOMPARE(bodyOf(waiting.response()), "in the end");
    }

    void waitsForDescriptorsWithoutSpinning()
    {
        MCPHTTPServer server(0, echo);
        QVERIFY(server.start());
        std::vector<std::unique_ptr<SocketClient>> clients;
        clients.push_back(std::make_unique<SocketClient>(server.port()));
        clients[0]->send(get("/"));
        QCOMPARE(bodyOf(clients[0]->response()), "/");

        // The sockets of this side are made before there are no descriptors left for the server's.
        for (int i = 0; i < 3; ++i)
            clients.push_back(std::make_unique<SocketClient>());
        const int lowestFree = ::fcntl(0, F_DUPFD_CLOEXEC, 0);
        ::close(lowestFree);
        rlimit limits = {};
        getrlimit(RLIMIT_NOFILE, &limits);
        rlimit few = limits;
        few.rlim_cur = rlim_t(lowestFree);
        setrlimit(RLIMIT_NOFILE, &few);
        for (size_t i = 1; i < clients.size(); ++i)
            clients[i]->connectTo(server.port());
        for (const auto &client : clients)
            client->send(get("/there"));
        QCOMPARE(bodyOf(clients[0]->response()), "/there"); // the first one is not held up
        const double before = processorSeconds();
        QTest::qWait(300);
        const double used = processorSeconds() - before;
        setrlimit(RLIMIT_NOFILE, &limits);
        QCOMPARE_LT(used, 0.1);
        for (size_t i = 1; i < clients.size(); ++i)
            QCOMPARE(bodyOf(clients[i]->response()), "/there");
    }

    void keepsToItself()
    {
        MCPHTTPServer server(0, echo);
        QVERIFY(server.start());
        QVERIFY(!SocketClient(server.port(), 0, "127.0.0.2").isConnected());
        SocketClient client(server.port());
        client.send(get("/"));
        QCOMPARE(bodyOf(client.response()), "/");

        QByteArrayList threads;
        for (const QString &task :
             QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QFile name(QStringLiteral("/proc/self/task/%1/comm").arg(task));
            if (name.open(QIODevice::ReadOnly))
                threads += name.readAll().trimmed();
        }
        QVERIFY(threads.contains("mcp.http.server"));

        // A child program inherits nothing of it.
        for (const int descriptor : openDescriptors()) {
            const QString target =
                QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(descriptor));
            const bool isServers = target.contains(QStringLiteral("socket:"))
                || target.contains(QStringLiteral("anon_inode:"));
            if (descriptor > 2 && isServers)
                QVERIFY2(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, qPrintable(target));
        }
    }
};

QTEST_GUILESS_MAIN(tst_MCPHTTPServer)
#include "tst_MCPHTTPServer.moc"
