#pragma once

#include <QObject>
#include <QTimer>

#include <functional>

namespace Korvane {

class SerialPortManager;

/// Takes the board into the raw REPL: Ctrl-A now and every 0.3 s, six times at most, until the
/// owner says that the banner has come. 0.3 s after the sixth it gives up.
class RawReplHandshake final : public QObject
{
    Q_OBJECT

public:
    /// Borrows \p serial.
    explicit RawReplHandshake(SerialPortManager &serial, QObject *parent = nullptr);

    /// Writes the first Ctrl-A at once, unless \p isReady. \p onGiveUp may delete this object.
    /// Starting again begins anew.
    void start(std::function<bool()> isReady, std::function<void()> onGiveUp);
    /// Writes nothing more and calls nobody.
    void stop();
    /// Keeps counting towards giving up, but writes nothing more: the line has got another user.
    void mute() { m_isMuted = true; }

private:
    void step();

    SerialPortManager &m_serial;
    QTimer m_timer;
    std::function<bool()> m_isReady;
    std::function<void()> m_onGiveUp;
    int m_attempts = 0;
    bool m_isMuted = false;
};

} // namespace Korvane
