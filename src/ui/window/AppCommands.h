#pragma once

#include <QObject>

class QMainWindow;
class QMenu;

namespace Korvane {

class Actions;
class AppState;
class CodeEditorView;

/// The menus File, Edit, View, Run, Debug, Board and Browser of the menu bar.
class AppCommands final : public QObject
{
    Q_OBJECT

public:
    /// Fills the menu bar of \p window, which owns this. \p state, \p actions and \p editor must
    /// outlive this.
    AppCommands(AppState &state, Actions &actions, CodeEditorView &editor, QMainWindow &window);

    /// The menu File, whose last two entries are Close and Quit.
    [[nodiscard]] QMenu &fileMenu() { return *m_fileMenu; }
    /// The menu View, at the end of which other classes add their commands.
    [[nodiscard]] QMenu &viewMenu() { return *m_viewMenu; }
    /// The ports to connect to.
    [[nodiscard]] QMenu &portsMenu() { return *m_portsMenu; }

private:
    void addFileMenu();
    void addEditMenu();
    void addViewMenu();
    void addRunMenu();
    void addDebugMenu();
    void addBoardMenu();
    void addBrowserMenu();
    void listOpenFiles(QMenu *menu);

    AppState &m_state;
    Actions &m_actions;
    CodeEditorView &m_editor;
    QMainWindow &m_window;
    QMenu *m_fileMenu = nullptr;
    QMenu *m_viewMenu = nullptr;
    QMenu *m_portsMenu = nullptr;
};

} // namespace Korvane
