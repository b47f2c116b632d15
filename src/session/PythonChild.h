#pragma once

#include "session/CommandPipe.h"

#include <QByteArray>
#include <QObject>
#include <QProcess>

namespace Korvane {

/// One Python process with the driver program in it, and its three pipes.
///
/// Destroying it closes the pipes and lets the process be: it ends when it has finished what it is
/// doing and finds no more commands. Main thread only; nothing here blocks.
class PythonChild final : public QObject
{
    Q_OBJECT

public:
    explicit PythonChild(QObject *parent = nullptr);
    ~PythonChild() override = default;

    /// Starts the interpreter in the home folder; commands may be written at once. A launch that
    /// fails is told by `launchFailed`, perhaps inside this call.
    void start(const QString &interpreter);
    void write(const QByteArray &bytes);
    /// Sends SIGINT.
    void interrupt();
    /// Sends SIGTERM and falls silent. The object stays until the process has ended, so that the
    /// process doesn't stay behind as a zombie, then deletes itself.
    void dismiss();

    [[nodiscard]] bool isRunning() const { return m_process.state() != QProcess::NotRunning; }

signals:
    void launchFailed(const QString &reason);
    /// At most what one pipe holds (64 KiB), one signal a read.
    void outputArrived(const QByteArray &bytes);
    void errorOutputArrived(const QByteArray &bytes);
    void writeFailed(const QString &reason);
    /// The process has ended and all it printed has been delivered.
    void ended();

private:
    /// ~QProcess kills a child that still runs, and waits for it; this one believes it has ended.
    class Process final : public QProcess
    {
    public:
        ~Process() override { setProcessState(NotRunning); }
    };

    CommandPipe m_commands;
    QByteArray m_earlyCommands; // until the interpreter has been launched
    Process m_process;
    bool m_isDismissed = false;
};

} // namespace Korvane
