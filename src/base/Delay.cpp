#include "base/Delay.h"

#include <utility>

namespace Korvane {

Delay::~Delay()
{
    // A coroutine that is resumed here must not start anything: its object is being destroyed.
    m_isGoing = true;
    std::list<Nap> naps;
    naps.swap(m_naps);
}

QCoro::Task<bool> Delay::sleep(std::chrono::milliseconds duration)
{
    Nap &nap = m_naps.emplace_back();
    const auto position = std::prev(m_naps.end());
    nap.timer.setSingleShot(true);
    nap.timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&nap.timer, &QTimer::timeout, &nap.timer, [&nap] { nap.done.deliver(true); });
    nap.timer.start(duration);

    const std::optional<bool> elapsed = co_await nap.done.wait();
    // The timer may have fired although the coroutine has not been resumed yet.
    if (!elapsed || m_isGoing)
        co_return false;
    m_naps.erase(position);
    co_return true;
}

} // namespace Korvane
