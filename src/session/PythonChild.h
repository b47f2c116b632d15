#pragma once

#include "session/CommandPipe.h"
#include "session/ErrorPipe.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QProcess>

namespace Korvane {

/// One Python process that runs the driver program, and its three pipes.
///
/// The process is killed when Korvane crashes. Destroying this only closes the pipes; see endAll().
/// Main thread only; only endAll() blocks.
class PythonChild final : public QObject
{
    Q_OBJECT

public:
    explicit PythonChild(QObject *parent = nullptr);
    ~PythonChild() override = default;

    /// Ends the processes of \p children: SIGINT now, SIGTERM after 0.3 s, SIGKILL after 0.6 s.
    /// Blocks until all have ended, so it is only for the end of the program, when nothing is
    /// shown. The children emit nothing any more.
    static void endAll(const QList<PythonChild *> &children);

    /// Starts the interpreter in the home folder; commands may be written at once. A failed launch
    /// is reported by `launchFailed`, perhaps inside this call.
    void start(const QString &interpreter);
    /// Bytes that are written before the interpreter is launched are kept until then. A failure is
    /// reported by `writeFailed`.
    void write(const QByteArray &bytes);
    /// Sends SIGINT.
    void interrupt();
    /// Sends SIGTERM and emits nothing any more. Deletes this object when the process has ended,
    /// so that the process doesn't stay behind as a zombie.
    void dismiss();
    /// Emits `errorOutputArrived` for all that the child has written to its standard error before
    /// this call.
    void readErrorOutput() { m_errors.read(); }

    [[nodiscard]] bool isRunning() const { return m_process.state() != QProcess::NotRunning; }

signals:
    void launchFailed(const QString &reason);
    /// One signal for each read of the pipe.
    void outputArrived(const QByteArray &bytes);
    void errorOutputArrived(const QByteArray &bytes);
    void writeFailed(const QString &reason);
    /// The process has ended and all it printed has been delivered.
    void ended();

private:
    /// ~QProcess kills a child that still runs, and waits up to 30 s for it; this one doesn't.
    class Process final : public QProcess
    {
    public:
        ~Process() override { setProcessState(NotRunning); }
    };

    CommandPipe m_commands;
    ErrorPipe m_errors;
    QByteArray m_earlyCommands; // until the interpreter is launched
    Process m_process;
    bool m_isDismissed = false;
};

} // namespace Korvane
