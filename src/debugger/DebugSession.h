#pragma once

#include <QObject>
#include <QSet>

#include <optional>

namespace Korvane {

class ProgramRun;
class ShellSink;
struct DebugPause;

/// Whether a program is being debugged on the board, where it stands, and which breakpoints are
/// armed in it. Follows the program run by itself; whoever ends the link calls `reset`. Main
/// thread only.
class DebugSession final : public QObject
{
    Q_OBJECT

public:
    /// Borrows \p programRun and \p shell, which must outlive this.
    DebugSession(ProgramRun &programRun, ShellSink &shell, QObject *parent = nullptr);

    /// A debug run is about to be sent, with breakpoints armed on these lines.
    void begin(const QSet<int> &activeBreakpointLines);
    /// The program stopped. Counts as debugging, however it came to stop.
    void pause(const DebugPause &pause);
    /// Nothing is being debugged any more; says nothing.
    void reset();

    [[nodiscard]] bool isDebugging() const { return m_isDebugging; }
    /// 1-based line of the person's source; nothing while the program runs.
    [[nodiscard]] std::optional<int> pausedAt() const { return m_pausedAt; }
    /// 1-based lines on which a breakpoint is armed in this run.
    [[nodiscard]] const QSet<int> &activeBreakpointLines() const { return m_activeBreakpointLines; }

signals:
    /// Any of the three above.
    void changed();
    /// After the state, before the Shell says so: time to show the variables.
    void paused(const DebugPause &pause);

private:
    void finish();

    ShellSink &m_shell;
    bool m_isDebugging = false;
    std::optional<int> m_pausedAt;
    QSet<int> m_activeBreakpointLines;
};

} // namespace Korvane
