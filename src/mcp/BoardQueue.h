#pragma once

#include "base/CallStop.h"
#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "base/Result.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <list>

namespace Korvane {

class DeviceLink;

/// A queue of the tool calls that use the board: one after the other in the order of their arrival,
/// each only when the link is free. A queued call has not begun on the board, and can still be
/// dropped. Main thread only.
class BoardQueue final : public QObject
{
    Q_OBJECT

public:
    /// The permission to use the board. Destroying the last copy releases it.
    using Access = std::shared_ptr<const void>;

    /// \p link must outlive this.
    explicit BoardQueue(DeviceLink &link);

    /// Waits in the queue. Fails with `canceled` when \p stop drops the call first, with
    /// `boardReplaced` when the board was reconnected or replaced meanwhile, and with `closed` when
    /// this object is destroyed. Does not suspend while nothing is queued and the link is free.
    [[nodiscard]] QCoro::Task<Result<Access>> acquire(CallStop stop);

    /// Whether a call could start at once.
    [[nodiscard]] bool isFree() const;

private:
    void grantNext();
    void release();

    DeviceLink &m_link;
    std::list<OneShot<bool>> m_waiting; // true: granted
    bool m_isTaken = false;
    Lifetime m_life;
};

} // namespace Korvane
