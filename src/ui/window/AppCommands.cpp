#include "ui/window/AppCommands.h"

#include "app/AppState.h"
#include "editor/CodeEditorView.h"
#include "editor/EditorCommands.h"
#include "ui/controls/PlainText.h"
#include "ui/window/Actions.h"
#include "ui/window/PortsMenu.h"

#include <QAction>
#include <QMainWindow>
#include <QMenuBar>

namespace Korvane {

AppCommands::AppCommands(AppState &state, Actions &actions, CodeEditorView &editor,
                         QMainWindow &window)
    : QObject(&window)
    , m_state(state)
    , m_actions(actions)
    , m_editor(editor)
    , m_window(window)
{
    addFileMenu();
    addEditMenu();
    addViewMenu();
    addRunMenu();
    addDebugMenu();
    addBoardMenu();
    addBrowserMenu();
}

void AppCommands::addFileMenu()
{
    m_fileMenu = m_window.menuBar()->addMenu(tr("&File"));
    m_fileMenu->addActions({m_actions[Actions::NewFile], m_actions[Actions::OpenFile]});
    m_fileMenu->addSeparator();
    m_fileMenu->addActions({m_actions[Actions::Save], m_actions[Actions::SaveAs]});
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(m_actions[Actions::SendToDevice]);
    m_fileMenu->addSeparator();
    m_fileMenu->addActions({m_actions[Actions::CloseFile], m_actions[Actions::Quit]});
}

void AppCommands::addEditMenu()
{
    QMenu *menu = m_window.menuBar()->addMenu(tr("&Edit"));
    menu->addActions({m_actions[Actions::Undo], m_actions[Actions::Redo]});
    menu->addSeparator();
    menu->addActions(
        {m_actions[Actions::Cut], m_actions[Actions::Copy], m_actions[Actions::Paste]});
    menu->addSeparator();
    menu->addAction(m_actions[Actions::SelectAll]);
    menu->addSeparator();
    const EditorCommands &editor = m_editor.commands();
    menu->addActions({editor[EditorCommands::Find], editor[EditorCommands::FindNext],
                      editor[EditorCommands::FindPrevious], editor[EditorCommands::Replace],
                      editor[EditorCommands::SelectNextOccurrence],
                      editor[EditorCommands::GoToLine], m_actions[Actions::FindInFiles]});
    menu->addSeparator();
    menu->addMenu(tr("&Lines"))
        ->addActions({editor[EditorCommands::Indent], editor[EditorCommands::Unindent],
                      editor[EditorCommands::ToggleComment], editor[EditorCommands::MoveLinesUp],
                      editor[EditorCommands::MoveLinesDown], editor[EditorCommands::DuplicateLines],
                      editor[EditorCommands::DeleteLines], editor[EditorCommands::JoinLines]});
    menu->addSeparator();
    menu->addAction(m_actions[Actions::ShowPreferences]);
}

void AppCommands::addViewMenu()
{
    m_viewMenu = m_window.menuBar()->addMenu(tr("&View"));
    m_viewMenu->addActions(
        {m_actions[Actions::ShowLocalFiles], m_actions[Actions::ShowDeviceFiles]});
    m_viewMenu->addSeparator();
    m_viewMenu->addActions({m_actions[Actions::ShowShell], m_actions[Actions::ShowVariables]});
    m_viewMenu->addSeparator();
    m_viewMenu->addActions({m_actions[Actions::NextPane], m_actions[Actions::PreviousPane],
                            m_actions[Actions::NextFile], m_actions[Actions::PreviousFile]});
    QMenu *files = m_viewMenu->addMenu(tr("Open &Files"));
    connect(files, &QMenu::aboutToShow, this, [this, files] { listOpenFiles(files); });
    m_viewMenu->addSeparator();
    m_viewMenu->addActions({m_actions[Actions::ShowCommands], m_actions[Actions::ZoomIn],
                            m_actions[Actions::ZoomOut], m_actions[Actions::ResetZoom]});
}

void AppCommands::addRunMenu()
{
    QMenu *menu = m_window.menuBar()->addMenu(tr("&Run"));
    menu->addActions(
        {m_actions[Actions::Run], m_actions[Actions::RunPiece], m_actions[Actions::Stop]});
    menu->addSeparator();
    menu->addAction(m_actions[Actions::FollowTraceback]);
}

void AppCommands::addDebugMenu()
{
    QMenu *menu = m_window.menuBar()->addMenu(tr("&Debug"));
    menu->addActions({m_actions[Actions::Debug], m_actions[Actions::Step],
                      m_actions[Actions::Continue], m_actions[Actions::StopDebugging]});
    menu->addSeparator();
    menu->addActions({m_editor.commands()[EditorCommands::ToggleBreakpoint],
                      m_actions[Actions::ClearBreakpoints]});
}

void AppCommands::addBoardMenu()
{
    QMenu *menu = m_window.menuBar()->addMenu(tr("&Board"));
    m_portsMenu = new PortsMenu(m_state, tr("C&onnect"), menu);
    menu->addMenu(m_portsMenu);
    menu->addAction(m_actions[Actions::DisconnectBoard]);
    menu->addSeparator();
    menu->addActions({m_actions[Actions::InterruptBoard], m_actions[Actions::ResetBoard]});
    menu->addSeparator();
    menu->addActions({m_actions[Actions::ShowBoardDetails], m_actions[Actions::SetBoardClock]});
}

void AppCommands::addBrowserMenu()
{
    QMenu *menu = m_window.menuBar()->addMenu(tr("Bro&wser"));
    menu->addActions({m_actions[Actions::OpenEntries], m_actions[Actions::CopyEntries],
                      m_actions[Actions::SendChangedFiles]});
    menu->addSeparator();
    menu->addActions({m_actions[Actions::CreateFile], m_actions[Actions::CreateFolder]});
    menu->addSeparator();
    menu->addActions({m_actions[Actions::RenameEntry], m_actions[Actions::DeleteEntries]});
}

void AppCommands::listOpenFiles(QMenu *menu)
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
