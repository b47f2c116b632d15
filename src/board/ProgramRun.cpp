#include "board/ProgramRun.h"

#include "base/ShellSink.h"
#include "board/BoardScripts.h"
#include "board/DeviceLink.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr auto longestWaitForReply = 1s;
constexpr auto quickTimeout = 5s;
constexpr qsizetype longestTraceback = 200; // characters that are kept

} // namespace

ProgramRun::ProgramRun(DeviceLink &link, ShellSink &shell, QObject *parent)
    : QObject(parent)
    , m_link(link)
    , m_shell(shell)
    , m_handshake(link.serial())
    , m_paste(link.serial(), link.rawPaste())
{
    m_replyTimeout.setSingleShot(true);
    m_replyTimeout.setInterval(longestWaitForReply);
    connect(&m_replyTimeout, &QTimer::timeout, this, &ProgramRun::finishReply);
    connect(&link, &DeviceLink::readerStarting, this, &ProgramRun::clearStream);
    connect(&link, &DeviceLink::dataReceived, this, &ProgramRun::handleDeviceData);
    connect(&link, &DeviceLink::lost, this, &ProgramRun::flushStream);
    connect(&link, &DeviceLink::rawReplLeft, this, [this] { m_messages.expectBanner(); });
    connect(&link, &DeviceLink::softResetStarted, this, [this] { m_messages.expectRestart(); });
    connect(&link, &DeviceLink::ended, this, &ProgramRun::reset);
    // Queued: a waiting command starts after what the caller and other slots write or send.
    connect(this, &ProgramRun::deviceProgramRunningChanged, &link, &DeviceLink::startNextCommand,
            Qt::QueuedConnection);
    connect(this, &ProgramRun::replyCompleted, &link, &DeviceLink::startNextCommand,
            Qt::QueuedConnection);
}

ProgramRun::~ProgramRun()
{
    if (m_isEntering)
        m_link.serial().setDataInterceptor({});
}

void ProgramRun::runOnDeviceStreamed(const QString &source, BoardState boardState)
{
    // The rest of an ended run's reply is no longer waited for. A run that has not ended may still
    // be on the board when this one gives up; its end is handled when it arrives.
    m_replyTimeout.stop();
    if (m_reply == Reply::Ending || boardState == BoardState::AtPrompt)
        m_reply = Reply::None;
    if (!m_isEntering) {
        // What a command that loses the link has printed is its reply, not output.
        m_showsOldOutput = boardState == BoardState::MayBeBusy && m_link.isOutputShown();
    }
    if (m_paste.isActive()) {
        m_paste.stop();
        m_link.serial().discardPendingOutput();
        m_link.serial().write("\x03");
        m_showsOldOutput = false;
        emit sendingEnded();
    }
    m_isEntering = true;
    m_source = source;
    m_link.setDeviceCommandInFlight(true);
    m_link.serial().setDataInterceptor(
        [this](const QByteArray &chunk) { handleHandshakeData(chunk); });
    const auto onGiveUp = [this] {
        giveUp(QStringLiteral("The board never entered the raw REPL, so nothing was run. Try "
                              "disconnecting and reconnecting."));
    };
    if (m_deviceProgramRunning) {
        // What the board has not received of the old program would follow the Ctrl-C.
        m_link.serial().discardPendingOutput();
        m_link.serial().write("\x03");
        m_handshake.start(RawReplHandshake::WhenBusy::KeepTrying, onGiveUp);
    } else {
        // The debugger's quit command raises SystemExit, which resets the board, often into the raw
        // REPL.
        const bool isQuitting = m_reply == Reply::Awaited;
        m_handshake.start(RawReplHandshake::WhenBusy::Interrupt, onGiveUp,
                          isQuitting ? RawReplHandshake::FirstAttempt::Later
                                     : RawReplHandshake::FirstAttempt::Now);
    }
}

