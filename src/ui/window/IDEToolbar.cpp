#include "ui/window/IDEToolbar.h"

#include "app/AppState.h"
#include "ui/window/Actions.h"
#include "ui/window/DeviceConnectButton.h"
#include "ui/window/SendToDeviceButton.h"

#include <QAction>
#include <QToolButton>

namespace Korvane {

IDEToolbar::IDEToolbar(AppState &state, const Actions &actions, QMenu &ports, QWidget *parent)
    : QToolBar(tr("Toolbar"), parent)
{
    setObjectName(QStringLiteral("toolbar"));
    setAccessibleName(tr("Toolbar"));
    setMovable(false);
    setFloatable(false);
    setContextMenuPolicy(Qt::PreventContextMenu); // the toolbar cannot be hidden

    for (const Actions::Command command : {Actions::NewFile, Actions::OpenFile, Actions::Save})
        addCommand(actions[command], Label::Hidden);
    addSeparator();
    addCommand(actions[Actions::Run], Label::Shown);
    addStop(state, actions[Actions::Run], actions[Actions::Stop]);
    addCommand(actions[Actions::Debug], Label::Shown);
    addWidget(new SendToDeviceButton(state, *actions[Actions::SendToDevice]));
    addSpace();
    addWidget(new DeviceConnectButton(state, ports));
    // The button that opens the rest of a narrow toolbar is Qt's own and has no name.
    if (auto *more = findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button"))) {
        more->setAccessibleName(tr("More"));
        more->setToolTip(tr("More"));
        more->setFocusPolicy(Qt::TabFocus);
    }
}

void IDEToolbar::addCommand(QAction *action, Label label)
{
    addAction(action);
    describe(*qobject_cast<QToolButton *>(widgetForAction(action)), *action, label);
}

void IDEToolbar::describe(QToolButton &button, const QAction &action, Label label)
{
    button.setObjectName(action.objectName());
    button.setAccessibleName(action.iconText());
    button.setFocusPolicy(Qt::TabFocus);
    button.setToolButtonStyle(label == Label::Shown ? Qt::ToolButtonTextBesideIcon
                                                    : Qt::ToolButtonIconOnly);
}

void IDEToolbar::addStop(AppState &state, QAction *run, QAction *stop)
{
    auto *button = new QToolButton;
    button->setDefaultAction(stop);
    button->setAutoRaise(true);
    describe(*button, *stop, Label::Shown);
    connect(this, &QToolBar::iconSizeChanged, button, &QToolButton::setIconSize);
    button->setIconSize(iconSize());
    QAction *place = addWidget(button);
    place->setVisible(state.isRunning());
    connect(&state, &AppState::isRunningChanged, this, [this, &state, run, button, place] {
        const bool isRunning = state.isRunning();
        QWidget *runButton = widgetForAction(run);
        QWidget *hidden = isRunning ? runButton : button;
        QWidget *shown = isRunning ? static_cast<QWidget *>(button) : runButton;
        const bool hadFocus = hidden->hasFocus();
        run->setVisible(!isRunning);
        place->setVisible(isRunning);
        if (!hadFocus)
            return;
        shown->show(); // the toolbar itself shows it only later
        shown->setFocus();
    });
}

void IDEToolbar::addSpace()
{
    auto *space = new QWidget;
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    addWidget(space);
}

} // namespace Korvane
