#pragma once

#include <QWidget>

#include <optional>

class QAction;
class QLabel;
class QToolButton;

namespace Korvane {

class Actions;
class AppState;
class ElidedLabel;
class ProgressIndicator;
class SymbolView;

/// Shows whether the debugged program runs or at which line it is paused, and has the buttons Step,
/// Continue and Stop. Visible while a program is debugged.
class DebugBar final : public QWidget
{
    Q_OBJECT

public:
    /// \p state and \p actions must outlive this.
    DebugBar(AppState &state, const Actions &actions, QWidget *parent = nullptr);

signals:
    /// The bar was hidden while one of its buttons had the focus.
    void hiddenWithFocus();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    [[nodiscard]] QToolButton *makeButton(QAction *action);
    void showState();
    /// \p line is that of the stop; not set while the program runs.
    void showLine(const std::optional<int> &line);
    /// Hides the texts of the buttons where they would cut off the status.
    void fitButtons();

    AppState &m_state;
    ProgressIndicator *m_progress;
    SymbolView *m_pauseSymbol;
    QLabel *m_status;
    ElidedLabel *m_hint; // hidden where there is little room
};

} // namespace Korvane
