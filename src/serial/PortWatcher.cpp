#include "serial/PortWatcher.h"

#include <QFile>
#include <QFileInfo>

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

// A board that is plugged in makes several changes: the node, its owner, its mode, links to it.
constexpr auto settleTime = 100ms;
constexpr auto longestDelay = 500ms;
constexpr std::uint32_t events = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB;

} // namespace

PortWatcher::PortWatcher(const SerialPortManager::Roots &roots, QObject *parent)
    : QObject(parent)
    , m_inotify(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    m_settleTimer.setSingleShot(true);
    m_settleTimer.setInterval(settleTime);
    m_reportTimer.setSingleShot(true);
    m_reportTimer.setInterval(longestDelay);
    for (QTimer *timer : {&m_settleTimer, &m_reportTimer}) {
        connect(timer, &QTimer::timeout, this, [this] {
            m_settleTimer.stop();
            m_reportTimer.stop();
            emit changed();
        });
    }
    if (!m_inotify.isValid())
        return;
    m_notifier = std::make_unique<QSocketNotifier>(m_inotify.get(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &PortWatcher::readEvents);
    for (const QString &extra : roots.extraPorts.split(u':', Qt::SkipEmptyParts)) {
        const QFileInfo port(extra);
        watch(port.path(), port.fileName());
    }
    watch(roots.dev, {});
}

void PortWatcher::watch(const QString &folder, const QString &name)
{
    const int id = ::inotify_add_watch(m_inotify.get(), QFile::encodeName(folder).constData(),
                                       events | IN_ONLYDIR);
    if (id == -1)
        return;
    // inotify returns the same watch for the same folder.
    if (name.isEmpty())
        m_names[id].clear();
    else if (!m_names.contains(id) || !m_names[id].isEmpty())
        m_names[id].insert(QFile::encodeName(name));
}

void PortWatcher::readEvents()
{
    alignas(inotify_event) std::array<char, 4096> buffer;
    ssize_t size = 0;
    bool isRelevant = false;
    while ((size = ::read(m_inotify.get(), buffer.data(), buffer.size())) > 0) {
        for (ssize_t offset = 0; offset < size;) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + offset, sizeof event);
            const char *name = buffer.data() + offset + sizeof event;
            const auto names = m_names.constFind(event.wd);
            // Events that were lost (IN_Q_OVERFLOW) have no watch.
            isRelevant |= names == m_names.cend() || names->isEmpty()
                || (event.len > 0 && names->contains(QByteArray(name)));
            offset += static_cast<ssize_t>(sizeof event + event.len);
        }
    }
    if (!isRelevant)
        return;
    m_settleTimer.start();
    if (!m_reportTimer.isActive())
        m_reportTimer.start();
}

} // namespace Korvane
