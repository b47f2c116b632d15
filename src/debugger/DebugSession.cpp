#include "debugger/DebugSession.h"

#include "base/ShellSink.h"
#include "board/DebugPause.h"
#include "board/DeviceError.h"
#include "board/DeviceLink.h"
#include "board/ProgramRun.h"
#include "debugger/DebugHelper.h"
#include "debugger/InstrumentedRun.h"

#include <QTimer>

#include <chrono>
#include <iterator>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr auto installTimeout = 10s;
constexpr auto interruptTimeout = 2s;

} // namespace

DebugSession::DebugSession(DeviceLink &link, ProgramRun &programRun, ShellSink &shell,
                           QObject *parent)
    : QObject(parent)
    , m_link(link)
    , m_programRun(programRun)
    , m_shell(shell)
{
    connect(&programRun, &ProgramRun::paused, this, &DebugSession::pause);
    connect(&programRun, &ProgramRun::programEnded, this, &DebugSession::finish);
    connect(&programRun, &ProgramRun::startFailed, this, [this] {
        if (!m_programRun.deviceProgramRunning())
            reset();
    });
    connect(&programRun, &ProgramRun::deviceProgramRunningChanged, this,
            &DebugSession::resumeStarts);
    connect(&programRun, &ProgramRun::sendingEnded, this, &DebugSession::resumeStarts);
    connect(&link, &DeviceLink::connectionStateChanged, this, [this] {
        if (m_link.connectionState().isConnected())
            return;
        ++m_connection;
        m_isInstalling = false;
        resumeStarts();
    });
}

QCoro::Task<void> DebugSession::startDebugRun(QString name, QString source, QSet<int> breakpoints,
                                              QUuid document)
{
    const auto life = m_life.watch();
    if (!m_link.connectionState().isConnected()) {
        m_shell.appendError(QStringLiteral("Connect a device to debug on it."));
        co_return;
    }
    if (source.isEmpty())
        co_return;
    if (m_isDebugging) {
        m_shell.appendError(QStringLiteral("A debug run is already in progress."));
        co_return;
    }
    const InstrumentedRun run(source, breakpoints);
    for (const QString &note : run.notes)
        m_shell.appendInfo(note);
    if (run.steppableLines.isEmpty()) {
        m_shell.appendError(QStringLiteral("Nothing to debug in %1.").arg(name));
        co_return;
    }
    // Tested before the first wait: a debug run that is sent meanwhile is not interrupted.
    const bool hasRunTakenLink = m_programRun.isEntering() || m_programRun.deviceProgramRunning();
    if (m_isInstalling && hasRunTakenLink) { // its result arrives at its time-out
        m_isInstalling = false;
        ++m_installation;
    }
    if (m_programRun.isEntering())
        m_programRun.abandon();
    if (m_programRun.deviceProgramRunning()) {
        co_await interruptProgram();
        if (!life)
            co_return;
    }
    const auto installed = co_await installHelper(run.activeLines);
    if (!life)
        co_return;
    if (installed)
        launch(name, run, document);
    else if (installed.error().code != ErrorCode::Canceled)
        m_shell.appendError(QStringLiteral("Could not install the breakpoint helper: ")
                            + installed.error().message);
}

/// Waits at most 2 s for the end of the program.
QCoro::Task<void> DebugSession::interruptProgram()
{
    const auto life = m_life.watch();
    QTimer bound;
    bound.setSingleShot(true);
    connect(&bound, &QTimer::timeout, this, &DebugSession::resumeStarts);
    bound.start(interruptTimeout);
    m_link.serial().writeUrgent("\x03");
    while (m_programRun.deviceProgramRunning() && bound.isActive()) {
        co_await stateChange();
        if (!life)
            co_return;
    }
}

/// Ends with the next call of resumeStarts, or when this is destroyed.
QCoro::Task<void> DebugSession::stateChange()
{
    const auto life = m_life.watch();
    OneShot<bool> &change = m_waitingStarts.emplace_back();
    const auto position = std::prev(m_waitingStarts.end());
    static_cast<void>(co_await change.wait());
    if (life)
        m_waitingStarts.erase(position);
}

