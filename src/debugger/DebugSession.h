#pragma once

#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "base/Result.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QSet>
#include <QString>
#include <QUuid>

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
    /// reason why nothing is started is written to the Shell; an empty source is ignored.
    /// \p breakpoints are 1-based lines; \p document is the parameter of started(). The task may be
    /// dropped.
    QCoro::Task<void> startDebugRun(QString name, QString source, QSet<int> breakpoints,
                                    QUuid document = {});
    /// Continues the paused program to the next breakpoint. Does nothing while it is not paused.
    void debugContinue();
    /// Continues the paused program for one statement. Does nothing while it is not paused.
    void debugStep();
    /// Ends the program. Debugging is over at once; further output of the board is shown in the
    /// Shell. Does nothing while no program is debugged.
    void debugStop();

    /// A debug run is about to be sent, with breakpoints armed on these lines.
    void begin(const QSet<int> &activeBreakpointLines);
    /// The program has stopped. From then on isDebugging() is true, whatever started the program.
    void pause(const DebugPause &pause);
    /// Debugging is over. Writes nothing to the Shell.
    void reset();

    [[nodiscard]] bool isDebugging() const { return m_isDebugging; }
    /// 1-based line of the user's source; nothing while the program runs.
    [[nodiscard]] std::optional<int> pausedAt() const { return m_pausedAt; }
    /// 1-based lines on which a breakpoint is armed in this run.
    [[nodiscard]] const QSet<int> &activeBreakpointLines() const { return m_activeBreakpointLines; }

signals:
    /// isDebugging(), pausedAt() or activeBreakpointLines() has changed.
    void changed();
    /// A debug run is being sent. The link is already in use, so that no view reads from the board
    /// in response, and nothing that the program prints has arrived.
    void started(const QUuid &document);
    /// Emitted after the state has changed, before the line about it in the Shell.
    void paused(const DebugPause &pause);

private:
    [[nodiscard]] bool isStarting() const;
    QCoro::Task<void> interruptProgram();
    QCoro::Task<void> stateChange();
    void resumeStarts();
    QCoro::Task<Result<void>> installHelper(QSet<int> activeLines);
    void launch(const QString &name, const InstrumentedRun &run, const QUuid &document);
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
    int m_installation = 0; // counts them, for the one whose result is awaited
    /// Changes with each end of the link. What was installed before is lost.
    int m_connection = 0;
    /// Starts that are suspended until a program or another start has ended.
    std::list<OneShot<bool>> m_waitingStarts;
    Lifetime m_life;
};

} // namespace Korvane
