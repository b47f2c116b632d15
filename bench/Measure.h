#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#include <algorithm>

namespace Korvane::Bench {

/// A line of /proc/self/status that counts kilobytes, such as "VmHWM:", in megabytes.
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

/// Beats each millisecond in the event loop and notes the longest time between two beats: for so
/// long the window could not have answered.
class Heartbeat final
{
public:
    Heartbeat()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            m_longest = std::max(m_longest, m_time.nsecsElapsed());
            m_time.restart();
        });
    }

    void start()
    {
        m_longest = 0;
        m_time.start();
        m_timer.start(1);
    }
    [[nodiscard]] double longestMilliseconds() const
    {
        return static_cast<double>(std::max(m_longest, m_time.nsecsElapsed())) / 1e6;
    }

private:
    QTimer m_timer;
    QElapsedTimer m_time;
    qint64 m_longest = 0;
};

} // namespace Korvane::Bench
