#pragma once

#include <QToolButton>

class QMenu;

namespace Korvane {

class AppState;

/// Connects a board through a menu of ports, or disconnects it.
class DeviceConnectButton final : public QToolButton
{
    Q_OBJECT

public:
    /// \p state and \p ports, the menu of the ports, must outlive this.
    DeviceConnectButton(AppState &state, QMenu &ports, QWidget *parent = nullptr);

private:
    void showState();

    AppState &m_state;
    QMenu &m_ports;
};

} // namespace Korvane
