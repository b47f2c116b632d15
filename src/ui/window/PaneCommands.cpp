#include "ui/window/PaneCommands.h"

#include <QAction>
#include <QApplication>
#include <QMainWindow>
#include <QMenu>
#include <QSplitter>

namespace Korvane {

namespace {

constexpr int resizeStep = 40;

} // namespace

PaneCommands::PaneCommands(QMainWindow &window, QMenu &menu)
    : QObject(&window)
    , m_window(window)
    , m_menu(menu)
    , m_columns(window.findChild<QSplitter *>(QStringLiteral("columns")))
    , m_detail(window.findChild<QSplitter *>(QStringLiteral("detail")))
{
    menu.addSeparator();
    m_sidebar = addToggle(tr("Side&bar"), Qt::Key_F7, m_columns, 0);
    m_lowerPane = addToggle(tr("Lo&wer Pane"), Qt::Key_F8, m_detail, 1);
    QMenu &sizes = *menu.addMenu(tr("Pane Si&ze"));
    add(sizes, tr("&Wider Sidebar"), Qt::CTRL | Qt::Key_F7,
        [this] { resizePart(m_columns, 0, resizeStep); });
    add(sizes, tr("&Narrower Sidebar"), Qt::SHIFT | Qt::Key_F7,
        [this] { resizePart(m_columns, 0, -resizeStep); });
    add(sizes, tr("&Taller Lower Pane"), Qt::CTRL | Qt::Key_F8,
        [this] { resizePart(m_detail, 1, resizeStep); });
    add(sizes, tr("&Shorter Lower Pane"), Qt::SHIFT | Qt::Key_F8,
        [this] { resizePart(m_detail, 1, -resizeStep); });
    addFullScreen();
}

void PaneCommands::showSidebar()
{
    m_columns->widget(0)->show();
    m_sidebar->setChecked(true);
}

void PaneCommands::showLowerPane()
{
    m_detail->widget(1)->show();
    m_lowerPane->setChecked(true);
}

QAction *PaneCommands::add(QMenu &menu, const QString &text, const QKeySequence &key,
                           std::function<void()> run)
{
    auto *action = new QAction(text, this);
    action->setShortcut(key);
    menu.addAction(action);
    if (run)
        connect(action, &QAction::triggered, this, std::move(run));
    return action;
}

QAction *PaneCommands::addToggle(const QString &text, const QKeySequence &key, QSplitter *splitter,
                                 int part)
{
    QAction *action = add(m_menu, text, key);
    action->setCheckable(true);
    action->setChecked(true);
    QWidget *pane = splitter->widget(part);
    // The window's state may have been restored, so the check mark may not be up to date.
    connect(action, &QAction::triggered, this, [this, action, pane] {
        const bool isShown = pane->isHidden();
        action->setChecked(isShown);
        const bool hadFocus = pane->isAncestorOf(QApplication::focusWidget());
        pane->setVisible(isShown);
        if (!isShown && hadFocus)
            m_window.findChild<QWidget *>(QStringLiteral("editor"))->setFocus();
    });
    connect(&m_menu, &QMenu::aboutToShow, action,
            [action, pane] { action->setChecked(!pane->isHidden()); });
    return action;
}

void PaneCommands::resizePart(QSplitter *splitter, int part, int pixels)
{
    if (splitter->widget(part)->isHidden())
        return;
    QList<int> sizes = splitter->sizes();
    sizes[part] += pixels;
    sizes[1 - part] -= pixels;
    splitter->setSizes(sizes); // limited by the minimum sizes of the parts
    emit splitter->splitterMoved(sizes[0], 1);
}

void PaneCommands::addFullScreen()
{
    QAction *action = add(m_menu, tr("Full S&creen"), Qt::Key_F11);
    action->setCheckable(true);
    connect(action, &QAction::triggered, this, [this, action] {
        const bool isFull = !m_window.isFullScreen();
        action->setChecked(isFull);
        m_window.setWindowState(m_window.windowState().setFlag(Qt::WindowFullScreen, isFull));
    });
    connect(&m_menu, &QMenu::aboutToShow, action,
            [this, action] { action->setChecked(m_window.isFullScreen()); });
}

} // namespace Korvane
