#include "mcp/MCPHTTPServer.h"

#include "mcp/SocketClient.h"

#include <QFile>
#include <QTest>

#include <atomic>
#include <condition_variable>
#include <fcntl.h>
#include <list>
#include <sys/resource.h>
#include <unistd.h>

using namespace Korvane;
using namespace std::chrono_literals;

namespace {

using Answer = std::optional<HTTPResponse>;

Answer echo(const HTTPRequest &request, const HTTPReply &)
{
    return HTTPResponse{200, {}, request.path};
}

/// Requests for paths that begin with "/in" are authorized.
std::unique_ptr<MCPHTTPServer> started(MCPHTTPServer::Handler handler,
                                       std::chrono::milliseconds requestTimeout = 30s)
{
    auto server =
        std::make_unique<MCPHTTPServer>(0, std::move(handler), [](const HTTPRequest &head) {
            return head.path.startsWith("/in") || head.method == "POST";
        });
    server->setRequestTimeout(requestTimeout);
    if (const auto result = server->start(); !result)
        qFatal("%s", qPrintable(result.error().message));
    return server;
}

/// Keeps all that its server hands over, for the test to answer when it likes.
class Kept
{
public:
    explicit Kept(std::chrono::milliseconds requestTimeout = 30s)
        : m_requestTimeout(requestTimeout)
    {
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
    const std::chrono::milliseconds m_requestTimeout;

public:
    std::unique_ptr<MCPHTTPServer> server = started(
        [this](const HTTPRequest &request, HTTPReply reply) -> Answer {
            const std::lock_guard lock(m_mutex);
            m_paths.push_back(request.path);
            m_replies.push_back(std::move(reply));
            m_more.notify_all();
            return std::nullopt;
        },
        m_requestTimeout);
};

QByteArray get(const QByteArray &path)
{
    return "GET " + path + " HTTP/1.1\r\n\r\n";
}

QByteArray response(const QByteArray &body)
{
    return "HTTP/1.1 200 OK\r\nConnection: keep-alive\r\nContent-Length: "
        + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

} // namespace

class tst_MCPHTTPServer final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { allowManyDescriptors(); }

    void writesResponsesToTheByte()
    {
        const QByteArray keepAlive = "\r\nConnection: keep-alive\r\n";
        const QByteArray empty = keepAlive + "Content-Length: 0\r\n\r\n";
        const std::pair<HTTPResponse, QByteArray> cases[] = {
            {{202}, "202 Accepted" + empty},
            {{401, {{"Content-Type", "text/plain"}}, "Ünauthorized"},
             "401 Unauthorized" + keepAlive
                 + "Content-Length: 13\r\nContent-Type: text/plain\r\n\r\nÜnauthorized"},
            // In byte order, its own ones replaced.
            {{405, {{"a", "1"}, {"Z", "2"}, {"Connection", "x"}, {"Content-Length", "9"}}, "b"},
             "405 Method Not Allowed" + keepAlive + "Content-Length: 1\r\nZ: 2\r\na: 1\r\n\r\nb"},
        };
        const auto server = started([&](const HTTPRequest &request, const HTTPReply &) -> Answer {
            return cases[request.path.toInt()].first;
        });
        SocketClient client(server->port());
        for (size_t i = 0; i < std::size(cases); ++i) {
            client.send(get(QByteArray::number(i)));
            QCOMPARE(client.response(), "HTTP/1.1 " + cases[i].second);
        }
    }

    void sendsRepliesInTheOrderInWhichTheyAreGiven()
    {
        Kept kept;
        SocketClient client(kept.server->port());
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
        const std::jthread elsewhere([&] {
            for (auto i = replies.size(); i-- > 0;)
                replies[i](HTTPResponse{200, {}, paths[qsizetype(i)]});
        });
        for (qsizetype i = 100; i-- > 0;)
            QCOMPARE(client.body(), paths[i]);
    }

