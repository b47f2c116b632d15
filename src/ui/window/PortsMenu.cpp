#include "ui/window/PortsMenu.h"

#include "app/AppState.h"
#include "ui/controls/PlainText.h"

namespace Korvane {

namespace {

// The menu must not be wider than the smallest window.
constexpr qsizetype longestName = 50;

} // namespace

PortsMenu::PortsMenu(AppState &state, const QString &title, QWidget *parent)
    : QMenu(title, parent)
    , m_state(state)
{
    setToolTipsVisible(true);
    connect(&state.link(), &DeviceLink::availablePortsChanged, this, &PortsMenu::fill);
    connect(&state.link(), &DeviceLink::connectionStateChanged, this, [this] {
        menuAction()->setEnabled(m_state.link().connectionState()
                                 == DeviceConnectionState::disconnected());
    });
    fill();
}

void PortsMenu::fill()
{
    clear();
    for (const QString &port : m_state.link().availablePorts()) {
        const SerialPortManager::Identity identity = m_state.link().portIdentity(port);
        QAction *action = addAction(PlainText::label(m_state.board().nameOf(port), longestName));
        QStringList help{port, identity.manufacturer, identity.product, identity.serialNumber};
        help.removeAll(QString());
        action->setToolTip(PlainText::toolTip(help.join(u'\n')));
        connect(action, &QAction::triggered, this,
                [this, port] { m_state.board().connectTo(port); });
    }
    // Not a command: disabled entries have the secondary color.
    if (isEmpty())
        addAction(tr("No serial ports found"))->setEnabled(false);
    addSeparator();
    connect(addAction(tr("Try Without a Board")), &QAction::triggered, this,
            [this] { m_state.board().connectToVirtualBoard(); });
    connect(addAction(tr("Refresh ports")), &QAction::triggered, this,
            [this] { m_state.link().refreshPorts(); });
}

} // namespace Korvane
