#include "mcp/BoardQueue.h"

#include "board/DeviceLink.h"
#include "mcp/MCPToolError.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace Korvane {

BoardQueue::BoardQueue(DeviceLink &link)
    : m_link(link)
{
    connect(&link, &DeviceLink::deviceCommandInFlightChanged, this, &BoardQueue::grantNext);
}

QCoro::Task<Result<BoardQueue::Access>> BoardQueue::acquire(CallStop stop)
{
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    OneShot<bool> &shot = m_waiting.emplace_back();
    const auto position = std::prev(m_waiting.end());
    const std::stop_callback drop(stop.unwanted, [&shot] { shot.deliver(false); });
    grantNext();
    const std::optional<bool> isGranted = co_await shot.wait();
    if (!isGranted || !life)
        co_return MCPToolError::closed();
    m_waiting.erase(position);
    if (!*isGranted)
        co_return MCPToolError::canceled();
    Access access(this, [this, life](const void *) {
        if (life)
            release();
    });
    if (connection != m_link.connectionNumber())
        co_return MCPToolError::boardReplaced();
    if (stop.unwanted.stop_requested()) // between being granted and resumed
        co_return MCPToolError::canceled();
    co_return access;
}

bool BoardQueue::isFree() const
{
    return !m_isTaken && !m_link.deviceCommandInFlight();
}

void BoardQueue::grantNext()
{
    if (!isFree())
        return;
    const auto next = std::find_if(m_waiting.begin(), m_waiting.end(),
                                   [](const OneShot<bool> &waiting) { return !waiting.isDone(); });
    if (next == m_waiting.end())
        return;
    m_isTaken = true;
    next->deliver(true);
}

void BoardQueue::release()
{
    m_isTaken = false;
    grantNext();
}

} // namespace Korvane
