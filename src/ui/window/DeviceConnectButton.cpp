#include "ui/window/DeviceConnectButton.h"

#include "app/AppState.h"
#include "board/DeviceLink.h"
#include "theme/Icons.h"
#include "ui/controls/PlainText.h"

#include <QMenu>

namespace Korvane {

DeviceConnectButton::DeviceConnectButton(AppState &state, QMenu &ports, QWidget *parent)
    : QToolButton(parent)
    , m_state(state)
    , m_ports(ports)
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
    showState();
}

void DeviceConnectButton::showState()
{
    const DeviceConnectionState &connection = m_state.link().connectionState();
    const bool isConnected = connection.isConnected();
    if (isConnected) {
        m_ports.close();
        setText(tr("Disconnect"));
        setIcon(Icons::icon(QStringLiteral("cable.connector.slash"), Theme::Role::Orange));
        setToolTip(PlainText::toolTip(
            tr("Disconnect from %1").arg(m_state.board().nameOf(connection.port()))));
    } else {
        const bool isConnecting = connection.kind() == DeviceConnectionState::Kind::Connecting;
        setText(isConnecting ? tr("Connecting…") : tr("Connect Device"));
        setIcon(Icons::icon(QStringLiteral("cable.connector")));
        setToolTip(tr("Connect a MicroPython device"));
    }
    setMenu(isConnected ? nullptr : &m_ports);
}

} // namespace Korvane
