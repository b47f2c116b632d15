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
    connect(&state.link(), &DeviceLink::connectionStateChanged, this, &Announcer::sayConnection);
    connect(&state.debugSession(), &DebugSession::changed, this, &Announcer::sayPause);
    connect(&state, &AppState::isRunningChanged, this, [this] {
        // On a board isRunning ends when the program is sent; its end is announced below.
        if (!m_state.link().connectionState().isConnected())
            sayEndOfRun(m_state.isRunning());
    });
    connect(&state.programRun(), &ProgramRun::deviceProgramRunningChanged, this,
            [this] { sayEndOfRun(m_state.programRun().deviceProgramRunning()); });
}

void Announcer::say(const QString &text)
{
    setAccessibleName(VisibleText::line(text));
    for (const QAccessible::Event type : {QAccessible::ObjectHide, QAccessible::ObjectShow}) {
        QAccessibleEvent event(this, type);
        QAccessible::updateAccessibility(&event);
    }
}

void Announcer::sayConnection()
{
    const DeviceConnectionState &connection = m_state.link().connectionState();
    const bool isConnected = connection.isConnected();
    if (isConnected)
        say(tr("Connected to %1").arg(connection.port()));
    else if (m_wasConnected)
        say(tr("Disconnected"));
    m_wasConnected = isConnected;
}

void Announcer::sayPause()
{
    const std::optional<int> line = m_state.debugSession().pausedAt();
    if (line && !std::exchange(m_wasPaused, true))
        say(tr("Paused at line %1").arg(*line));
    m_wasPaused = line.has_value();
}

void Announcer::sayEndOfRun(bool isRunning)
{
    if (!isRunning)
        say(tr("Run finished"));
}

} // namespace Korvane
