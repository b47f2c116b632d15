#include "mcp/MCPHTTPServer.h"

#include "mcp/SocketClient.h"

#include <QTest>

#include <condition_variable>
#include <list>

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

/// A server that keeps the requests and their replies for the test to answer.
class HTTPServerFixture
{
public:
    explicit HTTPServerFixture(std::chrono::milliseconds requestTimeout = 30s)
        : m_requestTimeout(requestTimeout)
    {
    }

    /// Waits until \p count requests have arrived or \p timeout is over. Returns how many arrived.
    qsizetype waitFor(qsizetype count, std::chrono::milliseconds timeout = 30s)
    {
        std::unique_lock lock(m_mutex);
        m_more.wait_for(lock, timeout, [&] { return count <= qsizetype(m_paths.size()); });
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

} // namespace

class tst_MCPHTTPServer final : public QObject
{
    Q_OBJECT

private slots:
    void sendsRepliesInTheOrderInWhichTheyAreGiven()
    {
        HTTPServerFixture kept;
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
        auto kept = std::make_unique<HTTPServerFixture>();
        {
            SocketClient closed(kept->server->port());
            closed.send(get("/closed") + get("/closed too"));
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

    void answersEarlierRequestsBeforeRefusing()
    {
        HTTPServerFixture kept;
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

    void closesIdleConnectionsWithoutAnAuthorizedRequestFirst()
    {
        const auto server = started(echo);
        SocketClient assistant(server->port());
        assistant.send(get("/in"));
        QCOMPARE(assistant.body(), "/in");
        std::list<SocketClient> silent;
        silent.emplace_back(server->port()).send(get("/out"));
        QCOMPARE(silent.front().body(), "/out"); // from now on it is the longest idle one
        for (size_t i = 1; i < 300; ++i)
            silent.emplace_back(server->port()).send(i % 2 ? "GET /in" : get("/out"));
        QCOMPARE(silent.front().rest(), QByteArray());
        assistant.send(get("/in/2"));
        QCOMPARE(assistant.body(), "/in/2");
        SocketClient late(server->port());
        late.send(get("/in/3"));
        QCOMPARE(late.body(), "/in/3");
        silent.back().send(" 1\r\n\r\n");
        QCOMPARE(silent.back().body(), "/in");
    }

    void closesConnectionsThatSendNoCompleteRequest()
    {
        HTTPServerFixture kept(300ms);
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

    void listensOnLocalhostOnly()
    {
        const auto server = started(echo);
        QVERIFY(!SocketClient().connectTo(server->port(), "127.0.0.2"));
        SocketClient client(server->port());
        client.send(get("/"));
        QCOMPARE(client.body(), "/");
    }
};

QTEST_GUILESS_MAIN(tst_MCPHTTPServer)
#include "tst_MCPHTTPServer.moc"
