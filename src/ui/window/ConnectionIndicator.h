#pragma once

#include <QWidget>

class QLabel;

namespace Korvane {

class AppState;

/// A dot and a word for the state of the link to the board.
class ConnectionIndicator final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit ConnectionIndicator(AppState &state, QWidget *parent = nullptr);

private:
    class Dot;

    void showState();

    AppState &m_state;
    Dot *m_dot;
    QLabel *m_caption;
};

} // namespace Korvane
