#pragma once

#include "mcp/HTTPResponse.h"

#include <QtGlobal>

#include <memory>
#include <mutex>
#include <vector>

namespace Korvane {

/// Where answers from any thread wait until the server's queue takes them to their connections.
class HTTPReplyBox final
{
public:
    struct Entry
    {
        quint64 connection;
        qsizetype requestBytes;
        HTTPResponse response;
    };

    HTTPReplyBox();
    ~HTTPReplyBox();
    HTTPReplyBox(const HTTPReplyBox &) = delete;
    HTTPReplyBox &operator=(const HTTPReplyBox &) = delete;

    /// Any thread. After `close` it does nothing.
    void post(Entry entry);
    /// Any thread: wakes the queue, whose next `take` then says so.
    void requestStop();

    /// Puts what has been posted into \p entries, in order. False when the queue is to stop.
    [[nodiscard]] bool take(std::vector<Entry> &entries);
    /// An eventfd that is written to, and never read, whenever there is something new after
    /// nothing. -1 when the system had no descriptor left.
    [[nodiscard]] int wakeDescriptor() const { return m_wakeDescriptor; }
    void close();

private:
    void wake();

    std::mutex m_mutex;
    std::vector<Entry> m_entries;
    bool m_isStopRequested = false;
    bool m_isClosed = false;
    int m_wakeDescriptor = -1;
};

/// Answers one request: once, at any time, from any thread. When the connection or the server has
/// gone meanwhile, nothing happens.
class HTTPReply final
{
public:
    /// \p requestBytes is what the request costs while it waits.
    HTTPReply(std::shared_ptr<HTTPReplyBox> box, quint64 connection, qsizetype requestBytes);
    HTTPReply(HTTPReply &&) noexcept = default;
    HTTPReply &operator=(HTTPReply &&) noexcept = default;

    void operator()(HTTPResponse response);

private:
    std::shared_ptr<HTTPReplyBox> m_box; // null once answered
    quint64 m_connection;
    qsizetype m_requestBytes;
};

} // namespace Korvane
