#pragma once

#include "base/Lifetime.h"
#include "theme/Theme.h"

#include <QCoro/QCoroTask>
#include <QKeySequence>
#include <QObject>

#include <array>
#include <functional>

class QAction;
class QMainWindow;

namespace Korvane {

class AppState;

/// One QAction for each command of the window: its text, shortcut, icon, tool tip and checked
/// state. Menus, toolbar and debug bar show these actions; no command has a second one.
///
/// Commands on the state are connected here. Commands of a view or of the assistant's server
/// (CloseFile, FindInFiles, ShowPreferences, from NextFile to ResetZoom, RunPiece, FollowTraceback,
/// those of the file browser and the last four) are connected by their owners.
class Actions final : public QObject
{
    Q_OBJECT

public:
    enum Command {
        NewFile,
        OpenFile,
        Save,
        SaveAs,
        SendToDevice,
        CloseFile,
        Quit,
        Undo,
        Redo,
        Cut,
        Copy,
        Paste,
        SelectAll,
        FindInFiles,
        ShowPreferences,
        OpenEntries, // this and the next six: of the file browser that is shown
        CopyEntries,
        SendChangedFiles,
        CreateFile,
        CreateFolder,
        RenameEntry,
        DeleteEntries,
        ShowLocalFiles,
        ShowDeviceFiles,
        ShowShell,
        ShowVariables,
        NextFile,
        PreviousFile,
        NextPane,
        PreviousPane,
        ShowCommands,
        ZoomIn,
        ZoomOut,
        ResetZoom,
        Run,  // made visible by the toolbar while no local program runs
        Stop, // also ends a program on the board
        RunPiece,
        FollowTraceback,
        Debug,
        Step,
        Continue,
        StopDebugging,
        ClearBreakpoints,
        DisconnectBoard,
        InterruptBoard,
        ResetBoard,
        ShowBoardDetails,
        SetBoardClock,
        StartOrStopServer,
        CopyConnectionCommand,
        StartServerWithProgram,
        WriteWithoutAsking,
    };
    static constexpr int commandCount = WriteWithoutAsking + 1;

    /// Child of \p window. \p state must outlive this.
    Actions(AppState &state, QMainWindow &window);

    [[nodiscard]] QAction *operator[](Command command) const { return m_actions[command]; }

    /// Calls \p run, which starts a program and would end a transfer: a save or another one that
    /// cannot be canceled has two seconds to end first; about others the user is asked. Then the
    /// document that was selected at the call is selected again; \p run is not called if it was
    /// closed, or if the transfer continues.
    QCoro::Task<void> runOnFreeBoard(std::function<void()> run);

signals:
    /// The user has chosen a command, which is carried out next.
    void commandChosen();

private:
    void addFileCommands();
    void addEditCommands();
    void addBrowserCommands();
    void addPaneCommands();
    void addRunCommands();
    void addDebugCommands();
    void addBoardCommands();
    void addServerCommands();
    QAction *add(Command command, const QString &text, const QKeySequence &key = {},
                 std::function<void()> run = {});
    /// Gives \p command what a button shows: the icon, a shorter text and the tool tip \p help.
    void describe(Command command, const QString &symbol, Theme::Role role, const QString &text,
                  const QString &help);
    /// Adds a command that calls \p slot of the widget that has the focus, if it has that slot.
    void addEdit(Command command, const QString &text, const QKeySequence &key, const char *slot);
    /// Makes two commands for two panes exclusive: that of the shown pane is checked. \p isFirst
    /// returns whether it is the first one; \p changed is the signal of a change.
    void addPanes(Command first, Command second, std::function<bool()> isFirst,
                  void (AppState::*changed)());
    QCoro::Task<void> openFile();
    void showConnection();
    void showSendHelp();

    AppState &m_state;
    QMainWindow &m_window;
    std::array<QAction *, commandCount> m_actions{};
    Lifetime m_life;
};

} // namespace Korvane
