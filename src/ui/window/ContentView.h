#pragma once

#include <QCoro/QCoroTask>
#include <QMainWindow>

class QMenu;
class QMimeData;

namespace Korvane {

class Actions;
class AppCommands;
class AppState;
class BottomPane;
class CodeEditorView;
class EditorArea;
class IDEToolbar;
class PaneCommands;
class SidebarView;
class WindowCommands;

/// The main window. It has no title of its own, so that the desktop lists it under the program's
/// name.
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
    /// Waits for writes under way, then closes.
    void closeEvent(QCloseEvent *event) override;
    /// Escape cancels the transfer, unless a widget has a use for it, such as the find bar.
    void keyPressEvent(QKeyEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    QCoro::Task<void> closeWhenWritten();
    void openDropped(const QMimeData &dropped);
    void connectTabs();
    void connectFocus();
    void runPiece();
    /// In the order editor, lower pane, sidebar; to the one before with \p step -1.
    void focusPane(int step);
    /// Of a command that applies while \p focused has the focus.
    [[nodiscard]] bool isOwnShortcut(const QKeySequence &keys, const QObject *focused) const;

    AppState &m_state;
    bool m_isClosing = false;
    bool m_mayClose = false; // the next close event was asked for by this window
    Actions *m_commands;
    SidebarView *m_sidebar;
    EditorArea *m_editorArea;
    BottomPane *m_bottomPane;
    AppCommands *m_menus;
    WindowCommands *m_tools;
    PaneCommands *m_panes;
};

} // namespace Korvane