/// Resumes the waiting starts in their order; each tests its condition again.
void DebugSession::resumeStarts()
{
    for (OneShot<bool> &change : m_waitingStarts)
        change.deliver(true);
}

bool DebugSession::isStarting() const
{
    return m_isInstalling || m_programRun.isEntering();
}

QCoro::Task<Result<void>> DebugSession::installHelper(QSet<int> activeLines)
{
    const auto life = m_life.watch();
    // The second of two starts in a row must be refused, because the program of the first one runs
    // by then. If it were queued for the link, it would start the program again after its end.
    while (isStarting()) {
        co_await stateChange();
        if (!life)
            co_return Error{ErrorCode::Closed, {}};
    }
    const int connection = m_connection;
    const int installation = ++m_installation;
    m_isInstalling = true;
    const auto output = co_await m_link.executeOnDevice(
        DebugHelper::installCode(activeLines), installTimeout, DeviceLink::WhenBusy::Interrupt);
    if (!life)
        co_return Error{ErrorCode::Closed, {}};
    if (installation != m_installation)
        co_return DeviceError::canceled();
    if (connection == m_connection) {
        m_isInstalling = false;
        resumeStarts();
    }
    if (!output)
        co_return output.error();
    // The reply arrived, and the connection was lost before this was resumed.
    if (connection != m_connection)
        co_return DeviceError::notConnected();
    co_return Result<void>();
}

void DebugSession::launch(const QString &name, const InstrumentedRun &run, const QUuid &document)
{
    begin(run.activeLines);
    const qsizetype count = run.activeLines.size();
    const QString summary = count == 0
        ? QStringLiteral("stopping at the first statement")
        : QStringLiteral("%1 breakpoint%2 armed")
              .arg(QString::number(count), count == 1 ? QString() : QStringLiteral("s"));
    m_shell.appendInfo(QStringLiteral("▶ Debugging %1 — %2.").arg(name, summary));
    m_shell.appendInfo(QStringLiteral("   %1 steppable lines; %2 → %3 bytes to compile.")
                           .arg(run.steppableLines.size())
                           .arg(run.originalBytes)
                           .arg(run.instrumentedBytes));
    m_programRun.runOnDeviceStreamed(run.source, ProgramRun::BoardState::AtPrompt);
    emit started(document);
}

void DebugSession::debugContinue()
{
    resume(DebugHelper::continueCommand);
}

void DebugSession::debugStep()
{
    resume(DebugHelper::stepCommand);
}

void DebugSession::resume(const char *command)
{
    if (!m_pausedAt)
        return;
    m_pausedAt.reset();
    m_link.serial().write(command);
    emit changed();
}

void DebugSession::debugStop()
{
    if (!m_isDebugging)
        return;
    m_link.serial().write(m_pausedAt ? DebugHelper::quitCommand : "\x03");
    m_programRun.abandon();
    reset();
}

void DebugSession::begin(const QSet<int> &activeBreakpointLines)
{
    m_isDebugging = true;
    m_pausedAt.reset();
    m_activeBreakpointLines = activeBreakpointLines;
    emit changed();
}

void DebugSession::pause(const DebugPause &pause)
{
    m_pausedAt = pause.line;
    m_isDebugging = true;
    emit changed();
    emit paused(pause);
    m_shell.appendInfo(QStringLiteral("⏸ Paused at line %1.").arg(pause.line));
}

void DebugSession::reset()
{
    if (!m_isDebugging && !m_pausedAt && m_activeBreakpointLines.isEmpty())
        return;
    m_isDebugging = false;
    m_pausedAt.reset();
    m_activeBreakpointLines.clear();
    emit changed();
}

void DebugSession::finish()
{
    if (!m_isDebugging)
        return;
    m_shell.appendInfo(QStringLiteral("▶ Program finished."));
    reset();
}

} // namespace Korvane
