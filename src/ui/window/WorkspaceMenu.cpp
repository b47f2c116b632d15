#include "ui/window/WorkspaceMenu.h"

#include "app/AppState.h"
#include "app/Workspace.h"
#include "base/DisplayPath.h"
#include "ui/controls/PlainText.h"
#include "ui/window/LocalFileOpening.h"

#include <QAction>
#include <QMenu>

namespace Korvane {

WorkspaceMenu::WorkspaceMenu(Workspace &workspace, AppState &state, QMenu &file, QAction *next)
    : QObject(&file)
    , m_workspace(workspace)
    , m_state(state)
    , m_recent(new QMenu(tr("Open &Recent"), &file))
    , m_reopenClosed(new QAction(tr("Reopen Closed &Tab"), this))
    , m_reopenOfBoard(new QAction(tr("Reopen Files of This &Board"), this))
{
    m_recent->setObjectName(QStringLiteral("recent"));
    m_reopenClosed->setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_T);
    file.insertMenu(next, m_recent);
    file.insertActions(next, {m_reopenClosed, m_reopenOfBoard});
    file.insertSeparator(next);
    connect(m_recent, &QMenu::aboutToShow, this, &WorkspaceMenu::fillRecent);
    connect(m_reopenClosed, &QAction::triggered, &workspace, &Workspace::reopenClosed);
    connect(m_reopenOfBoard, &QAction::triggered, &workspace, &Workspace::openBoardDocuments);
    connect(&workspace, &Workspace::changed, this, &WorkspaceMenu::update);
    update();
}

void WorkspaceMenu::fillRecent()
{
    m_recent->clear();
    addPaths(m_workspace.recentFiles(), false);
    m_recent->addSeparator();
    addPaths(m_workspace.recentFolders(), true);
    m_recent->addSeparator();
    m_recent->addAction(tr("&Clear List"), &m_workspace, &Workspace::clearRecent);
}

void WorkspaceMenu::addPaths(const QStringList &paths, bool areFolders)
{
    for (const QString &path : paths) {
        QAction *action = m_recent->addAction(PlainText::label(displayPath(path)));
        if (areFolders)
            connect(action, &QAction::triggered, this,
                    [this, path] { openLocalFolder(m_state, path); });
        else
            connect(action, &QAction::triggered, this,
                    [this, path] { openLocalFiles(m_state, {{path}}); });
    }
}

void WorkspaceMenu::update()
{
    m_recent->setEnabled(!m_workspace.recentFiles().isEmpty()
                         || !m_workspace.recentFolders().isEmpty());
    m_reopenClosed->setEnabled(m_workspace.hasClosed());
    m_reopenOfBoard->setVisible(m_workspace.boardDocumentCount() > 0);
}

} // namespace Korvane
