#pragma once

#include "base/FileDescriptor.h"

#include <sys/eventfd.h>

#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace Korvane {

/// A queue of values from any thread to one receiving thread, which waits for an eventfd. A post to
/// an empty mailbox wakes the receiver; it then takes everything that has arrived meanwhile. The
/// senders bound how much may be in it.
///
/// An eventfd rather than posted events, because ThreadSanitizer detects its synchronization.
template <typename T> class Mailbox final
{
public:
    Mailbox()
        : m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
    }
    Mailbox(const Mailbox &) = delete;
    Mailbox &operator=(const Mailbox &) = delete;

    /// Any thread. Returns false after `close`, and does not change \p value.
    [[nodiscard]] bool post(T &&value)
    {
        bool isFirst = false;
        {
            const std::lock_guard lock(m_mutex);
            if (m_isClosed)
                return false;
            isFirst = m_posted.empty();
            m_posted.push_back(std::move(value));
        }
        // Not under the lock, which the woken receiver acquires at once.
        if (isFirst)
            wake();
        return true;
    }
    /// Any thread: makes the descriptor readable.
    void wake()
    {
        // Cannot fail: the counter would have to reach 2^64.
        [[maybe_unused]] const auto written = eventfd_write(m_wake.get(), 1);
    }

    // The receiving thread only:

    /// The eventfd, readable after a post until `acknowledge`. -1 when the system had no
    /// descriptor left; such a mailbox must not be used.
    [[nodiscard]] int descriptor() const { return m_wake.get(); }
    /// Must be called before `take` whenever the descriptor is readable, unless it is watched for
    /// edges only.
    void acknowledge()
    {
        eventfd_t count = 0;
        [[maybe_unused]] const auto read = eventfd_read(m_wake.get(), &count);
    }
    /// The oldest value, or nothing when the mailbox is empty. A receiver that stops before that
    /// must call `wake`, or it is not woken for the rest.
    [[nodiscard]] std::optional<T> take()
    {
        if (m_taken.empty()) {
            const std::lock_guard lock(m_mutex);
            m_taken.swap(m_posted);
        }
        std::optional<T> value;
        if (!m_taken.empty()) {
            value.emplace(std::move(m_taken.front()));
            m_taken.pop_front();
        }
        return value;
    }
    /// Drops what is there, and all that is posted later.
    void close()
    {
        m_taken.clear();
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
        m_posted.clear();
    }

private:
    const FileDescriptor m_wake;
    std::deque<T> m_taken; // used by the receiving thread only

    std::mutex m_mutex;
    std::deque<T> m_posted;
    bool m_isClosed = false;
};

} // namespace Korvane
