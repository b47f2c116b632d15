#pragma once

#include <QWidget>

class QComboBox;

namespace Korvane {

class AppState;

/// Chooses the baud rate of each serial port, which takes effect at the next connection.
class BaudRateField final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit BaudRateField(AppState &state, QWidget *parent = nullptr);

private:
    void listPorts();
    void showRate();

    AppState &m_state;
    QComboBox *m_port;
    QComboBox *m_rate;
};

} // namespace Korvane
