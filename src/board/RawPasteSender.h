#pragma once

#include "board/RawPaste.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>

namespace Korvane {

class SerialPortManager;

/// Writes a program to a board that is in the raw REPL, in raw-paste mode if the board offers it.
/// The first program shows whether it does; the result is stored in \p support. Main thread only.
class RawPasteSender final : public QObject
{
    Q_OBJECT

public:
    struct Events
    {
        /// Called after each part was written, with the bytes of the program written so far.
        std::function<void(qsizetype bytes)> onSent = [](qsizetype) {};
        /// The board is in the raw REPL, has none of the program, and does not offer the mode.
        std::function<void()> onRefused;
        /// The board has accepted nothing for 5 s.
        std::function<void()> onStalled = [] {};
    };

    /// Borrows both, which must outlive this.
    RawPasteSender(SerialPortManager &serial, RawPaste::Support &support);

    /// Whether \p program is to be sent in raw-paste mode: it is large, and the board may offer it.
    [[nodiscard]] bool isFor(const QByteArray &program) const;
    /// Requests raw-paste mode; feed() writes the program. The callbacks are called from feed() or
    /// a timer.
    void start(const QByteArray &program, Events events);
    /// Takes what the board has sent. Yields, once the board has stopped reading the program, the
    /// output of the program so far; this is then no longer active.
    [[nodiscard]] std::optional<QByteArray> feed(QByteArrayView chunk);
    /// Writes nothing more and calls no callback. The board may still be reading: Ctrl-C ends that.
    void stop();
    [[nodiscard]] bool isActive() const { return m_paste.has_value(); }

private:
    void timeOut();
    void refuse();

    SerialPortManager &m_serial;
    RawPaste::Support &m_support;
    std::optional<RawPaste> m_paste;
    Events m_events;
    QTimer m_responseTimeout;
};

} // namespace Korvane
