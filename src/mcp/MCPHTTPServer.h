#pragma once

#include "base/Result.h"
#include "mcp/HTTPConnection.h"

#include <QString>

#include <chrono>
#include <deque>
#include <thread>
#include <unordered_map>

namespace Korvane {

/// A small HTTP/1.1 server on the loopback interface, on a thread of its own: its serial queue,
/// "mcp.http.server". It accepts any number of connections, keeps them alive and hands every
/// complete request to one handler. It knows nothing of what the requests mean.
///
/// One thread owns the server; all that happens to sockets happens on the queue. Made anew for
/// every start.
class MCPHTTPServer final
{
public:
    /// Called on the queue, and must return quickly: the reply can be given later, from any thread.
    /// Every request must be answered in the end, since those that wait are counted.
    using Handler = HTTPConnection::Handler;

    /// \p port 0 lets the system choose. \p keepsBody, called on the queue, declines bodies before
    /// they come: what no handler will look at need not be held.
    MCPHTTPServer(quint16 port, Handler handler, HTTPRequestParser::BodyFilter keepsBody = {});
    /// Stops.
    ~MCPHTTPServer();
    MCPHTTPServer(const MCPHTTPServer &) = delete;
    MCPHTTPServer &operator=(const MCPHTTPServer &) = delete;

    /// Called on the queue with the system's words when the listener fails later on. The listener
    /// is then of no more use; connections go on until `stop`. To be set before `start`.
    void setOnFailure(std::function<void(const QString &)> onFailure);

    /// Listens when it returns, or has failed with `ErrorCode::Network` and the system's words.
    [[nodiscard]] Result<void> start();
    /// Returns when the listener and all connections are closed: the port is free again. Replies
    /// that come later do nothing. Never from the queue.
    void stop();

    /// The port that is listened on; the wished one before.
    [[nodiscard]] quint16 port() const { return m_port; }

private:
    using Clock = std::chrono::steady_clock;

    struct Client
    {
        HTTPConnection connection;
        unsigned watchedEvents = 0;
        bool isMarked = false;   // is in m_marked
        bool isLeaving = false;  // is in m_leaving
        bool isHeldBack = false; // is in m_heldBack
    };

    [[nodiscard]] Result<void> listenOnLoopback();
    [[nodiscard]] bool watch(int operation, int descriptor, unsigned events, quint64 key);
    void closeDescriptors();
    void run();
    [[nodiscard]] int timeoutMs() const;
    void acceptWaiting();
    void pauseListening();
    void failListening(int code);
    void serve(quint64 id, unsigned events);
    void deliverReplies();
    void resumeHeldBack();
    void settle(quint64 id, Client &client, HTTPConnection::Outcome outcome);
    void dropOverdue();

    quint16 m_port;
    Handler m_handler;
    HTTPRequestParser::BodyFilter m_keepsBody;
    std::function<void(const QString &)> m_onFailure;
    std::shared_ptr<HTTPReplyBox> m_replies = std::make_shared<HTTPReplyBox>();
    int m_listener = -1;
    int m_epoll = -1;
    std::thread m_queue;

    // The queue's own.
    bool m_isRunning = true;
    std::vector<char> m_scratch;
    std::unordered_map<quint64, std::unique_ptr<Client>> m_clients;
    quint64 m_nextId;
    HTTPLoad m_load;
    std::deque<quint64> m_heldBack; // wait for the load to shrink, the first first
    std::vector<HTTPReplyBox::Entry> m_entries;
    std::vector<quint64> m_marked;                               // have something to send
    std::deque<std::pair<Clock::time_point, quint64>> m_leaving; // in the order of their deadlines
    Clock::time_point m_listenAgain;                             // when m_isListeningPaused
    bool m_isListeningPaused = false;
};

} // namespace Korvane
