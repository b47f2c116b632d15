#include "ui/window/DeviceConnectButton.h"

#include "app/AppState.h"
#include "board/DeviceLink.h"
#include "theme/Icons.h"
#include "ui/controls/PlainText.h"

#include <QMenu>

namespace Korvane {

DeviceConnectButton::DeviceConnectButton(AppState &state, QWidget *parent)
    : QToolButton(parent)
    , m_state(state)
    , m_ports(new QMenu(this))
{
    setObjectName(QStringLiteral("deviceConnect"));
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setPopupMode(QToolButton::InstantPopup);
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
    connect(this, &QToolButton::clicked, this, [this] {
        if (m_state.link().connectionState().isConnected())
            m_state.link().disconnectDevice();
    });
    connect(&state.link(), &DeviceLink::connectionStateChanged, this,
            &DeviceConnectButton::showState);
    connect(&state.link(), &DeviceLink::availablePortsChanged, this,
            &DeviceConnectButton::fillMenu);
    fillMenu();
    showState();
}

void DeviceConnectButton::showState()
{
    const DeviceConnectionState &connection = m_state.link().connectionState();
    const bool isConnected = connection.isConnected();
    if (isConnected) {
        m_ports->close();
        setText(tr("Disconnect"));
        setIcon(Icons::icon(QStringLiteral("cable.connector.slash"), Theme::Role::Orange));
        setToolTip(PlainText::toolTip(tr("Disconnect from %1").arg(connection.port())));
    } else {
        const bool isConnecting = connection.kind() == DeviceConnectionState::Kind::Connecting;
        setText(isConnecting ? tr("Connecting…") : tr("Connect Device"));
        setIcon(Icons::icon(QStringLiteral("cable.connector")));
        setToolTip(tr("Connect a MicroPython device"));
    }
    setMenu(isConnected ? nullptr : m_ports);
}

void DeviceConnectButton::fillMenu()
{
    m_ports->clear();
    for (const QString &port : m_state.link().availablePorts()) {
        connect(
            m_ports->addAction(PlainText::label(port)), &QAction::triggered, this,
            [this, port] { m_state.errors().reportFailureOf(m_state.link().connectDevice(port)); });
    }
    // Words, not a command: the theme gives them the secondary color.
    if (m_ports->isEmpty())
        m_ports->addAction(tr("No serial ports found"))->setEnabled(false);
    m_ports->addSeparator();
    connect(m_ports->addAction(tr("Refresh ports")), &QAction::triggered, this,
            [this] { m_state.link().refreshPorts(); });
}

} // namespace Korvane
