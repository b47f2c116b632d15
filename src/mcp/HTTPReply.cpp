#include "mcp/HTTPReply.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>

namespace Korvane {

HTTPReplyBox::HTTPReplyBox()
    : m_wakeDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

HTTPReplyBox::~HTTPReplyBox()
{
    if (m_wakeDescriptor >= 0)
        ::close(m_wakeDescriptor);
}

void HTTPReplyBox::post(Entry entry)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_isClosed)
            return;
        m_entries.push_back(std::move(entry));
        // The queue takes all that is there at once, so only the first has to wake it.
        if (m_entries.size() > 1)
            return;
    }
    // Not under the lock, which the woken queue asks for at once.
    wake();
}

void HTTPReplyBox::requestStop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopRequested = true;
    }
    wake();
}

bool HTTPReplyBox::take(std::vector<Entry> &entries)
{
    entries.clear();
    const std::lock_guard lock(m_mutex);
    entries.swap(m_entries);
    return !m_isStopRequested;
}

void HTTPReplyBox::close()
{
    const std::lock_guard lock(m_mutex);
    m_isClosed = true;
    m_entries.clear();
}

void HTTPReplyBox::wake()
{
    // Cannot fail: the counter would have to reach 2^64.
    [[maybe_unused]] const auto written = eventfd_write(m_wakeDescriptor, 1);
}

HTTPReply::HTTPReply(std::shared_ptr<HTTPReplyBox> box, quint64 connection, qsizetype requestBytes)
    : m_box(std::move(box))
    , m_connection(connection)
    , m_requestBytes(requestBytes)
{
}

void HTTPReply::operator()(HTTPResponse response)
{
    if (const auto box = std::exchange(m_box, nullptr))
        box->post({m_connection, m_requestBytes, std::move(response)});
}

} // namespace Korvane
