#include "mcp/MCPHTTPServer.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

#include <utility>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

// What epoll says was ready: one of these, or the id of a connection.
constexpr quint64 wakeKey = 0;
constexpr quint64 listenerKey = 1;
constexpr quint64 firstConnectionId = 2;

constexpr size_t scratchBytes = size_t{64} * 1024;
constexpr int acceptsPerTurn = 64;
// How long a refused client may go on sending before its connection is cut off.
constexpr auto leavingTime = 1s;
// Descriptors may also be freed elsewhere in the program, where nobody tells.
constexpr auto listenAgainTime = 100ms;

Error systemError(int code)
{
    return Error{ErrorCode::Network, qt_error_string(code), {}, code};
}

} // namespace

MCPHTTPServer::MCPHTTPServer(quint16 port, Handler handler, HTTPRequestParser::BodyFilter keepsBody)
    : m_port(port)
    , m_handler(std::move(handler))
    , m_keepsBody(std::move(keepsBody))
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

Result<void> MCPHTTPServer::start()
{
    Q_ASSERT(!m_queue.joinable());
    if (auto listening = listenOnLoopback(); !listening) {
        closeDescriptors();
        return listening;
    }
    m_scratch.resize(scratchBytes);

    // Signals are the main thread's business: the queue's thread inherits that it takes none.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    Result<void> started;
    try {
        m_queue = std::thread([this] { run(); });
    } catch (const std::system_error &problem) {
        started = systemError(problem.code().value());
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (!started)
        closeDescriptors();
    return started;
}

void MCPHTTPServer::stop()
{
    if (!m_queue.joinable())
        return;
    Q_ASSERT(m_queue.get_id() != std::this_thread::get_id());
    m_replies->requestStop();
    m_queue.join();
}

Result<void> MCPHTTPServer::listenOnLoopback()
{
    m_epoll = epoll_create1(EPOLL_CLOEXEC);
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_replies->wakeDescriptor() < 0 || m_epoll < 0 || m_listener < 0)
        return systemError(errno);

    // Connections of a server that has just stopped linger; they must not keep the port.
    const int on = 1;
    ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(m_port);
    socklen_t length = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (::bind(m_listener, generic, length) != 0 || ::listen(m_listener, SOMAXCONN) != 0
        || ::getsockname(m_listener, generic, &length) != 0
        || !watch(EPOLL_CTL_ADD, m_replies->wakeDescriptor(), EPOLLIN | EPOLLET, wakeKey)
        || !watch(EPOLL_CTL_ADD, m_listener, EPOLLIN, listenerKey))
        return systemError(errno);
    m_port = ntohs(address.sin_port);
    return {};
}

bool MCPHTTPServer::watch(int operation, int descriptor, unsigned events, quint64 key)
{
    epoll_event event = {};
    event.events = events;
    event.data.u64 = key;
    return epoll_ctl(m_epoll, operation, descriptor, &event) == 0;
}

void MCPHTTPServer::closeDescriptors()
{
    for (int *const descriptor : {&m_listener, &m_epoll}) {
        if (*descriptor >= 0)
            ::close(std::exchange(*descriptor, -1));
    }
}

void MCPHTTPServer::run()
{
    pthread_setname_np(pthread_self(), "mcp.http.server");

    std::array<epoll_event, 256> events;
    while (m_isRunning) {
        const int count = epoll_wait(m_epoll, events.data(), int(events.size()), timeoutMs());
        for (int i = 0; i < count; ++i) {
            const auto key = events[size_t(i)].data.u64;
            if (key == listenerKey)
                acceptWaiting();
            else if (key != wakeKey)
                serve(key, events[size_t(i)].events);
        }
        dropOverdue();
        // After the sockets: a client that has closed meanwhile gets no reply.
        deliverReplies();
    }
    m_clients.clear();
    closeDescriptors();
    m_replies->close();
}

int MCPHTTPServer::timeoutMs() const
{
    if (m_leaving.empty() && !m_isListeningPaused)
        return -1;
    auto next = m_isListeningPaused ? m_listenAgain : Clock::time_point::max();
    if (!m_leaving.empty())
        next = std::min(next, m_leaving.front().first);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
    return int(std::max(left, 0ms).count());
}

