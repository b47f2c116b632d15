#pragma once

#include "base/OneShot.h"
#include "base/Result.h"
#include "base/Utf8.h"
#include "board/BoardRecords.h"
#include "board/RawReplHandshake.h"
#include "board/RawReplResponse.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <chrono>

namespace Korvane {

class SerialPortManager;

/// One program sent through the raw REPL, from the first Ctrl-A to the Ctrl-B after its reply.
///
/// It ends exactly once: by the whole reply, by a board that never shows the banner, or by the
/// time-out. The loss of the port does not end it.
class RawReplExchange final : public QObject
{
    Q_OBJECT

public:
    /// Borrows \p serial. \p timeout counts from start().
    RawReplExchange(SerialPortManager &serial, const QString &code,
                    std::chrono::duration<double> timeout);

    void start();
    /// The line has got another user, or is another one: writes nothing more and leaves the
    /// interceptor alone. The end still comes in its time.
    void leaveLine();
    /// Ends at once with \p error.
    void fail(const Error &error);

    /// `co_await exchange.result()`: nothing when the exchange is destroyed before its end.
    [[nodiscard]] auto result() { return m_result.wait(); }

private:
    enum class Phase { Entering, Running };

    void take(const QByteArray &chunk);
    void sendProgram();
    void finish(Result<DeviceExecution> result);

    SerialPortManager &m_serial;
    QByteArray m_code;
    double m_timeoutSeconds;
    RawReplHandshake m_handshake;
    QTimer m_timeoutTimer;
    Utf8::ChunkDecoder m_decoder;
    Phase m_phase = Phase::Entering;
    RawReplResponse m_reply;
    bool m_hasLeftLine = false;
    OneShot<Result<DeviceExecution>> m_result;
};

} // namespace Korvane
