#pragma once

#include "mcp/HTTPReply.h"
#include "mcp/HTTPRequestParser.h"

#include <chrono>
#include <functional>
#include <span>

namespace Korvane {

/// The requests of all connections that have been handed over and not answered. Those of closed
/// connections still count, since they still take memory.
struct HTTPLoad
{
    static constexpr qsizetype maxRequests = 2048;
    static constexpr qsizetype maxBytes = qsizetype{256} * 1024 * 1024;

    qsizetype requests = 0;
    qsizetype bytes = 0;

    /// No connection may hand over more.
    [[nodiscard]] bool isFull() const { return requests >= maxRequests || bytes >= maxBytes; }
    /// Each connection may only hand over one at a time, so that all are served.
    [[nodiscard]] bool isHigh() const
    {
        return requests >= maxRequests / 2 || bytes >= maxBytes / 2;
    }
};

/// One accepted connection: parses the requests from the bytes received and sends the responses.
/// Used on the server's thread only, which reports what the socket is ready for.
///
/// A client that sends many requests, or reads responses slowly, delays only itself: beyond the
/// limits below nothing more is read from its socket.
class HTTPConnection final
{
public:
    /// Handed over and not yet answered; one of any size is always allowed. The answers to these
    /// may exceed the next limit.
    static constexpr qsizetype maxUnanswered = 128;
    static constexpr qsizetype maxUnansweredBytes = qsizetype{1024} * 1024;
    /// Answers that the socket has not accepted.
    static constexpr qsizetype maxUnsentBytes = qsizetype{1024} * 1024;

    /// Returns the response, or nothing when it keeps the HTTPReply and calls that later.
    using Handler = std::function<std::optional<HTTPResponse>(HTTPRequest, HTTPReply)>;

    enum class Outcome {
        Open,
        /// A refusal has been sent, and nothing more will be: close when the client has closed too,
        /// or after a second. Closed at once, the refusal might not reach the client.
        Closing,
        Closed,
    };

    /// \p socket is non-blocking. \p handler and \p load are borrowed.
    HTTPConnection(quint64 id, FileDescriptor socket, const Handler &handler, HTTPLoad &load,
                   HTTPRequestParser::HeadCheck isAuthorized,
                   std::shared_ptr<HTTPReply::Mailbox> replies);
    HTTPConnection(const HTTPConnection &) = delete;
    HTTPConnection &operator=(const HTTPConnection &) = delete;

    /// Reads what the socket holds, using \p scratch, and hands the requests over. With
    /// \p hasPeerClosed, reads up to the end of the stream, unless a limit ends the reading before;
    /// requests in the last bytes are handed over, but get no answer.
    [[nodiscard]] Outcome receive(std::span<char> scratch, bool hasPeerClosed);
    /// Adds the answer to what `flush` sends.
    void answer(const HTTPDelivery &delivery);
    /// Sends what the socket accepts, then hands over requests that were delayed.
    [[nodiscard]] Outcome flush();

    /// It would hand over more if the load of all connections allowed it.
    [[nodiscard]] bool isHeldBackByOthers() const;

    [[nodiscard]] bool isWaitingForAnswer() const { return m_unanswered > 0; }
    /// A request with the token has begun on this connection.
    [[nodiscard]] bool isAuthorized() const { return m_parser.hasSeenAuthorized(); }
    /// Part of a request has arrived, and the rest has not.
    [[nodiscard]] bool isInsideRequest() const { return m_parser.isInsideRequest(); }
    /// When the connection was accepted, or last completed or got an answer to a request; of an
    /// authorized connection also when its current request began.
    [[nodiscard]] std::chrono::steady_clock::time_point lastActivity() const
    {
        return m_lastActivity;
    }

    [[nodiscard]] int socket() const { return m_socket.get(); }
    /// The epoll events to watch for.
    [[nodiscard]] unsigned wantedEvents() const;

private:
    [[nodiscard]] bool mayHandOver() const { return !m_load.isFull() && hasRoom(); }
    [[nodiscard]] bool hasRoom() const;
    [[nodiscard]] bool handOver();
    [[nodiscard]] bool send();
    [[nodiscard]] bool handOverAndSend();
    [[nodiscard]] Outcome outcome();

    quint64 m_id;
    FileDescriptor m_socket;
    const Handler &m_handler;
    HTTPLoad &m_load;
    std::shared_ptr<HTTPReply::Mailbox> m_replies;
    HTTPRequestParser m_parser;
    qsizetype m_unanswered = 0;
    qsizetype m_unansweredBytes = 0;
    QByteArray m_unsent;
    qsizetype m_sent = 0; // how many bytes of m_unsent were sent
    bool m_isClosing = false;
    std::chrono::steady_clock::time_point m_lastActivity = std::chrono::steady_clock::now();
};

} // namespace Korvane
