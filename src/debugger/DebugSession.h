#pragma once

#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "base/Result.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QSet>
#include <QString>

#include <list>
#include <optional>

namespace Korvane {

class DeviceLink;
class ProgramRun;
class ShellSink;
struct DebugPause;
struct InstrumentedRun;

/// Debugs programs on the board: starts them, tracks their stops, and continues them
/// (docs/debugger.md). Handles the signals of the program run; the owner of the link calls `reset`
/// when the connection ends. Main thread only.
class DebugSession final : public QObject
{
    Q_OBJECT

public:
    /// Borrows all three, which must outlive this.
    DebugSession(DeviceLink &link, ProgramRun &programRun, ShellSink &shell,
                 QObject *parent = nullptr);

    /// Sends \p source, instrumented, to the board; \p name is shown to the user. A program that
    /// runs there is interrupted first, unless it is being debugged: then the start is refused. The
    /// reason why nothing is started is in the Shell; an empty source is ignored. What is edited or
    /// selected after the call no longer matters. The task may be dropped.
    QCoro::Task<void> startDebugRun(QString name, QString source, QSet<int> breakpoints);
    /// Continues the paused program to the next breakpoint. Does nothing while it is not paused.
    void debugContinue();
    /// Continues the paused program for one statement. Does nothing while it is not paused.
    void debugStep();
    /// Ends the program. Debugging is over at once; further output of the board is shown in the
    /// Shell. Does nothing while no program is debugged.
    void debugStop();

    /// A debug run is about to be sent, with breakpoints armed on these lines.
    void begin(const QSet<int> &activeBreakpointLines);
    /// The program stopped. Counts as debugging for any reason of the stop.
    void pause(const DebugPause &pause);
    /// Debugging is over. Writes nothing to the Shell.
    void reset();

    [[nodiscard]] bool isDebugging() const { return m_isDebugging; }
    /// 1-based line of the user's source; nothing while the program runs.
    [[nodiscard]] std::optional<int> pausedAt() const { return m_pausedAt; }
    /// 1-based lines on which a breakpoint is armed in this run.
    [[nodiscard]] const QSet<int> &activeBreakpointLines() const { return m_activeBreakpointLines; }

signals:
    /// Any of the three above.
    void changed();
    /// A debug run is being sent. The link is in use already, so that no view reads from the board
    /// now.
    void began();
    /// Emitted after the state has changed, before the line about it in the Shell.
    void paused(const DebugPause &pause);

private:
    [[nodiscard]] bool isStarting() const;
    QCoro::Task<void> interruptProgram();
    QCoro::Task<void> stateChange();
    void resumeStarts();
    QCoro::Task<Result<void>> installHelper(QSet<int> activeLines);
    void launch(const QString &name, const InstrumentedRun &run);
    void resume(const char *command);
    void finish();

    DeviceLink &m_link;
    ProgramRun &m_programRun;
    ShellSink &m_shell;
    bool m_isDebugging = false;
    std::optional<int> m_pausedAt;
    QSet<int> m_activeBreakpointLines;

    /// A start has installed the helper on this connection and has not finished.
    bool m_isInstalling = false;
    /// Changes with each end of the link. What was installed before is lost.
    int m_connection = 0;
    /// Starts that wait for the end of a program or of another start.
    std::list<OneShot<bool>> m_waitingStarts;
    Lifetime m_life;
};

} // namespace Korvane
