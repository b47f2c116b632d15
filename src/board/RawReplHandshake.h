#pragma once

#include "base/Utf8.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QObject>
#include <QTimer>

#include <functional>
#include <utility>

namespace Korvane {

class SerialPortManager;

/// Makes the board enter the raw REPL: writes Ctrl-A now and every 0.3 s, six times at most, until
/// the banner "raw REPL" arrives. Gives up 0.3 s after the sixth. Main thread only.
class RawReplHandshake final : public QObject
{
    Q_OBJECT

public:
    /// What to do when the board has not answered for 0.3 s, as while it runs a program: write the
    /// next Ctrl-A, or Ctrl-C once in its place. The board may not have read the first Ctrl-A yet,
    /// and would answer a second one after the program has been sent.
    enum class WhenBusy { KeepTrying, Interrupt };
    /// Later: the first Ctrl-A is left out, because the board may enter the raw REPL by itself.
    enum class FirstAttempt { Now, Later };

    struct Received
    {
        /// The banner is complete. True once; nothing more is written.
        bool hasEntered = false;
        /// The bytes before the banner and the line end in front of it.
        QByteArray beforeBanner = {};
    };

    /// Borrows \p serial.
    explicit RawReplHandshake(SerialPortManager &serial, QObject *parent = nullptr);

    /// \p onGiveUp is called from a timer, and may delete this object. Starting again resets the
    /// number of attempts.
    void start(WhenBusy whenBusy, std::function<void()> onGiveUp,
               FirstAttempt firstAttempt = FirstAttempt::Now);
    /// The program on the board has ended, so that Ctrl-C is not needed.
    void keepTrying() { m_whenBusy = WhenBusy::KeepTrying; }
    /// Looks for the banner in what the board sends. It may be split over chunks; a chunk with
    /// ill-formed UTF-8 is not searched. What may be the beginning of the banner is held back. The
    /// result is empty after the banner, stop() or giving up.
    [[nodiscard]] Received feed(QByteArrayView chunk);
    /// Returns what feed() held back, and removes it.
    [[nodiscard]] QByteArray takeHeldBack() { return std::exchange(m_heldBack, {}); }
    /// Writes nothing more and calls no callback. Does nothing when not started.
    void stop();
    /// Still gives up after the last attempt, but writes nothing more: the link was taken over.
    void mute() { m_isMuted = true; }

private:
    void attempt();

    SerialPortManager &m_serial;
    QTimer m_retryTimer; // active while entering
    std::function<void()> m_onGiveUp;
    WhenBusy m_whenBusy = WhenBusy::KeepTrying;
    Utf8::ChunkDecoder m_decoder;
    QByteArray m_heldBack;
    int m_attempts = 0;
    bool m_isMuted = false;
};

} // namespace Korvane
