#include "ui/window/Announcer.h"

#include "app/AppState.h"
#include "base/VisibleText.h"

#include <QAccessible>

#include <optional>
#include <utility>

namespace Korvane {

Announcer::Announcer(AppState &state, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
{
    setObjectName(QStringLiteral("announcer"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setGeometry(0, 0, 1, 1); // some assistive programs ignore widgets without an area
    connect(&state.link(), &DeviceLink::connectionStateChanged, this,
            &Announcer::announceConnection);
    connect(&state.debugSession(), &DebugSession::changed, this, &Announcer::announcePause);
    connect(&state, &AppState::isRunningChanged, this, [this] {
        // On a board isRunning ends when the program is sent; its end is announced below.
        if (m_state.isRunning())
            m_isLocalRun = !m_state.link().connectionState().isConnected();
        else if (std::exchange(m_isLocalRun, false))
            announceEndOfRun();
    });
    connect(&state.programRun(), &ProgramRun::deviceProgramRunningChanged, this, [this] {
        if (!m_state.programRun().deviceProgramRunning())
            announceEndOfRun();
    });
}

void Announcer::announce(const QString &text)
{
    setAccessibleName(VisibleText::line(text));
    for (const QAccessible::Event type : {QAccessible::ObjectHide, QAccessible::ObjectShow}) {
        QAccessibleEvent event(this, type);
        QAccessible::updateAccessibility(&event);
    }
}

void Announcer::announceConnection()
{
    const DeviceConnectionState &connection = m_state.link().connectionState();
    const bool isConnected = connection.isConnected();
    if (isConnected)
        announce(tr("Connected to %1").arg(connection.port()));
    else if (m_wasConnected)
        announce(tr("Disconnected"));
    m_wasConnected = isConnected;
}

void Announcer::announcePause()
{
    const std::optional<int> line = m_state.debugSession().pausedAt();
    if (line && !std::exchange(m_wasPaused, true))
        announce(tr("Paused at line %1").arg(*line));
    m_wasPaused = line.has_value();
}

void Announcer::announceEndOfRun()
{
    announce(tr("Run finished"));
}

} // namespace Korvane
