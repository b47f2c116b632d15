#include "debugger/DebugSession.h"

#include "base/ShellSink.h"
#include "debugger/DebugPause.h"
#include "debugger/ProgramRun.h"

namespace Korvane {

DebugSession::DebugSession(ProgramRun &programRun, ShellSink &shell, QObject *parent)
    : QObject(parent)
    , m_shell(shell)
{
    connect(&programRun, &ProgramRun::paused, this, &DebugSession::pause);
    connect(&programRun, &ProgramRun::programEnded, this, &DebugSession::finish);
    connect(&programRun, &ProgramRun::gaveUp, this, &DebugSession::reset);
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
