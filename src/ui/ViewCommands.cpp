#include "ui/ViewCommands.h"

#include "app/AppState.h"
#include "ui/EditorTabStrip.h"
#include "ui/PlainText.h"

#include <QActionGroup>
#include <QMainWindow>
#include <QMenuBar>

namespace Korvane {

ViewCommands::ViewCommands(AppState &state, EditorTabStrip &tabs, QMainWindow &window)
    : QObject(&window)
    , m_state(state)
    , m_tabs(tabs)
    , m_window(window)
{
    using Sidebar = AppState::SidebarTab;
    using Bottom = AppState::BottomTab;
    QMenu *menu = window.menuBar()->addMenu(tr("&View"));
    addChoice<Sidebar>(
        menu, {{tr("&Local Files"), Sidebar::Local}, {tr("&Device Files"), Sidebar::Device}},
        &AppState::sidebarTab, &AppState::setSidebarTab, &AppState::sidebarTabChanged);
    addChoice<Bottom>(menu, {{tr("&Shell"), Bottom::Shell}, {tr("&Variables"), Bottom::Variables}},
                      &AppState::bottomTab, &AppState::setBottomTab, &AppState::bottomTabChanged);
    addTabKeys(menu);
    QMenu *files = menu->addMenu(tr("&Open Files"));
    connect(files, &QMenu::aboutToShow, this, [this, files] { listOpenFiles(files); });
}

template <typename Tab>
void ViewCommands::addChoice(QMenu *menu, const QList<std::pair<QString, Tab>> &tabs,
                             Tab (AppState::*current)() const, void (AppState::*choose)(Tab),
                             void (AppState::*changed)())
{
    auto *group = new QActionGroup(this);
    for (const auto &[title, tab] : tabs) {
        QAction *action = group->addAction(title);
        action->setCheckable(true);
        connect(action, &QAction::triggered, this,
                [this, choose, tab = tab] { (m_state.*choose)(tab); });
        const auto follow = [this, action, current, tab = tab] {
            action->setChecked((m_state.*current)() == tab);
        };
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
    for (const EditorFile &file : m_state.documents().openFiles()) {
        QAction *action = menu->addAction(PlainText::label(file.name));
        action->setCheckable(true);
        action->setChecked(file.id == m_state.documents().selectedFileID());
        connect(action, &QAction::triggered, this,
                [this, id = file.id] { m_state.documents().select(id); });
    }
}

} // namespace Korvane
