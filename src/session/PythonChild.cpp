#include "session/PythonChild.h"

#include "base/DescriptorLimit.h"
#include "session/SessionProtocol.h"

#include <QDir>
#include <QProcessEnvironment>

#include <csignal>
#include <utility>

#include <unistd.h>

namespace Korvane {

namespace {

/// Runs in the new process before the interpreter does: system calls only.
void prepareChild(int standardInput)
{
    ::dup2(standardInput, STDIN_FILENO);
    DescriptorLimit::restoreInChild();
    // A shell that starts us in the background leaves SIGINT ignored, and Python would then never
    // raise KeyboardInterrupt.
    ::signal(SIGINT, SIG_DFL);
    ::signal(SIGTERM, SIG_DFL);
    ::signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace

PythonChild::PythonChild(QObject *parent)
    : QObject(parent)
{
    connect(&m_commands, &CommandPipe::writeFailed, this, &PythonChild::writeFailed);
    connect(&m_process, &QProcess::started, this,
            [this] { m_commands.write(std::exchange(m_earlyCommands, {})); });
    connect(&m_process, &QProcess::readyReadStandardOutput, this,
            [this] { emit outputArrived(m_process.readAllStandardOutput()); });
    connect(&m_process, &QProcess::readyReadStandardError, this,
            [this] { emit errorOutputArrived(m_process.readAllStandardError()); });
    connect(&m_process, &QProcess::finished, this, [this] {
        if (m_isDismissed)
            deleteLater();
        emit ended();
    });
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        if (m_isDismissed)
            deleteLater();
        emit launchFailed(m_process.errorString());
    });
}

void PythonChild::start(const QString &interpreter)
{
    if (const auto opened = m_commands.open(); !opened) {
        emit launchFailed(opened.error().message);
        return;
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PYTHONIOENCODING"), QStringLiteral("utf-8"));
    environment.insert(QStringLiteral("PYTHONDONTWRITEBYTECODE"), QStringLiteral("1"));
    m_process.setProcessEnvironment(environment);
    m_process.setWorkingDirectory(QDir::homePath());
    m_process.setInputChannelMode(QProcess::ForwardedInputChannel);
    m_process.setChildProcessModifier(
        [standardInput = m_commands.childEnd()] { prepareChild(standardInput); });
    m_process.start(interpreter,
                    {QStringLiteral("-u"), QStringLiteral("-c"),
                     QString::fromUtf8(SessionProtocol::driverProgram())});
    m_commands.closeChildEnd();
}

void PythonChild::write(const QByteArray &bytes)
{
    // Written before the launch is known to have succeeded, they could meet a closed pipe, which
    // would hide the true reason.
    if (m_process.state() == QProcess::Running)
        m_commands.write(bytes);
    else
        m_earlyCommands.append(bytes);
}

void PythonChild::interrupt()
{
    if (const qint64 id = m_process.processId(); id > 0)
        ::kill(static_cast<pid_t>(id), SIGINT);
}

void PythonChild::dismiss()
{
    m_isDismissed = true;
    // From here on nobody hears of it. What it still prints is read and forgotten, lest it hang on
    // a full pipe.
    disconnect();
    m_process.terminate();
    m_commands.close();
    m_earlyCommands.clear();
    if (!isRunning())
        deleteLater();
}

} // namespace Korvane
