#pragma once

#include "base/CallStop.h"
#include "base/Lifetime.h"
#include "base/OneShot.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <list>
#include <optional>

namespace Korvane {

class DeviceLink;

/// Lets the tool calls work on the board one after the other, in the order in which they came, and
/// each only when the link is free: a call that is waiting here has not begun on the board, and can
/// still be dropped. Main thread only.
class BoardQueue final : public QObject
{
    Q_OBJECT

public:
    /// The permission to work on the board. Ends with the last copy.
    using Turn = std::shared_ptr<const void>;

    /// \p link must outlive this.
    explicit BoardQueue(DeviceLink &link);

    /// Waits for a turn. Returns null when \p stop drops the call first, or when this object is
    /// destroyed. Does not suspend while nothing is waiting and the link is free.
    [[nodiscard]] QCoro::Task<Turn> turn(CallStop stop);

    /// Whether a turn could begin at once.
    [[nodiscard]] bool isFree() const;

private:
    void grantNext();
    void end();

    DeviceLink &m_link;
    std::list<OneShot<bool>> m_waiting; // true: granted
    bool m_isTaken = false;
    Lifetime m_life;
};

} // namespace Korvane
