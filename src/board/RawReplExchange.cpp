#include "board/RawReplExchange.h"

#include "board/DeviceError.h"
#include "serial/SerialPortManager.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Korvane {

namespace {

/// 23 days, below the longest interval of a QTimer (2^31 ms).
constexpr double maxTimeoutSeconds = 2'000'000;

double usableSeconds(std::chrono::duration<double> timeout)
{
    const double seconds = timeout.count();
    return std::isnan(seconds) ? 0 : std::clamp(seconds, -maxTimeoutSeconds, maxTimeoutSeconds);
}

} // namespace

RawReplExchange::RawReplExchange(SerialPortManager &serial, RawPaste::Support &rawPaste,
                                 const QString &code, std::chrono::duration<double> timeout,
                                 WhenBusy whenBusy)
    : m_serial(serial)
    , m_code(code.toUtf8())
    , m_timeoutSeconds(usableSeconds(timeout))
    , m_whenBusy(whenBusy)
    , m_showsOldOutput(whenBusy == WhenBusy::Interrupt)
    , m_handshake(serial)
    , m_paste(serial, rawPaste)
{
    m_timeoutTimer.setSingleShot(true);
    m_timeoutTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_timeoutTimer, &QTimer::timeout, this, &RawReplExchange::timeOut);
}

void RawReplExchange::start(Prompt prompt)
{
    m_isStarted = true;
    m_serial.setDataInterceptor([this](const QByteArray &chunk) { take(chunk); });
    const auto milliseconds = static_cast<qint64>(std::ceil(m_timeoutSeconds * 1000));
    m_timeoutTimer.start(std::chrono::milliseconds(std::max<qint64>(0, milliseconds)));
    if (prompt == Prompt::Raw) {
        sendProgram();
        return;
    }
    m_handshake.start(m_whenBusy, [this] {
        showOldOutput(m_handshake.takeHeldBack());
        finish(DeviceError::noRawREPL());
    });
}

void RawReplExchange::leaveLink()
{
    m_hasLeftLink = true;
    m_handshake.mute();
    m_paste.stop();
}

void RawReplExchange::interrupt()
{
    if (!m_isStarted || m_hasLeftLink || m_result.isDone())
        return;
    if (m_phase == Phase::Running)
        m_serial.write("\x03");
    else
        finish(DeviceError::canceled());
}

void RawReplExchange::abort(Error error)
{
    if (m_isStarted && !m_hasLeftLink && !m_result.isDone())
        m_serial.setDataInterceptor({});
    m_hasLeftLink = true;
    finish(std::move(error));
}

void RawReplExchange::take(const QByteArray &chunk)
{
    if (m_phase == Phase::Entering) {
        const RawReplHandshake::Received received = m_handshake.feed(chunk);
        showOldOutput(received.beforeBanner);
        // A slot that received old output may have taken the link.
        if (received.hasEntered && !m_hasLeftLink)
            sendProgram();
        return;
    }
    if (m_phase == Phase::Running) {
        takeReply(chunk);
    } else if (const auto output = m_paste.feed(chunk)) {
        m_phase = Phase::Running;
        // With the acknowledgment, which raw-paste mode omits.
        takeReply("OK" + *output);
    }
}

void RawReplExchange::takeReply(const QByteArray &chunk)
{
    const std::optional<QString> text = m_decoder.feed(chunk);
    if (!text)
        return;
    m_reply.feed(*text);
    if (m_reply.isComplete())
        finish(m_reply.execution());
}

void RawReplExchange::showOldOutput(const QByteArray &bytes)
{
    if (m_showsOldOutput && !m_hasLeftLink && !bytes.isEmpty())
        emit oldOutputReceived(bytes);
}

void RawReplExchange::sendProgram()
{
    if (m_promptAfterReply == Prompt::Raw || !m_paste.isFor(m_code)) {
        writeProgram();
        return;
    }
    m_phase = Phase::Pasting;
    RawPasteSender::Events events;
    events.onRefused = [this] { writeProgram(); };
    m_paste.start(m_code, std::move(events));
}

void RawReplExchange::writeProgram()
{
    m_phase = Phase::Running;
    m_serial.write(m_code + '\x04');
}

void RawReplExchange::timeOut()
{
    const auto seconds = static_cast<qint64>(m_timeoutSeconds);
    m_stopsProgram = !m_hasLeftLink && m_phase == Phase::Running;
    finish(m_stopsProgram ? DeviceError::timedOutAndStopped(seconds)
                          : DeviceError::timedOut(seconds));
}

void RawReplExchange::finish(Result<DeviceExecution> result)
{
    if (m_result.isDone())
        return;
    m_handshake.stop();
    m_paste.stop();
    m_timeoutTimer.stop();
    if (!m_hasLeftLink) {
        // The board never runs a program that it has not received whole: Ctrl-B discards its input.
        if (!result)
            m_serial.discardPendingOutput();
        m_serial.setDataInterceptor({});
        m_isInRawRepl = result && m_promptAfterReply == Prompt::Raw;
        // Ctrl-C first when the program timed out or the board is still reading it: otherwise the
        // next command could not enter the raw REPL.
        if (!m_isInRawRepl) {
            const bool isBusy = m_stopsProgram || m_phase == Phase::Pasting;
            m_serial.write(isBusy ? "\x03\x02" : "\x02");
        }
    }
    m_result.deliver(std::move(result));
    emit finished();
}

} // namespace Korvane