void MCPHTTPServer::acceptWaiting()
{
    for (int i = 0; i < acceptsPerTurn; ++i) {
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (socket < 0) {
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
                continue; // it was that one connection's trouble
            }
        }
        // Answers are written whole, so there is nothing to gain from waiting for more.
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const auto id = m_nextId++;
        std::unique_ptr<Client> client(
            new Client{{id, socket, m_handler, m_load, m_keepsBody, m_replies}});
        if (watch(EPOLL_CTL_ADD, socket, 0, id)) {
            const auto entry = m_clients.emplace(id, std::move(client)).first;
            settle(id, *entry->second, HTTPConnection::Outcome::Open);
        }
    }
}

/// The waiting connections keep the listener readable: without this the queue would spin.
void MCPHTTPServer::pauseListening()
{
    m_isListeningPaused = watch(EPOLL_CTL_MOD, m_listener, 0, listenerKey);
    m_listenAgain = Clock::now() + listenAgainTime;
}

void MCPHTTPServer::failListening(int code)
{
    epoll_ctl(m_epoll, EPOLL_CTL_DEL, m_listener, nullptr);
    if (m_onFailure)
        m_onFailure(qt_error_string(code));
}

void MCPHTTPServer::serve(quint64 id, unsigned events)
{
    const auto found = m_clients.find(id);
    if (found == m_clients.end())
        return; // closed by what happened before in this turn
    Client &client = *found->second;
    const bool isBroken = events & (EPOLLHUP | EPOLLERR);

    auto outcome = HTTPConnection::Outcome::Open;
    if (events & EPOLLOUT)
        outcome = client.connection.flush();
    if ((events & EPOLLIN) && outcome != HTTPConnection::Outcome::Closed)
        outcome = client.connection.receive(m_scratch, isBroken || (events & EPOLLRDHUP));
    if (isBroken)
        outcome = HTTPConnection::Outcome::Closed;
    settle(id, client, outcome);
}

void MCPHTTPServer::deliverReplies()
{
    m_isRunning = m_replies->take(m_entries);
    for (const auto &[id, requestBytes, response] : m_entries) {
        --m_load.requests;
        m_load.bytes -= requestBytes;
        const auto found = m_clients.find(id);
        if (found == m_clients.end())
            continue;
        found->second->connection.answer(response, requestBytes);
        if (!std::exchange(found->second->isMarked, true))
            m_marked.push_back(id);
    }
    resumeHeldBack();
    for (const auto id : m_marked) {
        const auto found = m_clients.find(id);
        if (found == m_clients.end())
            continue;
        Client &client = *found->second;
        client.isMarked = false;
        settle(id, client, client.connection.flush());
    }
    m_marked.clear();
}

/// Those that have waited longest come before those whose replies are there: otherwise whoever asks
/// without end would take every place that becomes free.
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
        settle(id, client, outcome);
    }
}

/// Follows up what a connection has come to. Destroys a closed one.
void MCPHTTPServer::settle(quint64 id, Client &client, HTTPConnection::Outcome outcome)
{
    if (outcome == HTTPConnection::Outcome::Closed) {
        m_clients.erase(id);
        return;
    }
    if (outcome == HTTPConnection::Outcome::Leaving && !std::exchange(client.isLeaving, true))
        m_leaving.emplace_back(Clock::now() + leavingTime, id);
    if (client.connection.isHeldBackByOthers() && !std::exchange(client.isHeldBack, true))
        m_heldBack.push_back(id);
    const auto events = client.connection.wantedEvents();
    if (events != client.watchedEvents
        && watch(EPOLL_CTL_MOD, client.connection.socket(), events, id))
        client.watchedEvents = events;
}

void MCPHTTPServer::dropOverdue()
{
    if (m_leaving.empty() && !m_isListeningPaused)
        return;
    const auto now = Clock::now();
    while (!m_leaving.empty() && m_leaving.front().first <= now) {
        m_clients.erase(m_leaving.front().second);
        m_leaving.pop_front();
    }
    if (m_isListeningPaused && m_listenAgain <= now)
        m_isListeningPaused = !watch(EPOLL_CTL_MOD, m_listener, EPOLLIN, listenerKey);
}

} // namespace Korvane
