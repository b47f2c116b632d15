#pragma once

#include <QCoro/QCoroTask>
#include <QMainWindow>

class QMenu;

namespace Korvane {

class Actions;
class AppCommands;
class AppState;
class BottomPane;
class CodeEditorView;
class EditorArea;
class PaneCommands;
class SidebarView;
class WindowCommands;

/// The main window. It sets no title: KorvaneApp sets the program's name.
class ContentView final : public QMainWindow
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit ContentView(AppState &state, QWidget *parent = nullptr);

    [[nodiscard]] const Actions &commands() const { return *m_commands; }
    [[nodiscard]] QMenu &fileMenu();
    [[nodiscard]] QMenu &viewMenu();
    [[nodiscard]] CodeEditorView &editor();
    /// Shows the Shell, also where the lower pane is hidden. Does not move the focus.
    void showShell();

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    /// Closes when nothing is being written or sent and no edits would be lost. Otherwise waits for
    /// the writes, asks about the rest, and closes unless the user cancels.
    void closeEvent(QCloseEvent *event) override;
    /// Escape cancels the transfer, unless the focused widget handles it, such as the find bar.
    void keyPressEvent(QKeyEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    QCoro::Task<void> closeWhenWritten();
    void connectTabs();
    void connectFocus();
    void runPiece();
    /// Gives the focus to the next visible pane in the order editor, lower pane, sidebar, or with
    /// \p step -1 to the previous one.
    void focusPane(int step);
    /// Whether \p keys is the shortcut of a command that applies while \p focused has the focus.
    [[nodiscard]] bool isOwnShortcut(const QKeySequence &keys, const QObject *focused) const;

    AppState &m_state;
    bool m_isClosing = false;
    bool m_mayClose = false; // the next close event comes from closeWhenWritten()
    Actions *m_commands;
    SidebarView *m_sidebar;
    EditorArea *m_editorArea;
    BottomPane *m_bottomPane;
    AppCommands *m_appCommands;
    WindowCommands *m_windowCommands;
    PaneCommands *m_panes;
};

} // namespace Korvane
