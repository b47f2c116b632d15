#pragma once

#include <QObject>

#include <coroutine>
#include <optional>
#include <utility>

namespace Korvane {

/// A result that is delivered once, to the one coroutine that waits for it.
///
/// The producer owns the OneShot. `deliver` resumes the waiter from the event loop, never inside
/// the producer's own call; only the first delivery counts. When the producer is destroyed without
/// having delivered, the waiter is resumed at once with nothing; it must then return without
/// touching the producer. Main thread only.
template <typename T> class OneShot final
{
public:
    OneShot() = default;
    ~OneShot() { close(); }
    OneShot(const OneShot &) = delete;
    OneShot &operator=(const OneShot &) = delete;

    void deliver(T value)
    {
        if (isDone())
            return;
        m_value.emplace(std::move(value));
        if (m_waiter)
            QMetaObject::invokeMethod(
                &m_context, [this] { resume(); }, Qt::QueuedConnection);
    }

    /// Ends the wait now: with the value if one was delivered, otherwise with nothing. The waiter
    /// runs inside this call.
    void close()
    {
        m_isClosed = true;
        resume();
    }

    [[nodiscard]] bool isDone() const { return m_isClosed || m_value.has_value(); }

    /// `co_await shot.wait()` yields std::optional<T>. At most one coroutine waits.
    [[nodiscard]] auto wait() { return Awaiter{this}; }

private:
    // Returned by value: GCC 12 with QCoro 0.8 copies an awaitable lvalue into the coroutine frame,
    // and the copy would never receive the result.
    struct Awaiter
    {
        OneShot *shot;
        bool await_ready() const { return shot->isDone(); }
        void await_suspend(std::coroutine_handle<> waiter) { shot->m_waiter = waiter; }
        std::optional<T> await_resume() { return std::exchange(shot->m_value, std::nullopt); }
    };

    void resume()
    {
        if (const auto waiter = std::exchange(m_waiter, nullptr)) {
            m_isClosed = true;
            waiter.resume(); // may delete this
        }
    }

    std::optional<T> m_value;
    std::coroutine_handle<> m_waiter;
    bool m_isClosed = false;
    QObject m_context; // receives the resumption, and drops it when this is destroyed
};

} // namespace Korvane