/// Until the banner arrives, the board may still send the output of the program that it was
/// running, with stops and an end.
void ProgramRun::handleHandshakeData(const QByteArray &chunk)
{
    if (m_paste.isActive()) {
        if (const auto output = m_paste.feed(chunk)) {
            noteProgramSent({});
            // With the acknowledgment, which raw-paste mode omits.
            handleDeviceData("OK" + *output);
        }
        return;
    }
    const RawReplHandshake::Received received = m_handshake.feed(chunk);
    if (m_showsOldOutput)
        handleDeviceData(received.beforeBanner);
    // A slot of `paused` or `programEnded` may have canceled this run.
    if (received.hasEntered && m_isEntering)
        sendProgram();
}

void ProgramRun::showHeldBack()
{
    const QByteArray bytes = m_handshake.takeHeldBack();
    if (m_showsOldOutput)
        handleDeviceData(bytes);
}

void ProgramRun::sendProgram()
{
    // Show incomplete data of the old program now, since the rest of it will not arrive: the
    // scanner would take the new program's output for the rest of a record, and counts its end
    // marks from here.
    showIncomplete();
    // The board is at a prompt: a program whose end mark has not arrived was ended by a reset.
    noteEnd();
    if (!m_isEntering)
        return;
    m_replyTimeout.stop();
    m_reply = Reply::None;
    m_isSendingCanceled = false;
    const QString source = std::exchange(m_source, {});
    const QByteArray program = source.isValidUtf16() ? source.toUtf8() : QByteArray();
    m_programBytes = program.size();
    if (!m_paste.isFor(program)) {
        noteProgramSent(program + '\x04');
        return;
    }
    RawPasteSender::Events events;
    events.onSent = [this](qsizetype bytes) { emit sending(bytes, m_programBytes); };
    events.onRefused = [this, program] {
        noteProgramSent((m_isSendingCanceled ? QByteArray() : program) + '\x04');
    };
    events.onStalled = [this] {
        m_link.serial().discardPendingOutput();
        m_link.serial().write("\x03");
        giveUp(QStringLiteral("The board stopped reading the program, so nothing was run. Try "
                              "disconnecting and reconnecting."));
    };
    m_paste.start(program, std::move(events));
}

/// Writes \p written after the state has changed.
void ProgramRun::noteProgramSent(const QByteArray &written)
{
    m_messages.expectReply();
    m_restartWatch.clear();
    m_traceback.reset();
    m_reply = Reply::Awaited;
    // Before the link is free, so that no command can start in between.
    const bool wasRunning = std::exchange(m_deviceProgramRunning, true);
    endHandshake();
    if (!written.isEmpty())
        m_link.serial().write(written);
    if (!m_isSendingCanceled)
        m_shell.appendInfo(QStringLiteral("▶ Sent to device."));
    if (!wasRunning)
        emit deviceProgramRunningChanged();
}

void ProgramRun::giveUp(const QString &message)
{
    endHandshake();
    m_shell.appendError(message);
    // A program that ignored Ctrl-C is still running.
    if (m_reply != Reply::Awaited)
        setDeviceProgramRunning(false);
    emit startFailed();
}

void ProgramRun::endHandshake()
{
    m_isEntering = false;
    m_handshake.stop();
    m_paste.stop();
    m_source.clear();
    m_link.serial().setDataInterceptor({});
    m_link.setDeviceCommandInFlight(false);
    showHeldBack();
    emit sendingEnded();
}

void ProgramRun::handleDeviceData(const QByteArray &chunk)
{
    const DeviceStreamScanner::Scan scan = m_deviceStream.feed(chunk);
    const bool hasRestarted = m_restartWatch.feed(scan.text) && !m_isEntering;
    showText(scan.text, scan.endMarks);
    noteTraceback(scan);
    const qsizetype pausesBeforeEnd = scan.pauses.size() - scan.pausesAfterEnd;
    for (const DebugPause &pause : scan.pauses.first(pausesBeforeEnd))
        notePause(pause);
    if (scan.ended)
        noteEnd();
    for (const DebugPause &pause : scan.pauses.last(scan.pausesAfterEnd))
        notePause(pause);
    if (scan.isReplyComplete)
        finishReply();
    if (hasRestarted && m_deviceProgramRunning) {
        m_shell.appendInfo(QStringLiteral("The board restarted, which ended the program."));
        noteEnd();
    }
}

