#include "base/Delay.h"

namespace Korvane {

Delay::~Delay()
{
    // A coroutine that is resumed here must not start anything: its object is being destroyed.
    m_isEnding = true;
    std::list<Wait> waits;
    waits.swap(m_waits);
}

QCoro::Task<bool> Delay::sleep(std::chrono::milliseconds duration)
{
    Wait &wait = m_waits.emplace_back();
    const auto position = std::prev(m_waits.end());
    wait.timer.setSingleShot(true);
    wait.timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&wait.timer, &QTimer::timeout, &wait.timer,
                     [&wait] { wait.done.deliver(true); });
    wait.timer.start(duration);

    const std::optional<bool> elapsed = co_await wait.done.wait();
    // The timer may have fired although the coroutine has not been resumed yet.
    if (!elapsed || m_isEnding)
        co_return false;
    m_waits.erase(position);
    co_return true;
}

} // namespace Korvane
