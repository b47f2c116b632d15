#pragma once

#include <QToolBar>

class QMenu;
class QToolButton;

namespace Korvane {

class Actions;
class AppState;

/// The window's toolbar.
class IDEToolbar final : public QToolBar
{
    Q_OBJECT

public:
    /// \p state, \p actions and \p ports, the menu of the ports, must outlive this.
    IDEToolbar(AppState &state, const Actions &actions, QMenu &ports, QWidget *parent = nullptr);

private:
    enum class Label { Hidden, Shown };

    void addCommand(QAction *action, Label label);
    void describe(QToolButton &button, const QAction &action, Label label);
    /// Shows \p stop while a local program runs, and \p run otherwise, which has no key while it is
    /// not visible. The menu always has \p stop.
    void addStop(AppState &state, QAction *run, QAction *stop);
    void addSpace();
};

} // namespace Korvane
