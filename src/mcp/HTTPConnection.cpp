#include "mcp/HTTPConnection.h"

#include <cerrno>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <utility>

namespace Korvane {

namespace {

// How often one socket is read before the others are served.
constexpr int readsPerTurn = 4;
constexpr qsizetype keptCapacityBytes = qsizetype{64} * 1024;

// Counted for an unanswered request beside its body: about its head and the map of its headers.
constexpr qsizetype requestCostBytes = 1024;

} // namespace

HTTPConnection::HTTPConnection(quint64 id, FileDescriptor socket, const Handler &handler,
                               HTTPLoad &load, HTTPRequestParser::HeadCheck isAuthorized,
                               std::shared_ptr<HTTPReply::Mailbox> replies)
    : m_id(id)
    , m_socket(std::move(socket))
    , m_handler(handler)
    , m_load(load)
    , m_replies(std::move(replies))
    , m_parser(std::move(isAuthorized))
{
}

HTTPConnection::Outcome HTTPConnection::receive(std::span<char> scratch, bool hasPeerClosed)
{
    for (int turn = 0; hasPeerClosed || turn < readsPerTurn; ++turn) {
        if (!m_isClosing && !mayHandOver())
            break;
        const auto count = ::recv(m_socket.get(), scratch.data(), scratch.size(), 0);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            break;
        if (count <= 0)
            return Outcome::Closed;
        if (m_isClosing)
            continue;
        // An authorized connection may have been idle for long: its time-out begins now.
        if (isAuthorized() && !isInsideRequest())
            m_lastActivity = std::chrono::steady_clock::now();
        m_parser.append(QByteArrayView(scratch.data(), count));
        (void)handOver();
        if (m_parser.isRefusing())
            break;
        // The socket returned less than fits: it is most likely empty, and epoll reports it
        // otherwise.
        if (!hasPeerClosed && size_t(count) < scratch.size())
            break;
    }
    // Not earlier: a request that arrived with the end of the stream is not answered.
    if (!handOverAndSend())
        return Outcome::Closed;
    return outcome();
}

void HTTPConnection::answer(const HTTPDelivery &delivery)
{
    --m_unanswered;
    m_unansweredBytes -= delivery.requestBytes;
    delivery.response.appendTo(m_unsent);
    m_lastActivity = std::chrono::steady_clock::now();
}

HTTPConnection::Outcome HTTPConnection::flush()
{
    return handOverAndSend() ? outcome() : Outcome::Closed;
}

/// False when the connection is closed.
bool HTTPConnection::handOverAndSend()
{
    do {
        if (!send())
            return false;
    } while (handOver());
    return true;
}

unsigned HTTPConnection::wantedEvents() const
{
    unsigned events = EPOLLRDHUP;
    if (m_isClosing || (mayHandOver() && !m_parser.isRefusing()))
        events |= EPOLLIN;
    if (m_sent < m_unsent.size())
        events |= EPOLLOUT;
    return events;
}

bool HTTPConnection::isHeldBackByOthers() const
{
    return m_load.isFull() && hasRoom() && !m_isClosing && !m_parser.isRefusing();
}

bool HTTPConnection::hasRoom() const
{
    if (m_unsent.size() - m_sent > (isAuthorized() ? maxUnsentBytes : keptCapacityBytes))
        return false;
    return m_unanswered == 0
        || (!m_load.isHigh() && m_unanswered < maxUnanswered
            && m_unansweredBytes < maxUnansweredBytes);
}

/// True when there is something new to send.
bool HTTPConnection::handOver()
{
    bool isAnswered = false;
    while (mayHandOver()) {
        auto request = m_parser.next();
        if (!request)
            break;
        m_lastActivity = std::chrono::steady_clock::now();
        const auto bytes = requestCostBytes + request->body.size();
        if (const auto response =
                m_handler(std::move(*request), HTTPReply(m_replies, m_id, bytes))) {
            response->appendTo(m_unsent);
            isAnswered = true;
            continue;
        }
        ++m_unanswered;
        m_unansweredBytes += bytes;
        ++m_load.requests;
        m_load.bytes += bytes;
    }
    return isAnswered;
}

/// False when the connection is closed.
bool HTTPConnection::send()
{
    while (m_sent < m_unsent.size()) {
        const auto count = ::send(m_socket.get(), m_unsent.constData() + m_sent,
                                  size_t(m_unsent.size() - m_sent), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            // The rest is moved only when it is shorter than what was sent.
            if (m_sent > m_unsent.size() / 2) {
                m_unsent.remove(0, m_sent);
                m_sent = 0;
            }
            return errno == EAGAIN || errno == EWOULDBLOCK;
        }
        m_sent += count;
    }
    m_sent = 0;
    if (m_unsent.capacity() > keptCapacityBytes)
        m_unsent = QByteArray();
    else
        m_unsent.resize(0);
    return true;
}

/// Refuses what is beyond the limits, once all requests before it have been answered.
HTTPConnection::Outcome HTTPConnection::outcome()
{
    if (!m_isClosing && m_parser.isRefusing() && m_unanswered == 0) {
        m_isClosing = true;
        HTTPResponse{400}.appendTo(m_unsent);
        if (!send())
            return Outcome::Closed;
    }
    if (!m_isClosing || m_sent < m_unsent.size())
        return Outcome::Open;
    ::shutdown(m_socket.get(), SHUT_WR);
    return Outcome::Closing;
}

} // namespace Korvane
