#pragma once

#include "base/OneShot.h"

#include <QCoro/QCoroTask>
#include <QTimer>

#include <chrono>
#include <list>

namespace Korvane {

/// Suspends the coroutines of one object, which owns the Delay, for a time. Several may be
/// suspended at once; they are resumed early when the object is destroyed. Main thread only.
class Delay final
{
public:
    Delay() = default;
    ~Delay();
    Delay(const Delay &) = delete;
    Delay &operator=(const Delay &) = delete;

    /// Yields true after \p duration on a monotonic clock, false when the Delay was destroyed
    /// before that: the caller must then return without touching its object.
    [[nodiscard]] QCoro::Task<bool> sleep(std::chrono::milliseconds duration);

private:
    struct Wait
    {
        QTimer timer;
        OneShot<bool> done;
    };
    std::list<Wait> m_waits;
    bool m_isEnding = false;
};

} // namespace Korvane
