#include "ui/window/ViewCommands.h"

#include "app/AppState.h"
#include "ui/controls/PlainText.h"
#include "ui/window/EditorTabStrip.h"

#include <QActionGroup>
#include <QMainWindow>
#include <QMenuBar>

namespace Korvane {

ViewCommands::ViewCommands(AppState &state, EditorTabStrip &tabs, QMainWindow &window)
    : QObject(&window)
    , m_state(state)
    , m_tabs(tabs)
{
    QMenu *menu = window.menuBar()->addMenu(tr("&View"));
    menu->setObjectName(QStringLiteral("viewMenu"));
    const auto sidebar = [&state](const QString &title, AppState::SidebarTab tab) {
        return Pane{title, [&state, tab] { return state.sidebarTab() == tab; },
                    [&state, tab] { state.setSidebarTab(tab); }};
    };
    const auto bottom = [&state](const QString &title, AppState::BottomTab tab) {
        return Pane{title, [&state, tab] { return state.bottomTab() == tab; },
                    [&state, tab] { state.setBottomTab(tab); }};
    };
    addPanes(menu,
             {sidebar(tr("&Local Files"), AppState::SidebarTab::Local),
              sidebar(tr("&Device Files"), AppState::SidebarTab::Device)},
             &AppState::sidebarTabChanged);
    addPanes(menu,
             {bottom(tr("&Shell"), AppState::BottomTab::Shell),
              bottom(tr("&Variables"), AppState::BottomTab::Variables)},
             &AppState::bottomTabChanged);
    addTabKeys(menu);
    QMenu *files = menu->addMenu(tr("&Open Files"));
    connect(files, &QMenu::aboutToShow, this, [this, files] { listOpenFiles(files); });
}

void ViewCommands::addPanes(QMenu *menu, const QList<Pane> &panes, void (AppState::*changed)())
{
    auto *group = new QActionGroup(this);
    for (const Pane &pane : panes) {
        QAction *action = group->addAction(pane.title);
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, pane.show);
        const auto follow = [action, isShown = pane.isShown] { action->setChecked(isShown()); };
        connect(&m_state, changed, action, follow);
        follow();
    }
    menu->addActions(group->actions());
    menu->addSeparator();
}

void ViewCommands::addTabKeys(QMenu *menu)
{
    const auto add = [this, menu](const QString &title, int step, const QList<QKeySequence> &keys) {
        QAction *action = menu->addAction(title);
        action->setShortcuts(keys);
        connect(action, &QAction::triggered, this, [this, step] { m_tabs.step(step); });
    };
    add(tr("&Next File"), 1,
        {QKeySequence(Qt::CTRL | Qt::Key_Tab), QKeySequence(Qt::CTRL | Qt::Key_PageDown)});
    // With Shift held, the Tab key is another one.
    add(tr("&Previous File"), -1,
        {QKeySequence(Qt::CTRL | Qt::Key_PageUp), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab),
         QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backtab)});
}

void ViewCommands::listOpenFiles(QMenu *menu)
{
    menu->clear();
    for (const EditorFile *file : m_state.documents().openFiles()) {
        QAction *action = menu->addAction(PlainText::label(file->name()));
        action->setCheckable(true);
        action->setChecked(file->id() == m_state.documents().selectedFileID());
        connect(action, &QAction::triggered, this,
                [this, id = file->id()] { m_state.documents().select(id); });
    }
}

} // namespace Korvane
