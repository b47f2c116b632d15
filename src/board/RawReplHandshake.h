#pragma once

#include "base/Utf8.h"

#include <QByteArrayView>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

namespace Korvane {

class SerialPortManager;

/// Takes the board into the raw REPL: writes Ctrl-A now and every 0.3 s, six times at most, until
/// the banner "raw REPL" arrives. Gives up 0.3 s after the sixth. Main thread only.
class RawReplHandshake final : public QObject
{
    Q_OBJECT

public:
    /// Borrows \p serial.
    explicit RawReplHandshake(SerialPortManager &serial, QObject *parent = nullptr);

    /// Writes the first Ctrl-A at once. Exactly one of the callbacks is called, unless stop() comes
    /// first: \p onEntered inside feed(), \p onGiveUp from a timer. Either may delete this object.
    /// Starting again begins anew.
    void start(std::function<void()> onEntered, std::function<void()> onGiveUp);
    /// Looks for the banner in what the board sends. A chunk with ill-formed UTF-8 is ignored; the
    /// banner may be split over chunks. Does nothing after the banner, stop() or giving up.
    void feed(QByteArrayView chunk);
    /// Writes nothing more and calls no callback. Does nothing when not started.
    void stop();
    /// Keeps counting towards giving up, but writes nothing more: the link has another user.
    void mute() { m_isMuted = true; }

private:
    void attempt();
    void end(const std::function<void()> &callback);

    SerialPortManager &m_serial;
    QTimer m_retryTimer; // active while entering
    std::function<void()> m_onEntered;
    std::function<void()> m_onGiveUp;
    Utf8::ChunkDecoder m_decoder;
    QString m_bannerSearch; // what may be the beginning of the banner
    int m_attempts = 0;
    bool m_isMuted = false;
};

} // namespace Korvane
