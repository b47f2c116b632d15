#pragma once

#include <QKeySequence>
#include <QObject>

#include <functional>

class QAction;
class QMainWindow;
class QMenu;

namespace Korvane {

class AppState;
class CodeEditorView;
class EditorTabStrip;

/// The program's own menus in the menu bar, but for the assistant's and Help.
class AppCommands final : public QObject
{
    Q_OBJECT

public:
    /// Fills the menu bar of \p window, which owns this. All must outlive this.
    AppCommands(AppState &state, EditorTabStrip &tabs, CodeEditorView &editor, QMainWindow &window);

private:
    void addFileMenu();
    void addEditMenu();
    void addDebugMenu();
    QAction *add(QMenu *menu, const QString &title, const QKeySequence &keys,
                 std::function<void()> run);
    /// An operation of whichever text has the focus, by the name of its slot.
    void addEdit(QMenu *menu, const QString &title, const QKeySequence &keys, const char *slot);

    AppState &m_state;
    EditorTabStrip &m_tabs;
    CodeEditorView &m_editor;
    QMainWindow &m_window;
};

} // namespace Korvane
