#pragma once

#include <QMenu>

namespace Korvane {

class AppState;

/// The ports to connect to, by the names of their boards.
class PortsMenu final : public QMenu
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    PortsMenu(AppState &state, const QString &title, QWidget *parent);

private:
    void fill();

    AppState &m_state;
};

} // namespace Korvane
