#pragma once

#include <QObject>
#include <QStringList>

class QAction;
class QMenu;

namespace Korvane {

class AppState;
class Workspace;

/// The commands of the menu File for recent files and folders and for closed tabs.
class WorkspaceMenu final : public QObject
{
    Q_OBJECT

public:
    /// Inserts the commands into \p file before \p next, and becomes a child of \p file.
    /// \p workspace and \p state must outlive this.
    WorkspaceMenu(Workspace &workspace, AppState &state, QMenu &file, QAction *next);

private:
    void fillRecent();
    void addPaths(const QStringList &paths, bool areFolders);
    void update();

    Workspace &m_workspace;
    AppState &m_state;
    QMenu *m_recent;
    QAction *m_reopenClosed;
    QAction *m_reopenOfBoard;
};

} // namespace Korvane