void ProgramRun::showText(QStringView text, const QList<qsizetype> &endMarks)
{
    for (const ReplMessages::Piece &piece : m_messages.feed(text, endMarks)) {
        if (piece.isMessage)
            m_shell.appendReplMessage(piece.text);
        else
            m_shell.appendOutput(piece.text);
    }
}

void ProgramRun::notePause(const DebugPause &pause)
{
    // A program that reports a stop has not ended: an end mark before this was printed by the
    // program.
    m_reply = Reply::Awaited;
    m_replyTimeout.stop();
    setDeviceProgramRunning(true);
    emit paused(pause);
}

void ProgramRun::noteEnd()
{
    const bool isFirst = m_reply == Reply::Awaited;
    if (isFirst) {
        m_reply = Reply::Ending;
        m_handshake.keepTrying();
        m_replyTimeout.start();
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
    m_replyTimeout.stop();
    // A MemoryError without a line of the program was raised while the board compiled it.
    if (m_traceback.value_or(QString()).startsWith(u"MemoryError") && !m_isEntering)
        reportFreeMemory(m_programBytes);
    if (!m_isEntering) // otherwise the next program is being sent
        emit replyCompleted();
}

void ProgramRun::noteTraceback(const DeviceStreamScanner::Scan &scan)
{
    if (!m_traceback && !scan.endMarks.isEmpty())
        m_traceback =
            scan.text.sliced(scan.endMarks.first())
                .first(std::min(longestTraceback, scan.text.size() - scan.endMarks.first()));
    else if (m_traceback)
        *m_traceback +=
            scan.text.first(std::min(longestTraceback - m_traceback->size(), scan.text.size()));
}

QCoro::Task<void> ProgramRun::reportFreeMemory(qsizetype programBytes)
{
    const auto life = m_life.watch();
    const auto output = co_await m_link.executeOnDevice(BoardScripts::freeHeap(), quickTimeout);
    if (!life || !output)
        co_return;
    const QString free = output->section(QStringLiteral("__FREE__"), 1).trimmed();
    m_shell.appendInfo(QStringLiteral("The program has %1 bytes; %2 bytes of the board's memory "
                                      "are free for it and what it is compiled to.")
                           .arg(QString::number(programBytes), free));
}

void ProgramRun::clearStream()
{
    m_deviceStream.clear();
    m_messages = {};
    m_restartWatch.clear();
}

void ProgramRun::flushStream()
{
    showIncomplete();
    if (const QString line = m_messages.takeHeldBack(); !line.isEmpty())
        m_shell.appendOutput(line);
}

void ProgramRun::showIncomplete()
{
    showHeldBack();
    const QString rest = m_deviceStream.flush();
    showText(rest);
}

void ProgramRun::abandon()
{
    if (m_isEntering) {
        const bool isReading = m_paste.isActive();
        endHandshake();
        if (isReading)
            m_link.serial().discardPendingOutput();
        m_link.serial().write(isReading ? "\x03\x02" : "\x02");
        m_messages.expectBanner();
    }
    setDeviceProgramRunning(false);
}

void ProgramRun::cancelSending()
{
    if (!m_paste.isActive() || m_isSendingCanceled)
        return;
    m_isSendingCanceled = true;
    m_link.serial().writeUrgent("\x03");
    m_shell.appendInfo(QStringLiteral("Sending canceled — the program was not run."));
}

void ProgramRun::reset()
{
    if (m_isEntering)
        endHandshake();
    m_reply = Reply::None;
    m_replyTimeout.stop();
    setDeviceProgramRunning(false);
}

void ProgramRun::setDeviceProgramRunning(bool isRunning)
{
    if (std::exchange(m_deviceProgramRunning, isRunning) != isRunning)
        emit deviceProgramRunningChanged();
}

} // namespace Korvane
