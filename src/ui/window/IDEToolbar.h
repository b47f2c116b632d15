#pragma once

#include <QToolBar>

namespace Korvane {

class Actions;
class AppState;

/// The window's toolbar.
class IDEToolbar final : public QToolBar
{
    Q_OBJECT

public:
    /// \p state and \p actions must outlive this.
    IDEToolbar(AppState &state, const Actions &actions, QWidget *parent = nullptr);

private:
    enum class Label { Hidden, Shown };

    void addCommand(QAction *action, Label label);
    void addSpace();
    /// When \p shown takes the place of \p hidden, it takes its focus, too.
    void moveFocus(QAction *shown, QAction *hidden);
};

} // namespace Korvane
