#pragma once

#include "base/Result.h"
#include "mcp/HTTPConnection.h"

#include <QString>

#include <atomic>
#include <chrono>
#include <deque>
#include <queue>
#include <thread>
#include <unordered_map>

namespace Korvane {

/// A small HTTP/1.1 server on the loopback interface with a thread of its own, "mcp.http.server".
/// It keeps connections alive and hands every complete request to one handler.
///
/// One thread owns the server object; connections are accepted, read and written on the server's
/// thread. A new object is created for every start.
class MCPHTTPServer final
{
public:
    /// Beyond this number, a new connection closes the one that has been idle longest, those
    /// without an authorized request first. The new one is closed when all others wait for answers.
    static constexpr size_t maxConnections = 256;

    /// Called on the server's thread; must not block. It returns the response, or keeps the
    /// HTTPReply and calls it later from any thread. Every request must be answered in the end,
    /// since unanswered ones are counted.
    using Handler = HTTPConnection::Handler;

    /// \p port 0 lets the system choose. \p isAuthorized is called on the server's thread with each
    /// head: bodies that it refuses are not kept in memory.
    MCPHTTPServer(quint16 port, Handler handler, HTTPRequestParser::HeadCheck isAuthorized = {});
    /// Stops.
    ~MCPHTTPServer();
    MCPHTTPServer(const MCPHTTPServer &) = delete;
    MCPHTTPServer &operator=(const MCPHTTPServer &) = delete;

    /// Called on the server's thread with the system's message when the listener fails after
    /// `start`. Connections continue until `stop`. Must be set before `start`.
    void setOnFailure(std::function<void(const QString &)> onFailure);
    /// Called on the server's thread with the id of a connection that was closed before all of its
    /// requests were answered, but not by `stop`. Must be set before `start`.
    void setOnAbandoned(std::function<void(quint64)> onAbandoned);

    /// How long a connection may take for its first or its current request; 30 s unless set. Must
    /// be set before `start`.
    void setRequestTimeout(std::chrono::milliseconds timeout) { m_requestTimeout = timeout; }

    /// Fails with `ErrorCode::Network` and the system's message.
    [[nodiscard]] Result<void> start();
    /// Returns when the listener and all connections are closed: the port is free again. Later
    /// replies do nothing. Must not be called on the server's thread.
    void stop();

    /// The port that is listened on; before `start`, the one that was asked for.
    [[nodiscard]] quint16 port() const { return m_port; }

private:
    using Clock = std::chrono::steady_clock;
    using Check = std::pair<Clock::time_point, quint64>;

    struct Client
    {
        HTTPConnection connection;
        unsigned watchedEvents = 0;
        bool hasNewReply = false; // is in m_withNewReplies
        std::optional<Clock::time_point> closesAt = {};
        bool isHeldBack = false; // is in m_heldBack
    };

    [[nodiscard]] Result<void> listenOnLoopback();
    [[nodiscard]] bool watch(int operation, int descriptor, unsigned events, quint64 key);
    void run();
    [[nodiscard]] int timeoutMs() const;
    void acceptWaiting();
    [[nodiscard]] bool makeRoomFor(FileDescriptor &socket);
    void pauseListening();
    void failListening(int code);
    void serve(quint64 id, unsigned events);
    void deliverReplies();
    void resumeHeldBack();
    void applyOutcome(quint64 id, Client &client, HTTPConnection::Outcome outcome);
    [[nodiscard]] std::optional<Clock::time_point> closingTime(const Client &client) const;
    void drop(quint64 id);
    void dropOverdue();

    quint16 m_port;
    Handler m_handler;
    HTTPRequestParser::HeadCheck m_isAuthorized;
    std::function<void(const QString &)> m_onFailure;
    std::function<void(quint64)> m_onAbandoned;
    std::chrono::milliseconds m_requestTimeout = std::chrono::seconds(30);
    std::shared_ptr<HTTPReply::Mailbox> m_replies = std::make_shared<HTTPReply::Mailbox>();
    FileDescriptor m_listener;
    FileDescriptor m_epoll;
    std::thread m_thread;
    std::atomic<bool> m_isStopRequested = false;

    // Used by the server's thread only.
    std::vector<char> m_scratch;
    std::unordered_map<quint64, std::unique_ptr<Client>> m_clients;
    quint64 m_nextId;
    HTTPLoad m_load;
    std::deque<quint64> m_heldBack;        // wait until the load is lower, in order
    std::vector<quint64> m_withNewReplies; // have something to send
    /// When to check which connection for its time-out.
    std::priority_queue<Check, std::vector<Check>, std::greater<>> m_checks;
    Clock::time_point m_listenAgain; // when m_isListeningPaused
    bool m_isListeningPaused = false;
};

} // namespace Korvane
