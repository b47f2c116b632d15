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
    /// \p state must outlive this.
    explicit DeviceConnectButton(AppState &state, QWidget *parent = nullptr);

private:
    void showState();

    AppState &m_state;
    QMenu *m_ports;
};

} // namespace Korvane