    void repliesToAClosedConnectionOrAStoppedServerDoNothing()
    {
        auto kept = std::make_unique<Kept>();
        {
            SocketClient gone(kept->server->port());
            gone.send(get("/gone") + get("/gone too"));
            QCOMPARE(kept->waitFor(2), 2);
        }
        SocketClient client(kept->server->port());
        client.send(get("/here"));
        QCOMPARE(kept->waitFor(3), 3);
        auto replies = kept->takeReplies();
        replies[0](HTTPResponse{200, {}, "to nobody"});
        replies[2](HTTPResponse{200, {}, "for you"});
        QCOMPARE(client.body(), "for you");
        replies[2](HTTPResponse{200, {}, "twice"});
        kept.reset();
        QCOMPARE(client.rest(), QByteArray());
        replies[1](HTTPResponse{200, {}, "to nobody"});
    }

    void refusesWhatIsBeyondTheBoundsAfterWhatCameBefore()
    {
        Kept kept;
        SocketClient client(kept.server->port());
        client.send(get("/before") + "POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n"
                    + get("/never"));
        QCOMPARE(kept.waitFor(1), 1);
        kept.takeReplies()[0](HTTPResponse{200, {}, "first"});
        QCOMPARE(client.body(), "first");
        QCOMPARE(client.rest(),
                 "HTTP/1.1 400 Bad Request\r\nConnection: keep-alive\r\nContent-Length: 0\r\n\r\n");
        QCOMPARE(kept.paths().size(), 1);
    }

