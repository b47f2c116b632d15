#pragma once

#include "mcp/HTTPReply.h"
#include "mcp/HTTPRequestParser.h"

#include <functional>
#include <span>

namespace Korvane {

/// How much has been handed over, by all connections together, and is not answered yet. It counts
/// on for connections that have gone, since their requests are still waiting somewhere.
struct HTTPLoad
{
    static constexpr qsizetype maxRequests = 2048;
    static constexpr qsizetype maxBytes = qsizetype{256} * 1024 * 1024;

    qsizetype requests = 0;
    qsizetype bytes = 0;

    /// Nobody may hand over any more.
    [[nodiscard]] bool isFull() const { return requests >= maxRequests || bytes >= maxBytes; }
    /// Each connection may only hand over one at a time, so that all have their turn.
    [[nodiscard]] bool isHigh() const
    {
        return requests >= maxRequests / 2 || bytes >= maxBytes / 2;
    }
};

/// One accepted connection: cuts the requests out of what comes in, and sends the answers. Lives on
/// the server's queue, which tells it what its socket is ready for.
///
/// Whoever asks much, or reads its answers slowly, holds back only itself: beyond the bounds below
/// no further bytes are taken from its socket.
class HTTPConnection final
{
public:
    /// Handed over and not yet answered; one of any size always may be. The answers to these may
    /// come on top of the next bound.
    static constexpr qsizetype maxUnanswered = 128;
    static constexpr qsizetype maxUnansweredBytes = qsizetype{1024} * 1024;
    /// Answers that the client has not taken.
    static constexpr qsizetype maxUnsentBytes = qsizetype{1024} * 1024;

    using Handler = std::function<void(HTTPRequest, HTTPReply)>;

    /// What the queue has to do about it now.
    enum class Outcome {
        Open,
        /// It was told why, and hears nothing more: to be dropped when its client has closed too,
        /// or after a moment. Dropped at once, what it was told might not reach it.
        Leaving,
        Closed,
    };

    /// Takes \p socket (non-blocking) over. \p handler and \p load are borrowed.
    HTTPConnection(quint64 id, int socket, const Handler &handler, HTTPLoad &load,
                   HTTPRequestParser::BodyFilter keepsBody, std::shared_ptr<HTTPReplyBox> replies);
    ~HTTPConnection();
    HTTPConnection(const HTTPConnection &) = delete;
    HTTPConnection &operator=(const HTTPConnection &) = delete;

    /// Takes what the socket holds, by way of \p scratch, and hands the requests over. With
    /// \p hasPeerClosed, the client's last bytes and its end are taken in one go.
    [[nodiscard]] Outcome receive(std::span<char> scratch, bool hasPeerClosed);
    /// Adds the answer to a request of \p requestBytes to what `flush` sends.
    void answer(const HTTPResponse &response, qsizetype requestBytes);
    /// Sends what the socket takes, then goes on with requests that had to wait.
    [[nodiscard]] Outcome flush();

    /// It would take more from its client if the load of all allowed it.
    [[nodiscard]] bool isHeldBackByOthers() const;

    [[nodiscard]] int socket() const { return m_socket; }
    /// The epoll events it waits for.
    [[nodiscard]] unsigned wantedEvents() const;

private:
    [[nodiscard]] bool mayHandOver() const { return !m_load.isFull() && hasRoom(); }
    [[nodiscard]] bool hasRoom() const;
    void handOver();
    [[nodiscard]] bool send();
    [[nodiscard]] Outcome outcome();

    quint64 m_id;
    int m_socket;
    const Handler &m_handler;
    HTTPLoad &m_load;
    std::shared_ptr<HTTPReplyBox> m_replies;
    HTTPRequestParser m_parser;
    qsizetype m_unanswered = 0;
    qsizetype m_unansweredBytes = 0;
    QByteArray m_unsent;
    qsizetype m_sent = 0; // of the front of m_unsent
    bool m_isLeaving = false;
};

} // namespace Korvane
