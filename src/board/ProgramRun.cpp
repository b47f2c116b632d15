#include "board/ProgramRun.h"

#include "base/ShellSink.h"
#include "board/DeviceLink.h"

#include <chrono>
#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr auto longestWaitForReply = 1s;

} // namespace

ProgramRun::ProgramRun(DeviceLink &link, ShellSink &shell, QObject *parent)
    : QObject(parent)
    , m_link(link)
    , m_shell(shell)
    , m_handshake(link.serial())
{
    m_lateReply.setSingleShot(true);
    m_lateReply.setInterval(longestWaitForReply);
    connect(&m_lateReply, &QTimer::timeout, this, &ProgramRun::finishReply);
    connect(&link, &DeviceLink::readerStarting, this, &ProgramRun::clearStream);
    connect(&link, &DeviceLink::dataReceived, this, &ProgramRun::handleDeviceData);
    connect(&link, &DeviceLink::lost, this, &ProgramRun::flushStream);
    connect(&link, &DeviceLink::ended, this, &ProgramRun::reset);
    // Queued: a waiting command starts after what the caller and other slots write or send.
    connect(this, &ProgramRun::deviceProgramRunningChanged, &link, &DeviceLink::startNextCommand,
            Qt::QueuedConnection);
    connect(this, &ProgramRun::replyWhole, &link, &DeviceLink::startNextCommand,
            Qt::QueuedConnection);
}

ProgramRun::~ProgramRun()
{
    if (m_isEntering)
        m_link.serial().setDataInterceptor({});
}

void ProgramRun::runOnDeviceStreamed(const QString &source)
{
    // A run before this one is no longer waited for once it has ended. One that has not may still
    // be on the board when this one gives up; then its end is as good as ever.
    m_lateReply.stop();
    if (m_reply == Reply::Ending)
        m_reply = Reply::None;
    // What follows goes to the watcher, so nothing can complete what waits in the stream; and the
    // beginning of a record would swallow the first output of the new program. The end marks are
    // counted from here, too.
    flushStream();

    m_isEntering = true;
    m_source = source;
    m_link.setDeviceCommandInFlight(true);
    m_link.serial().setDataInterceptor(
        [this](const QByteArray &chunk) { m_handshake.feed(chunk); });
    m_handshake.start([this] { sendProgram(); }, [this] { giveUp(); });
}

void ProgramRun::sendProgram()
{
    const QString source = std::exchange(m_source, {});
    m_reply = Reply::Awaited;
    // Before the line is free, so that no command can slip in between.
    const bool wasRunning = std::exchange(m_deviceProgramRunning, true);
    leaveEntry();
    SerialPortManager &serial = m_link.serial();
    if (source.isValidUtf16())
        serial.write(source.toUtf8());
    serial.write("\x04");
    m_shell.appendInfo(QStringLiteral("▶ Sent to device."));
    if (!wasRunning)
        emit deviceProgramRunningChanged();
}

void ProgramRun::giveUp()
{
    leaveEntry();
    m_shell.appendError(QStringLiteral("The board never entered the raw REPL, so nothing was run. "
                                       "Try disconnecting and reconnecting."));
    setDeviceProgramRunning(false);
    emit gaveUp();
}

void ProgramRun::leaveEntry()
{
    m_isEntering = false;
    m_handshake.stop();
    m_source.clear();
    m_link.serial().setDataInterceptor({});
    m_link.setDeviceCommandInFlight(false);
}

void ProgramRun::handleDeviceData(const QByteArray &chunk)
{
    const DeviceStreamScanner::Scan scan = m_deviceStream.feed(chunk);
    if (!scan.text.isEmpty())
        m_shell.appendOutput(scan.text);
    const qsizetype pausesBeforeEnd = scan.pauses.size() - scan.pausesBehindEnd;
    for (const DebugPause &pause : scan.pauses.first(pausesBeforeEnd))
        notePause(pause);
    if (scan.ended)
        noteEnd();
    for (const DebugPause &pause : scan.pauses.last(scan.pausesBehindEnd))
        notePause(pause);
    if (scan.replyWhole)
        finishReply();
}

void ProgramRun::notePause(const DebugPause &pause)
{
    // A program that stops goes on: an end mark before this was printed by the program.
    m_reply = Reply::Awaited;
    m_lateReply.stop();
    setDeviceProgramRunning(true);
    emit paused(pause);
}

void ProgramRun::noteEnd()
{
    const bool isFirst = m_reply == Reply::Awaited;
    if (isFirst) {
        m_reply = Reply::Ending;
        m_lateReply.start();
    }
    setDeviceProgramRunning(false);
    if (isFirst)
        emit programEnded();
}

void ProgramRun::finishReply()
{
    if (m_reply != Reply::Ending)
        return;
    m_reply = Reply::None;
    m_lateReply.stop();
    emit replyWhole();
}

void ProgramRun::clearStream()
{
    m_deviceStream.clear();
}

void ProgramRun::flushStream()
{
    const QString rest = m_deviceStream.flush();
    if (!rest.isEmpty())
        m_shell.appendOutput(rest);
}

void ProgramRun::abandon()
{
    if (m_isEntering) {
        leaveEntry();
        m_link.serial().write("\x02");
    }
    setDeviceProgramRunning(false);
}

void ProgramRun::reset()
{
    if (m_isEntering)
        leaveEntry();
    m_reply = Reply::None;
    m_lateReply.stop();
    setDeviceProgramRunning(false);
}

void ProgramRun::setDeviceProgramRunning(bool isRunning)
{
    if (std::exchange(m_deviceProgramRunning, isRunning) != isRunning)
        emit deviceProgramRunningChanged();
}

} // namespace Korvane
