#pragma once

#include <QToolButton>

namespace Korvane {

class AppState;
class ProgressIndicator;

/// Sends the selected document to the board. While anything is sent or copied, a progress indicator
/// takes the place of its symbol.
class SendToDeviceButton final : public QToolButton
{
    Q_OBJECT

public:
    /// Shows and triggers \p action. \p state and \p action must outlive this.
    SendToDeviceButton(AppState &state, QAction &action, QWidget *parent = nullptr);

protected:
    void resizeEvent(QResizeEvent *event) override;
    /// Removes the text, which Qt shows when an icon is missing.
    void initStyleOption(QStyleOptionToolButton *option) const override;

private:
    void showSending();

    AppState &m_state;
    QAction &m_action;
    ProgressIndicator *m_progress;
};

} // namespace Korvane