    void holdsBackOnlyWhoReadsSlowly()
    {
        const QByteArray answer(64'000, 'a');
        std::atomic<qsizetype> count = 0;
        const auto server = started([&](const HTTPRequest &request, const HTTPReply &) -> Answer {
            count += request.path == "/big";
            return HTTPResponse{200, {}, request.path == "/big" ? answer : "small"};
        });
        SocketClient slow;
        slow.setReceiveBuffer(4096);
        slow.connectTo(server->port());
        constexpr qsizetype asked = 2000;
        slow.send(get("/big").repeated(asked));
        SocketClient quick(server->port());
        for (int i = 0; i < 200; ++i) {
            quick.send(get("/small"));
            QCOMPARE(quick.body(), "small");
        }
        // The bound, what was on its way when that was reached, and what the system buffers.
        QCOMPARE_LT(count.load() * answer.size(), 20 * 1024 * 1024);
        for (qsizetype i = 0; i < asked; ++i)
            QCOMPARE(slow.body().size(), answer.size());
        QCOMPARE(count.load(), asked);
    }

    void handsOverOnlySoManyUnansweredRequests()
    {
        const auto check = [](const QByteArray &request, qsizetype asked, qsizetype most) {
            Kept kept;
            SocketClient client(kept.server->port());
            const std::jthread sender([&] { client.send(request.repeated(asked)); });
            for (qsizetype answered = 0; answered < asked;) {
                const auto expected = std::min(asked, answered + most);
                QCOMPARE(kept.waitFor(expected), expected);
                for (HTTPReply &reply : kept.takeReplies()) {
                    reply(HTTPResponse{});
                    ++answered;
                }
            }
            for (qsizetype i = 0; i < asked; ++i)
                QVERIFY(!client.response().isEmpty());
        };
        check(get("/"), 5000, HTTPConnection::maxUnanswered);
        check(post(QByteArray(300'000, 'b')), 20, 4);
        check(post(QByteArray(5'000'000, 'b')), 3, 1);
    }

    void countsTheUnansweredRequestsOfClosedConnections()
    {
        Kept kept;
        qsizetype count = 0;
        while (count < HTTPLoad::maxRequests) {
            SocketClient client(kept.server->port());
            client.send(get("/").repeated(HTTPConnection::maxUnanswered));
            count += count < HTTPLoad::maxRequests / 2 ? HTTPConnection::maxUnanswered : 1;
            QCOMPARE(kept.waitFor(count), count);
        }
        SocketClient waiting(kept.server->port());
        waiting.send(get("/waiting"));
        QCOMPARE(kept.waitFor(count + 1, 100ms), count);
        for (bool isThere = false; !isThere;) {
            isThere = kept.paths().contains("/waiting");
            for (HTTPReply &reply : kept.takeReplies())
                reply(HTTPResponse{200, {}, "in the end"});
        }
        QCOMPARE(waiting.body(), "in the end");
    }

    void closesIdleConnectionsWithoutAnAuthorizedRequestFirst()
    {
        const auto server = started(echo);
        SocketClient assistant(server->port());
        assistant.send(get("/in"));
        QCOMPARE(assistant.body(), "/in");
        std::list<SocketClient> silent;
        for (size_t i = 0; i < 300; ++i)
            silent.emplace_back(server->port()).send(i % 2 ? "GET /in" : get("/out"));
        QCOMPARE(silent.front().rest(), response("/out")); // the longest idle one
        assistant.send(get("/in/2"));
        QCOMPARE(assistant.body(), "/in/2");
        SocketClient late(server->port());
        late.send(get("/in/3"));
        QCOMPARE(late.body(), "/in/3");
        silent.back().send(" 1\r\n\r\n");
        QCOMPARE(silent.back().body(), "/in");
    }

    void refusesConnectionsWhenAllWaitForAnswers()
    {
        Kept kept;
        std::list<SocketClient> waiting;
        for (size_t i = 0; i < MCPHTTPServer::maxConnections; ++i)
            waiting.emplace_back(kept.server->port()).send(get("/in"));
        QCOMPARE(kept.waitFor(MCPHTTPServer::maxConnections),
                 qsizetype(MCPHTTPServer::maxConnections));
        QCOMPARE(SocketClient(kept.server->port()).rest(), QByteArray());
        for (HTTPReply &reply : kept.takeReplies())
            reply(HTTPResponse{200, {}, "/in"});
        for (SocketClient &client : waiting)
            QCOMPARE(client.body(), "/in");
    }

    void leavesDescriptorsToTheRestOfTheProgram()
    {
        const auto server = started(echo);
        std::list<SocketClient> clients(200); // their descriptors exist before there is a limit
        const int lowestFree = ::fcntl(0, F_DUPFD_CLOEXEC, 0);
        ::close(lowestFree);
        rlimit limits = {};
        getrlimit(RLIMIT_NOFILE, &limits);
        const rlimit few = {rlim_t(lowestFree) + 150, limits.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
        for (SocketClient &client : clients) {
            client.connectTo(server->port());
            client.send(get("/out"));
        }
        QCOMPARE(clients.back().body(), "/out"); // so all have been accepted
        std::vector<FileDescriptor> free;
        for (int copy = 0; (copy = ::fcntl(0, F_DUPFD_CLOEXEC, 0)) >= 0;)
            free.emplace_back(copy);
        setrlimit(RLIMIT_NOFILE, &limits);
        QCOMPARE_GE(free.size(), size_t(few.rlim_cur / 4));
    }

    void closesConnectionsThatSendNoCompleteRequest()
    {
        Kept kept(300ms);
        const quint16 port = kept.server->port();
        SocketClient waiting(port);
        waiting.send(get("/in"));
        SocketClient idle(port);
        idle.send(get("/in/idle"));
        QCOMPARE(kept.waitFor(2), 2);
        auto replies = kept.takeReplies();
        const auto last = kept.paths().back() == "/in" ? 0 : 1;
        replies[size_t(last)](HTTPResponse{200, {}, "idle"});
        QCOMPARE(idle.body(), "idle");

        SocketClient silent(port);
        SocketClient half(port);
        half.send("GET /in HTTP/1.1\r\nX: ");
        SocketClient body(port);
        body.send("POST /in HTTP/1.1\r\nContent-Length: 5\r\n\r\n1234");
        for (SocketClient *const client : {&silent, &half, &body})
            QCOMPARE(client->rest(), QByteArray());
        // With the token, or waiting for an answer, a connection may stay.
        replies[size_t(1 - last)](HTTPResponse{200, {}, "late"});
        QCOMPARE(waiting.body(), "late");
        idle.send(get("/in/again"));
        QCOMPARE(kept.waitFor(3), 3);
    }

    void keepsToItself()
    {
        const auto server = started(echo);
        QVERIFY(!SocketClient().connectTo(server->port(), "127.0.0.2"));
        SocketClient client(server->port());
        client.send(get("/"));
        QCOMPARE(client.body(), "/");
        // A child program inherits nothing of it.
        for (int descriptor = 3; descriptor < 100; ++descriptor) {
            const QString target =
                QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(descriptor));
            if (target.contains(QStringLiteral("socket:"))
                || target.contains(QStringLiteral("anon")))
                QVERIFY2(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, qPrintable(target));
        }
    }
};

QTEST_GUILESS_MAIN(tst_MCPHTTPServer)
#include "tst_MCPHTTPServer.moc"
