#include "mcp/MCPHTTPServer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <system_error>
#include <tuple>
#include <unistd.h>

#include <utility>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

// The key of an epoll event: one of these, or the id of a connection.
constexpr quint64 wakeKey = 0;
constexpr quint64 listenerKey = 1;
constexpr quint64 firstConnectionId = 2;

constexpr size_t scratchBytes = size_t{64} * 1024;
constexpr int acceptsPerTurn = 64;
// Reserved for the rest of the program, which needs descriptors to save files, for example.
constexpr rlim_t reservedDescriptors = 128;
// How long a refused client may continue to send before its connection is closed.
constexpr auto closingDelay = 1s;
// How long no connection is accepted after descriptors or memory ran out.
constexpr auto listenAgainTime = 100ms;

Error systemError(int code)
{
    return Error{ErrorCode::Network, qt_error_string(code), {}, code};
}

} // namespace

MCPHTTPServer::MCPHTTPServer(quint16 port, Handler handler,
                             HTTPRequestParser::HeadCheck isAuthorized)
    : m_port(port)
    , m_handler(std::move(handler))
    , m_isAuthorized(std::move(isAuthorized))
    , m_nextId(firstConnectionId)
{
}

MCPHTTPServer::~MCPHTTPServer()
{
    stop();
}

void MCPHTTPServer::setOnFailure(std::function<void(const QString &)> onFailure)
{
    m_onFailure = std::move(onFailure);
}

void MCPHTTPServer::setOnAbandoned(std::function<void(quint64)> onAbandoned)
{
    m_onAbandoned = std::move(onAbandoned);
}

