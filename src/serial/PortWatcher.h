#pragma once

#include "base/FileDescriptor.h"
#include "serial/SerialPortManager.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>

namespace Korvane {

/// Reports that the list of serial ports may have changed: a device was plugged in or unplugged.
/// Watches the folder of the devices and those of the extra ports with inotify, which takes no
/// processor time while nothing changes. An extra port is watched when its folder exists at
/// construction. Where inotify is not available nothing is reported. Main thread only.
class PortWatcher final : public QObject
{
    Q_OBJECT

public:
    explicit PortWatcher(const SerialPortManager::Roots &roots, QObject *parent = nullptr);

signals:
    /// Emitted from the event loop once changes have stopped for 0.1 s, at the latest 0.5 s after
    /// the first one.
    void changed();

private:
    void watch(const QString &folder, const QString &name);
    void readEvents();

    FileDescriptor m_inotify;
    std::unique_ptr<QSocketNotifier> m_notifier;
    /// The names to report, by watch; an empty set means all.
    QHash<int, QSet<QByteArray>> m_names;
    QTimer m_settleTimer;
    QTimer m_reportTimer;
};

} // namespace Korvane
