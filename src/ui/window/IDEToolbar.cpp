#include "ui/window/IDEToolbar.h"

#include "app/AppState.h"
#include "ui/window/Actions.h"
#include "ui/window/DeviceConnectButton.h"
#include "ui/window/SendToDeviceButton.h"

#include <QAction>
#include <QToolButton>

namespace Korvane {

IDEToolbar::IDEToolbar(AppState &state, const Actions &actions, QWidget *parent)
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
    for (const Actions::Command command : {Actions::Run, Actions::Stop, Actions::Debug})
        addCommand(actions[command], Label::Shown);
    addWidget(new SendToDeviceButton(state, *actions[Actions::SendToDevice]));
    addSpace();
    addWidget(new DeviceConnectButton(state));
    // The button that opens the rest of a narrow toolbar is Qt's own and has no name.
    if (auto *more = findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button"))) {
        more->setAccessibleName(tr("More"));
        more->setToolTip(tr("More"));
        more->setFocusPolicy(Qt::TabFocus);
    }
    moveFocus(actions[Actions::Run], actions[Actions::Stop]);
    moveFocus(actions[Actions::Stop], actions[Actions::Run]);
}

void IDEToolbar::addCommand(QAction *action, Label label)
{
    addAction(action);
    auto *button = qobject_cast<QToolButton *>(widgetForAction(action));
    button->setObjectName(action->objectName());
    button->setAccessibleName(action->iconText());
    button->setFocusPolicy(Qt::TabFocus);
    button->setToolButtonStyle(label == Label::Shown ? Qt::ToolButtonTextBesideIcon
                                                     : Qt::ToolButtonIconOnly);
}

void IDEToolbar::addSpace()
{
    auto *space = new QWidget;
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    addWidget(space);
}

void IDEToolbar::moveFocus(QAction *shown, QAction *hidden)
{
    connect(shown, &QAction::visibleChanged, this, [this, shown, hidden] {
        if (!shown->isVisible() || !widgetForAction(hidden)->hasFocus())
            return;
        widgetForAction(shown)->show(); // the toolbar itself shows it only later
        widgetForAction(shown)->setFocus();
    });
}

} // namespace Korvane