Result<void> MCPHTTPServer::start()
{
    Q_ASSERT(!m_thread.joinable());
    if (auto listening = listenOnLoopback(); !listening)
        return listening;
    m_scratch.resize(scratchBytes);

    // Signals are handled on the main thread; the new thread inherits a mask that blocks them all.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    Result<void> started;
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error &problem) {
        started = systemError(problem.code().value());
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

void MCPHTTPServer::stop()
{
    if (!m_thread.joinable())
        return;
    Q_ASSERT(m_thread.get_id() != std::this_thread::get_id());
    m_isStopRequested = true;
    m_replies->wake();
    m_thread.join();
}

Result<void> MCPHTTPServer::listenOnLoopback()
{
    m_epoll.reset(epoll_create1(EPOLL_CLOEXEC));
    m_listener.reset(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (m_replies->descriptor() < 0 || !m_epoll.isValid() || !m_listener.isValid())
        return systemError(errno);

    // Connections of a server that has just stopped remain in TIME_WAIT; they must not keep the
    // port.
    const int on = 1;
    ::setsockopt(m_listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(m_port);
    socklen_t length = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (::bind(m_listener.get(), generic, length) != 0 || ::listen(m_listener.get(), SOMAXCONN) != 0
        || ::getsockname(m_listener.get(), generic, &length) != 0
        || !watch(EPOLL_CTL_ADD, m_replies->descriptor(), EPOLLIN | EPOLLET, wakeKey)
        || !watch(EPOLL_CTL_ADD, m_listener.get(), EPOLLIN, listenerKey))
        return systemError(errno);
    m_port = ntohs(address.sin_port);
    return {};
}

bool MCPHTTPServer::watch(int operation, int descriptor, unsigned events, quint64 key)
{
    epoll_event event = {};
    event.events = events;
    event.data.u64 = key;
    return epoll_ctl(m_epoll.get(), operation, descriptor, &event) == 0;
}

void MCPHTTPServer::run()
{
    pthread_setname_np(pthread_self(), "mcp.http.server");

    std::array<epoll_event, 256> events;
    while (!m_isStopRequested) {
        const int count = epoll_wait(m_epoll.get(), events.data(), int(events.size()), timeoutMs());
        for (int i = 0; i < count; ++i) {
            const auto key = events[size_t(i)].data.u64;
            if (key == listenerKey)
                acceptWaiting();
            else if (key != wakeKey)
                serve(key, events[size_t(i)].events);
        }
        dropOverdue();
        // After the sockets: a client that has closed meanwhile gets no response.
        deliverReplies();
    }
    m_clients.clear();
    m_listener.reset();
    m_epoll.reset();
    m_replies->close();
}

int MCPHTTPServer::timeoutMs() const
{
    if (m_checks.empty() && !m_isListeningPaused)
        return -1;
    auto next = m_isListeningPaused ? m_listenAgain : Clock::time_point::max();
    if (!m_checks.empty())
        next = std::min(next, m_checks.top().first);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
    return int(std::max(left, 0ms).count());
}

void MCPHTTPServer::acceptWaiting()
{
    for (int i = 0; i < acceptsPerTurn; ++i) {
        FileDescriptor socket(
            ::accept4(m_listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!socket.isValid()) {
            switch (errno) {
            case EAGAIN:
                return;
            case EMFILE:
            case ENFILE:
            case ENOBUFS:
            case ENOMEM:
                return pauseListening();
            case EBADF:
            case EINVAL:
            case ENOTSOCK:
            case EOPNOTSUPP:
                return failListening(errno);
            default:
                continue; // concerns that one connection only
            }
        }
        if (!makeRoomFor(socket))
            continue;
        // Responses are written in one piece, so there is nothing to wait for.
        const int on = 1;
        ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const auto id = m_nextId++;
        std::unique_ptr<Client> client(
            new Client{{id, std::move(socket), m_handler, m_load, m_isAuthorized, m_replies}});
        if (watch(EPOLL_CTL_ADD, client->connection.socket(), 0, id)) {
            const auto entry = m_clients.emplace(id, std::move(client)).first;
            m_checks.emplace(Clock::now() + m_requestTimeout, id);
            applyOutcome(id, *entry->second, HTTPConnection::Outcome::Open);
        }
    }
}

/// Closes another connection when there are too many, or when the number of \p socket, the lowest
/// that was free, shows that only the reserve is left. False when there is none to close.
bool MCPHTTPServer::makeRoomFor(FileDescriptor &socket)
{
    rlimit limits = {};
    ::getrlimit(RLIMIT_NOFILE, &limits);
    const rlim_t reserve = std::min(reservedDescriptors, limits.rlim_cur / 4);
    const bool isInReserve = rlim_t(socket.get()) >= limits.rlim_cur - reserve;
    if (m_clients.size() < maxConnections && !isInReserve)
        return true;
    const auto rank = [](const auto &entry) {
        const HTTPConnection &connection = entry.second->connection;
        return std::tuple(connection.isWaitingForAnswer(), connection.isAuthorized(),
                          connection.lastActivity());
    };
    const auto leastRecentlyUsed =
        std::min_element(m_clients.begin(), m_clients.end(),
                         [&](const auto &a, const auto &b) { return rank(a) < rank(b); });
    if (leastRecentlyUsed == m_clients.end()
        || leastRecentlyUsed->second->connection.isWaitingForAnswer())
        return false;
    drop(leastRecentlyUsed->first);
    if (isInReserve) // the next number would not be the lowest free one otherwise
        socket.reset(::fcntl(socket.get(), F_DUPFD_CLOEXEC, 0));
    return socket.isValid();
}

/// The waiting connections keep the listener readable: without this the thread would spin.
void MCPHTTPServer::pauseListening()
{
    m_isListeningPaused = watch(EPOLL_CTL_MOD, m_listener.get(), 0, listenerKey);
    m_listenAgain = Clock::now() + listenAgainTime;
}

void MCPHTTPServer::failListening(int code)
{
    epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, m_listener.get(), nullptr);
    if (m_onFailure)
        m_onFailure(qt_error_string(code));
}

void MCPHTTPServer::serve(quint64 id, unsigned events)
{
    const auto found = m_clients.find(id);
    if (found == m_clients.end())
        return; // closed by an earlier event of this turn
    Client &client = *found->second;
    const bool isBroken = events & (EPOLLHUP | EPOLLERR);

    auto outcome = HTTPConnection::Outcome::Open;
    if (events & EPOLLOUT)
        outcome = client.connection.flush();
    const bool hasPeerClosed = isBroken || (events & EPOLLRDHUP);
    if ((events & EPOLLIN) && outcome != HTTPConnection::Outcome::Closed)
        outcome = client.connection.receive(m_scratch, hasPeerClosed);
    // Whatever the load did not allow to read is dropped: it would not be answered anyway.
    if (hasPeerClosed)
        outcome = HTTPConnection::Outcome::Closed;
    applyOutcome(id, client, outcome);
}

void MCPHTTPServer::deliverReplies()
{
    while (const auto delivery = m_replies->take()) {
        --m_load.requests;
        m_load.bytes -= delivery->requestBytes;
        const auto found = m_clients.find(delivery->connection);
        if (found == m_clients.end())
            continue;
        found->second->connection.answer(*delivery);
        if (!std::exchange(found->second->hasNewReply, true))
            m_withNewReplies.push_back(delivery->connection);
    }
    resumeHeldBack();
    for (const auto id : m_withNewReplies) {
        const auto found = m_clients.find(id);
        if (found == m_clients.end())
            continue;
        Client &client = *found->second;
        client.hasNewReply = false;
        applyOutcome(id, client, client.connection.flush());
    }
    m_withNewReplies.clear();
}

/// The connections that have waited longest have priority over those whose replies are ready:
/// otherwise a client that sends without pause would use all the load that becomes free.
void MCPHTTPServer::resumeHeldBack()
{
    while (!m_heldBack.empty() && !m_load.isFull()) {
        const auto id = m_heldBack.front();
        m_heldBack.pop_front();
        const auto found = m_clients.find(id);
        if (found == m_clients.end())
            continue;
        Client &client = *found->second;
        client.isHeldBack = false;
        auto outcome = client.connection.flush();
        if (outcome == HTTPConnection::Outcome::Open)
            outcome = client.connection.receive(m_scratch, false);
        applyOutcome(id, client, outcome);
    }
}

/// Acts on the outcome of an operation. Destroys a closed connection.
void MCPHTTPServer::applyOutcome(quint64 id, Client &client, HTTPConnection::Outcome outcome)
{
    if (outcome == HTTPConnection::Outcome::Closed) {
        drop(id);
        return;
    }
    if (outcome == HTTPConnection::Outcome::Closing && !client.closesAt) {
        client.closesAt = Clock::now() + closingDelay;
        m_checks.emplace(*client.closesAt, id);
    }
    if (client.connection.isHeldBackByOthers() && !std::exchange(client.isHeldBack, true))
        m_heldBack.push_back(id);
    const auto events = client.connection.wantedEvents();
    if (events != client.watchedEvents
        && watch(EPOLL_CTL_MOD, client.connection.socket(), events, id))
        client.watchedEvents = events;
}

/// When to close a connection that does nothing until then; nothing when it may stay open. Clients
/// with the token may keep a connection between requests for any time.
std::optional<MCPHTTPServer::Clock::time_point> MCPHTTPServer::closingTime(
    const Client &client) const
{
    if (client.closesAt)
        return client.closesAt;
    const HTTPConnection &connection = client.connection;
    if (connection.isWaitingForAnswer()
        || (connection.isAuthorized() && !connection.isInsideRequest()))
        return std::nullopt;
    return connection.lastActivity() + m_requestTimeout;
}

void MCPHTTPServer::drop(quint64 id)
{
    const auto found = m_clients.find(id);
    if (found == m_clients.end())
        return;
    const bool isWaiting = found->second->connection.isWaitingForAnswer();
    m_clients.erase(found);
    if (isWaiting && m_onAbandoned)
        m_onAbandoned(id);
}

void MCPHTTPServer::dropOverdue()
{
    if (m_checks.empty() && !m_isListeningPaused)
        return;
    const auto now = Clock::now();
    while (!m_checks.empty() && m_checks.top().first <= now) {
        const auto id = m_checks.top().second;
        m_checks.pop();
        const auto found = m_clients.find(id);
        if (found == m_clients.end())
            continue;
        const auto time = closingTime(*found->second).value_or(now + m_requestTimeout);
        if (time <= now)
            drop(id);
        else if (!found->second->closesAt) // or it has a check of its own
            m_checks.emplace(time, id);
    }
    if (m_isListeningPaused && m_listenAgain <= now)
        m_isListeningPaused = !watch(EPOLL_CTL_MOD, m_listener.get(), EPOLLIN, listenerKey);
}

} // namespace Korvane
