#include "ui/IDEToolbar.h"

#include "app/AppState.h"
#include "ui/DeviceConnectButton.h"
#include "ui/Icons.h"
#include "ui/KeyText.h"

#include <QToolButton>

namespace Korvane {

IDEToolbar::IDEToolbar(AppState &state, QWidget *parent)
    : QToolBar(tr("Toolbar"), parent)
    , m_state(state)
{
    setObjectName(QStringLiteral("toolbar"));
    setAccessibleName(tr("Toolbar"));
    setMovable(false);
    setFloatable(false);
    setContextMenuPolicy(Qt::PreventContextMenu); // it is not to be hidden

    QAction *newFile = addCommand(QStringLiteral("doc.badge.plus"), Theme::Role::Label,
                                  tr("New File"), tr("New File (⌘N)"), Label::Hidden);
    connect(newFile, &QAction::triggered, this, [this] { m_state.documents().newFile(); });

    addSeparator();
    m_run = addCommand(QStringLiteral("play.circle.fill"), Theme::Role::Green, tr("Run"),
                       tr("Run current file (⌘R)"), Label::Shown);
    m_run->setShortcut(KeyText::sequence(u"⌘R"));
    connect(m_run, &QAction::triggered, this, [this] { m_state.runCurrentFile(); });
    m_stop = addCommand(QStringLiteral("stop.circle.fill"), Theme::Role::Red, tr("Stop"),
                        tr("Stop (⌘.)"), Label::Shown);
    m_stop->setShortcut(KeyText::sequence(u"⌘."));
    connect(m_stop, &QAction::triggered, this, [this] { m_state.stopRun(); });
    connect(&state, &AppState::isRunningChanged, this, &IDEToolbar::showRunning);

    addSpace();
    addWidget(new DeviceConnectButton(state));
    // What opens the rest of a toolbar that is too narrow is the toolkit's own, without a name.
    if (auto *more = findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button"))) {
        more->setAccessibleName(tr("More"));
        more->setToolTip(tr("More"));
        more->setFocusPolicy(Qt::TabFocus);
    }
    showRunning();
}

QAction *IDEToolbar::addCommand(const QString &symbol, Theme::Role role, const QString &name,
                                const QString &help, Label label)
{
    QAction *action = addAction(Icons::icon(symbol, role), name);
    action->setToolTip(KeyText::rendered(help));
    auto *button = qobject_cast<QToolButton *>(widgetForAction(action));
    button->setObjectName(symbol);
    button->setAccessibleName(name);
    button->setFocusPolicy(Qt::TabFocus);
    button->setToolButtonStyle(label == Label::Shown ? Qt::ToolButtonTextBesideIcon
                                                     : Qt::ToolButtonIconOnly);
    return action;
}

void IDEToolbar::addSpace()
{
    auto *space = new QWidget;
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    addWidget(space);
}

void IDEToolbar::showRunning()
{
    QAction *shown = m_state.isRunning() ? m_stop : m_run;
    QAction *hidden = m_state.isRunning() ? m_run : m_stop;
    // Who pressed the one with a key finds the other under it.
    const bool hadFocus = widgetForAction(hidden)->hasFocus();
    shown->setVisible(true);
    if (hadFocus) {
        widgetForAction(shown)->show(); // the toolbar itself would do so only later
        widgetForAction(shown)->setFocus();
    }
    hidden->setVisible(false); // an action that is not visible has no shortcut either
}

} // namespace Korvane
