#include "ui/window/AppCommands.h"

#include "app/AppState.h"
#include "editor/CodeEditorView.h"
#include "ui/controls/KeyText.h"
#include "ui/window/EditorTabStrip.h"
#include "ui/window/ViewCommands.h"

#include <QAction>
#include <QMainWindow>
#include <QMenuBar>

namespace Korvane {

AppCommands::AppCommands(AppState &state, EditorTabStrip &tabs, CodeEditorView &editor,
                         QMainWindow &window)
    : QObject(&window)
    , m_state(state)
    , m_tabs(tabs)
    , m_editor(editor)
    , m_window(window)
{
    addFileMenu();
    addEditMenu();
    new ViewCommands(state, tabs, window);
    addDebugMenu();
}

void AppCommands::addFileMenu()
{
    QMenu *menu = m_window.menuBar()->addMenu(tr("&File"));
    add(menu, tr("&New File"), KeyText::sequence(u"⌘N"), [this] { m_state.documents().newFile(); });
    menu->addSeparator();
    add(menu, tr("&Save"), KeyText::sequence(u"⌘S"), [this] { m_state.saving().save(); });
    add(menu, tr("Save &As…"), KeyText::sequence(u"⇧⌘S"), [this] { m_state.saving().saveAs(); });
    menu->addSeparator();
    add(menu, tr("Send to &Device"), KeyText::sequence(u"⌘U"),
        [this] { m_state.boardDocuments().sendCurrentFileToDevice(); });
    menu->addSeparator();
    add(menu, tr("&Close"), KeyText::sequence(u"⌘W"), [this] { m_tabs.closeSelected(); });
    add(menu, tr("&Quit"), KeyText::sequence(u"⌘Q"), [this] { m_window.close(); });
}

void AppCommands::addEditMenu()
{
    QMenu *menu = m_window.menuBar()->addMenu(tr("&Edit"));
    addEdit(menu, tr("&Undo"), QKeySequence::Undo, "undo");
    // Not the key that some platforms have for it: Ctrl+Y starts the debugger here.
    addEdit(menu, tr("&Redo"), KeyText::sequence(u"⇧⌘Z"), "redo");
    menu->addSeparator();
    addEdit(menu, tr("Cu&t"), QKeySequence::Cut, "cut");
    addEdit(menu, tr("&Copy"), QKeySequence::Copy, "copy");
    addEdit(menu, tr("&Paste"), QKeySequence::Paste, "paste");
    menu->addSeparator();
    addEdit(menu, tr("Select &All"), QKeySequence::SelectAll, "selectAll");
    menu->addSeparator();
    menu->addActions({m_editor.findAction(), m_editor.findNextAction(),
                      m_editor.findPreviousAction(), m_editor.goToLineAction()});
}

void AppCommands::addDebugMenu()
{
    QMenu *menu = m_window.menuBar()->addMenu(tr("&Debug"));
    DebugSession &session = m_state.debugSession();
    // Their keys belong to the toolbar's and the debug bar's buttons.
    add(menu, tr("&Debug on Device"), {}, [this] { m_state.startDebugRun(); });
    add(menu, tr("&Step"), {}, [&session] { session.debugStep(); });
    add(menu, tr("&Continue"), {}, [&session] { session.debugContinue(); });
    add(menu, tr("S&top Debugging"), {}, [&session] { session.debugStop(); });
    menu->addSeparator();
    add(menu, tr("C&lear Breakpoints in This File"), {},
        [this] { m_state.documents().clearBreakpoints(); });
}

QAction *AppCommands::add(QMenu *menu, const QString &title, const QKeySequence &keys,
                          std::function<void()> run)
{
    QAction *action = menu->addAction(title);
    action->setShortcut(keys);
    connect(action, &QAction::triggered, this, std::move(run));
    return action;
}

void AppCommands::addEdit(QMenu *menu, const QString &title, const QKeySequence &keys,
                          const char *slot)
{
    QAction *action = menu->addAction(title);
    // The text itself knows these keys; here they are only shown.
    action->setShortcutContext(Qt::WidgetShortcut);
    action->setShortcut(keys);
    connect(action, &QAction::triggered, this, [this, slot] {
        QWidget *focused = m_window.focusWidget();
        const QByteArray signature = QByteArray(slot) + "()";
        // A list or a button has nothing to undo or to copy.
        if (focused && focused->metaObject()->indexOfSlot(signature.constData()) >= 0)
            QMetaObject::invokeMethod(focused, slot);
    });
}

} // namespace Korvane
