#pragma once

#include "base/OneShot.h"
#include "base/Result.h"
#include "serial/SerialPortManager.h"

#include <QObject>
#include <QTimer>

namespace Korvane {

/// One soft reset of the board, in any state: Ctrl-C twice interrupts a program, Ctrl-B leaves the
/// raw REPL, where a reset would not run main.py, and Ctrl-D resets. Main thread only.
class SoftReset final : public QObject
{
    Q_OBJECT

public:
    /// Borrows \p serial. \p onData takes every chunk that arrives meanwhile.
    SoftReset(SerialPortManager &serial, SerialPortManager::DataCallback onData);

    void start();
    /// Ends with \p error and leaves the interceptor alone. Does nothing after the end.
    void abort(Error error);
    [[nodiscard]] bool isDone() const { return m_result.isDone(); }

    /// `co_await reset.result()`: success once the board prints "soft reboot", `TimedOut` when it
    /// doesn't within three seconds.
    [[nodiscard]] auto result() { return m_result.wait(); }

signals:
    /// The reset has succeeded or timed out, and the link isn't used any more. Not emitted by
    /// abort(). The result is delivered later, from the event loop.
    void finished();

private:
    void take(const QByteArray &chunk);
    void finish(Result<void> result);

    SerialPortManager &m_serial;
    SerialPortManager::DataCallback m_onData;
    QTimer m_bannerTimeout;
    QByteArray m_bannerSearch; // what may be the beginning of the banner
    OneShot<Result<void>> m_result;
};

} // namespace Korvane
