#pragma once

#include <QToolButton>

namespace Korvane {

class AppState;
class ProgressIndicator;

/// Sends the selected document to the board. While anything is sent or copied it shows that in
/// place of its symbol.
class SendToDeviceButton final : public QToolButton
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit SendToDeviceButton(AppState &state, QWidget *parent = nullptr);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void showHelp();
    void showSending();

    AppState &m_state;
    ProgressIndicator *m_progress;
};

} // namespace Korvane
