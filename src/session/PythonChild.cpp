#include "session/PythonChild.h"

#include "base/DescriptorLimit.h"
#include "session/SessionProtocol.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QProcessEnvironment>

#include <chrono>
#include <csignal>
#include <thread>
#include <utility>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

/// Runs in the new process before the interpreter does: system calls only.
void prepareChild(int standardInput, int standardError, pid_t parent)
{
    // The signal is sent when the thread that forked ends: QProcess forks on the main thread.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(EXIT_FAILURE); // the parent ended before the call
    ::dup2(standardInput, STDIN_FILENO);
    DescriptorLimit::restoreInChild();
    ::dup2(standardError, STDERR_FILENO);
    // A shell that starts Korvane in the background leaves SIGINT ignored, and Python would then
    // never raise KeyboardInterrupt.
    ::signal(SIGINT, SIG_DFL);
    ::signal(SIGTERM, SIG_DFL);
    ::signal(SIGPIPE, SIG_DFL);
    // The driver unblocks SIGINT while user code runs: the start of the interpreter must not be
    // interrupted.
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGINT);
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
}

/// Whether the child process \p id still runs. One that has ended is reaped; QProcess, which waits
/// on a descriptor of its own, may have done so already.
bool isAlive(pid_t id)
{
    return ::waitpid(id, nullptr, WNOHANG) == 0;
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
    connect(&m_errors, &ErrorPipe::arrived, this, &PythonChild::errorOutputArrived);
    connect(&m_process, &QProcess::finished, this, [this] {
        readErrorOutput();
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

void PythonChild::endAll(const QList<PythonChild *> &children)
{
    QList<pid_t> running;
    for (PythonChild *child : children) {
        child->disconnect();
        child->m_commands.close();
        if (const qint64 id = child->m_process.processId(); id > 0)
            running << static_cast<pid_t>(id);
    }
    for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
        for (const pid_t id : std::as_const(running))
            ::kill(id, signal);
        // After SIGKILL a process ends at once, unless the kernel keeps it waiting for a device.
        for (const QDeadlineTimer deadline(300ms); !running.isEmpty() && !deadline.hasExpired();) {
            std::this_thread::sleep_for(2ms);
            running.removeIf([](pid_t id) { return !isAlive(id); });
        }
    }
}

void PythonChild::start(const QString &interpreter)
{
    for (const auto &opened : {m_commands.open(), m_errors.open()}) {
        if (opened)
            continue;
        emit launchFailed(opened.error().message);
        return;
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PYTHONIOENCODING"), QStringLiteral("utf-8"));
    environment.insert(QStringLiteral("PYTHONDONTWRITEBYTECODE"), QStringLiteral("1"));
    m_process.setProcessEnvironment(environment);
    m_process.setWorkingDirectory(QDir::homePath());
    m_process.setInputChannelMode(QProcess::ForwardedInputChannel);
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel); // to m_errors, see below
    m_process.setChildProcessModifier(
        [standardInput = m_commands.childEnd(), standardError = m_errors.childEnd(),
         parent = ::getpid()] { prepareChild(standardInput, standardError, parent); });
    m_process.start(interpreter,
                    {QStringLiteral("-u"), QStringLiteral("-c"),
                     QString::fromUtf8(SessionProtocol::driverProgram())});
    m_commands.closeChildEnd();
    m_errors.closeChildEnd();
}

void PythonChild::write(const QByteArray &bytes)
{
    // If the launch fails, writing would fail, too, and its error would be reported instead.
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
    // What it still prints is read and dropped, so that it doesn't block on a full pipe.
    disconnect();
    m_process.terminate();
    m_commands.close();
    m_earlyCommands.clear();
    if (!isRunning())
        deleteLater();
}

} // namespace Korvane
