#include "mcp/RequestHandover.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>

namespace Korvane {

RequestHandover::RequestHandover()
    : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

RequestHandover::~RequestHandover()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void RequestHandover::put(HTTPRequest request, HTTPReply reply)
{
    bool isFirst = false;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_isClosed) {
            isFirst = m_items.empty();
            m_items.push_back({std::move(request), std::move(reply)});
        } else {
            reply(HTTPResponse{404});
        }
    }
    // Not under the lock, which the woken thread asks for at once.
    if (isFirst)
        wake();
}

void RequestHandover::putFailure(const QString &message)
{
    {
        const std::lock_guard lock(m_mutex);
        m_failure = message;
    }
    wake();
}

void RequestHandover::beginTurn()
{
    eventfd_t count = 0;
    [[maybe_unused]] const auto read = eventfd_read(m_descriptor, &count);
}

std::optional<RequestHandover::Item> RequestHandover::take()
{
    if (m_taken.empty()) {
        const std::lock_guard lock(m_mutex);
        m_taken.swap(m_items);
    }
    if (m_taken.empty())
        return std::nullopt;
    Item item = std::move(m_taken.front());
    m_taken.pop_front();
    return item;
}

std::optional<QString> RequestHandover::takeFailure()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_failure, std::nullopt);
}

void RequestHandover::breakOff()
{
    // Always: what is still there may have been announced before this turn began.
    wake();
}

void RequestHandover::close()
{
    m_taken.clear();
    const std::lock_guard lock(m_mutex);
    m_isClosed = true;
    m_items.clear();
}

void RequestHandover::wake()
{
    // Cannot fail: the counter would have to reach 2^64.
    [[maybe_unused]] const auto written = eventfd_write(m_descriptor, 1);
}

} // namespace Korvane
