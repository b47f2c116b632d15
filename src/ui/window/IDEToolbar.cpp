#include "ui/window/IDEToolbar.h"

#include "app/AppState.h"
#include "theme/Icons.h"
#include "ui/controls/KeyText.h"
#include "ui/window/DeviceConnectButton.h"
#include "ui/window/SendToDeviceButton.h"

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

    addFileCommands();
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

    m_debug = addCommand(QStringLiteral("ladybug.fill"), Theme::Role::SecondaryLabel, tr("Debug"),
                         {}, Label::Shown);
    m_debug->setShortcut(KeyText::sequence(u"⌘Y"));
    connect(m_debug, &QAction::triggered, this, [this] { m_state.startDebugRun(); });
    connect(&state.link(), &DeviceLink::connectionStateChanged, this, &IDEToolbar::showConnection);

    addWidget(new SendToDeviceButton(state));
    addSpace();
    addWidget(new DeviceConnectButton(state));
    // What opens the rest of a toolbar that is too narrow is the toolkit's own, without a name.
    if (auto *more = findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button"))) {
        more->setAccessibleName(tr("More"));
        more->setToolTip(tr("More"));
        more->setFocusPolicy(Qt::TabFocus);
    }
    showRunning();
    showConnection();
}

void IDEToolbar::addFileCommands()
{
    const Theme::Role role = Theme::Role::Label;
    QAction *newFile = addCommand(QStringLiteral("doc.badge.plus"), role, tr("New File"),
                                  tr("New File (⌘N)"), Label::Hidden);
    connect(newFile, &QAction::triggered, this, [this] { m_state.documents().newFile(); });
    QAction *open = addCommand(QStringLiteral("folder"), role, tr("Open File"),
                               tr("Open File (⌘O)"), Label::Hidden);
    connect(open, &QAction::triggered, this, [this] { openFile(); });
    QAction *save = addCommand(QStringLiteral("square.and.arrow.down"), role, tr("Save"),
                               tr("Save (⌘S)"), Label::Hidden);
    connect(save, &QAction::triggered, this, [this] { m_state.saving().save(); });
}

QCoro::Task<void> IDEToolbar::openFile()
{
    const auto life = m_life.watch();
    const QString path =
        co_await m_state.prompts().askOpenPath(m_state.localFiles().localWorkingDir());
    if (!life || path.isEmpty())
        co_return;
    // A file that can't be read changes nothing, and is not worth a line in the Shell here.
    static_cast<void>(co_await m_state.documents().openFile(path));
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

void IDEToolbar::showConnection()
{
    const bool isConnected = m_state.link().connectionState().isConnected();
    m_debug->setIcon(Icons::icon(QStringLiteral("ladybug.fill"),
                                 isConnected ? Theme::Role::Orange : Theme::Role::SecondaryLabel));
    m_debug->setToolTip(
        KeyText::rendered(isConnected ? tr("Run on the device, stopping at each breakpoint (⌘Y)")
                                      : tr("Connect a device to debug on it")));
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
