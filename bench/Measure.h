#pragma once

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <utility>

namespace Korvane::Bench {

/// Ends the process with an error after ten minutes, whatever it waits for.
inline void limitTime()
{
    std::signal(SIGALRM, [](int) {
        constexpr char message[] = "the benchmark did not end within ten minutes\n";
        [[maybe_unused]] const auto written = ::write(STDERR_FILENO, message, sizeof message - 1);
        ::_exit(1);
    });
    ::alarm(600);
}

/// A temporary folder for the settings and the state of the programs that this process runs, itself
/// included, so that those of the user are neither read nor changed.
class OwnFolders final
{
public:
    OwnFolders()
    {
        for (const char *name : {"XDG_CONFIG_HOME", "XDG_STATE_HOME"})
            qputenv(name, QFile::encodeName(m_folder.path()));
    }

private:
    QTemporaryDir m_folder;
};

/// The value of a line of /proc/self/status that counts kilobytes, such as "VmHWM:", in megabytes;
/// -1 without that line.
inline double statusMegabytes(const QByteArray &name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(name))
            return line.mid(name.size()).simplified().split(' ').first().toDouble() / 1024;
    }
    return -1;
}

/// The processor time of this thread, which does not include that of other programs.
inline double processorMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// Runs a timer of one millisecond in the event loop and records the longest time between two
/// timeouts, in which the window could not have responded. On a busy machine other programs use a
/// part of that time, so the longest processor time of this thread between two timeouts is
/// recorded, too.
class TurnTimer final
{
public:
    TurnTimer()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { turn(); });
    }

    void start()
    {
        m_longestGap = m_longestWork = 0;
        m_turnedAt = now(CLOCK_MONOTONIC);
        m_workedAt = now(CLOCK_THREAD_CPUTIME_ID);
        m_timer.start(1);
    }
    void stop()
    {
        turn();
        m_timer.stop();
    }
    [[nodiscard]] double longestGapMilliseconds() const { return m_longestGap; }
    [[nodiscard]] double longestWorkMilliseconds() const { return m_longestWork; }

private:
    static double now(clockid_t clock)
    {
        timespec time{};
        clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }

    void turn()
    {
        const double time = now(CLOCK_MONOTONIC);
        const double work = now(CLOCK_THREAD_CPUTIME_ID);
        m_longestGap = std::max(m_longestGap, time - std::exchange(m_turnedAt, time));
        m_longestWork = std::max(m_longestWork, work - std::exchange(m_workedAt, work));
    }

    QTimer m_timer;
    double m_turnedAt = 0;
    double m_workedAt = 0;
    double m_longestGap = 0;
    double m_longestWork = 0;
};

} // namespace Korvane::Bench
