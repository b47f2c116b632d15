#include "ui/window/ContentView.h"

#include "app/AppState.h"
#include "app/TransferEnd.h"
#include "document/CodePiece.h"
#include "document/LongLines.h"
#include "editor/CodeEditorView.h"
#include "ui/browser/BoardPathsMime.h"
#include "ui/shell/ShellInput.h"
#include "ui/window/Actions.h"
#include "ui/window/Announcer.h"
#include "ui/window/AppCommands.h"
#include "ui/window/BottomPane.h"
#include "ui/window/EditorArea.h"
#include "ui/window/EditorTabStrip.h"
#include "ui/window/IDEToolbar.h"
#include "ui/window/LocalFileOpening.h"
#include "ui/window/PaneCommands.h"
#include "ui/window/SidebarView.h"
#include "ui/window/WindowCommands.h"

#include <QAction>
#include <QApplication>
#include <QDropEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressDialog>
#include <QScreen>
#include <QSplitter>
#include <QTimer>
#include <QWheelEvent>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

/// Blocks the window while it waits to close, and is hidden while a question is open, which it
/// would block, too. Shown after half a second, so that it does not flash during a short write.
QProgressDialog *makeClosingProgress(QWidget *window)
{
    auto *progress = new QProgressDialog(window);
    progress->setCancelButton(nullptr);
    progress->setRange(0, 0);
    progress->setWindowModality(Qt::WindowModal);
    progress->reset(); // stops its own timer, which would show it above a question
    const auto follow = [progress] {
        const QWidget *modal = QApplication::activeModalWidget();
        progress->setVisible(!modal || modal == progress);
    };
    QTimer::singleShot(500ms, progress, [progress, follow] {
        follow();
        // Queued: the next question may be opened when one is closed.
        QObject::connect(qApp, &QGuiApplication::focusWindowChanged, progress, follow,
                         Qt::QueuedConnection);
    });
    return progress;
}

} // namespace

ContentView::ContentView(AppState &state, QWidget *parent)
    : QMainWindow(parent)
    , m_state(state)
    , m_commands(new Actions(state, *this))
    , m_sidebar(new SidebarView(state, *m_commands))
    , m_editorArea(new EditorArea(state, *m_commands))
    , m_bottomPane(new BottomPane(state, *m_commands))
    , m_appCommands(new AppCommands(state, *m_commands, m_editorArea->editor(), *this))
    , m_windowCommands(new WindowCommands(state, *m_commands, m_editorArea->editor(), *this))
{
    setObjectName(QStringLiteral("contentView"));
    setAccessibleName(QGuiApplication::applicationDisplayName()); // in place of the title
    addToolBar(new IDEToolbar(state, *m_commands, m_appCommands->portsMenu()));
    connectTabs();
    connectFocus();
    CodeEditorView *editor = &m_editorArea->editor();
    QAction *runPiece = (*m_commands)[Actions::RunPiece];
    // In the Shell the key ends a line, in the find bar it finds the previous match.
    runPiece->setShortcutContext(Qt::WidgetShortcut);
    editor->addAction(runPiece);
    connect(runPiece, &QAction::triggered, this, &ContentView::runPiece);
    connect((*m_commands)[Actions::FollowTraceback], &QAction::triggered, m_bottomPane,
            &BottomPane::followTraceback);
    connect(&state, &AppState::sourceLineOpened, editor, [editor](int line) {
        editor->goToLine(line);
        editor->setFocus();
    });
    new Announcer(state, this);
    setAcceptDrops(true);

    // The sidebar is the column to the left of the detail column.
    auto *columns = new QSplitter(Qt::Horizontal);
    auto *detail = new QSplitter(Qt::Vertical);
    columns->setObjectName(QStringLiteral("columns"));
    detail->setObjectName(QStringLiteral("detail"));
    detail->setChildrenCollapsible(false);
    detail->addWidget(m_editorArea);
    detail->addWidget(m_bottomPane);
    detail->setStretchFactor(0, 3);
    detail->setStretchFactor(1, 2);
    detail->setSizes({420, 280});
    columns->setChildrenCollapsible(false);
    columns->addWidget(m_sidebar);
    columns->addWidget(detail);
    columns->setStretchFactor(0, 0);
    columns->setStretchFactor(1, 1);
    columns->setSizes({240, 840});
    setCentralWidget(columns);
    m_panes = new PaneCommands(*this, viewMenu());
    for (const auto page : {Actions::ShowShell, Actions::ShowVariables})
        connect((*m_commands)[page], &QAction::triggered, m_panes, &PaneCommands::showLowerPane);
    for (const auto page : {Actions::ShowLocalFiles, Actions::ShowDeviceFiles})
        connect((*m_commands)[page], &QAction::triggered, m_panes, &PaneCommands::showSidebar);
    connect(m_sidebar, &SidebarView::showRequested, m_panes, &PaneCommands::showSidebar);
    connect(&state, &AppState::runStarted, m_panes, &PaneCommands::showLowerPane);
    connect(m_bottomPane, &BottomPane::shellNeeded, m_panes, &PaneCommands::showLowerPane);

    setMinimumSize(QSize(560, 400).expandedTo(minimumSizeHint()));
    resize(QSize(1080, 740).boundedTo(screen()->availableSize() * 9 / 10));
    for (QPlainTextEdit *edit : findChildren<QPlainTextEdit *>()) {
        edit->installEventFilter(this);
        edit->viewport()->installEventFilter(this);
    }
    // The editor makes the fields of its bars when they are opened.
    connect(&m_editorArea->editor(), &CodeEditorView::barChanged, this, [this] {
        for (QLineEdit *edit : m_editorArea->findChildren<QLineEdit *>())
            edit->installEventFilter(this);
    });
    m_editorArea->editor().setFocus();
}

CodeEditorView &ContentView::editor()
{
    return m_editorArea->editor();
}

void ContentView::showShell()
{
    m_state.setBottomTab(AppState::BottomTab::Shell);
    m_panes->showLowerPane();
}

QMenu &ContentView::fileMenu()
{
    return m_appCommands->fileMenu();
}

QMenu &ContentView::viewMenu()
{
    return m_appCommands->viewMenu();
}

void ContentView::connectTabs()
{
    EditorTabStrip *tabs = &m_editorArea->tabs();
    const Actions &commands = *m_commands;
    connect(commands[Actions::CloseFile], &QAction::triggered, tabs,
            &EditorTabStrip::closeSelected);
    connect(commands[Actions::NextFile], &QAction::triggered, tabs, [tabs] { tabs->step(1); });
    connect(commands[Actions::PreviousFile], &QAction::triggered, tabs, [tabs] { tabs->step(-1); });
}

/// A document that the user chooses gets the focus; one that the assistant opens does not.
void ContentView::connectFocus()
{
    const Actions &commands = *m_commands;
    connect(commands[Actions::NextPane], &QAction::triggered, this, [this] { focusPane(1); });
    connect(commands[Actions::PreviousPane], &QAction::triggered, this, [this] { focusPane(-1); });
    for (const auto page : {Actions::ShowShell, Actions::ShowVariables})
        connect(commands[page], &QAction::triggered, m_bottomPane, &BottomPane::focusPane);
    const auto focusEditor = [this] { m_editorArea->editor().setFocus(); };
    connect(&m_state.documents(), &OpenFiles::fileChosen, this, [this, focusEditor] {
        // The arrow keys move from tab to tab.
        if (!m_editorArea->tabs().hasFocus())
            focusEditor();
    });
    connect(&m_editorArea->tabs(), &QTabBar::tabBarClicked, this, [focusEditor](int tab) {
        if (tab >= 0)
            focusEditor();
    });
}

bool ContentView::eventFilter(QObject *watched, QEvent *event)
{
    // By accepting ShortcutOverride, text edits handle some keys before the shortcuts. The window's
    // own shortcuts have priority wherever the focus is.
    if (event->type() == QEvent::ShortcutOverride) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (qobject_cast<ShellInput *>(watched) && ShellInput::claims(key->keyCombination())) {
            event->accept();
            return true;
        }
        if (isOwnShortcut(QKeySequence(key->keyCombination()), watched)) {
            event->ignore();
            return true;
        }
    }
    if (event->type() == QEvent::Wheel) {
        const auto *wheel = static_cast<QWheelEvent *>(event);
        if (wheel->modifiers() == Qt::ControlModifier) {
            m_windowCommands->turnWheel(wheel->angleDelta().y());
            return true;
        }
    }
    // A file that is dropped on a text is opened, not written into it.
    const bool isDrag = event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove
        || event->type() == QEvent::Drop;
    if (isDrag) {
        auto *drop = static_cast<QDropEvent *>(event);
        const QStringList paths = localPaths(*drop->mimeData());
        if (!paths.isEmpty()) {
            if (acceptAsCopy(*drop) && event->type() == QEvent::Drop)
                openLocalPaths(m_state, paths);
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void ContentView::runPiece()
{
    CodeEditorView &editor = m_editorArea->editor();
    const QTextCursor cursor = editor.textCursor();
    CodePiece piece =
        CodePiece::at(editor.textWithPieceEnds(), cursor.selectionStart(), cursor.selectionEnd());
    piece.code.remove(LongLines::pieceEnd);
    const bool movesOn = !cursor.hasSelection();
    m_commands->runOnFreeBoard([this, piece, movesOn] {
        m_state.runPiece(piece.code, piece.firstLine);
        if (movesOn)
            m_editorArea->editor().goToLine(piece.nextLine);
    });
}

void ContentView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && m_state.transfer().canCancel())
        m_state.transfer().cancel();
    else
        QMainWindow::keyPressEvent(event);
}

void ContentView::closeEvent(QCloseEvent *event)
{
    const bool mayClose = std::exchange(m_mayClose, false);
    const bool isBusy = m_state.saving().isWriting() || m_state.closing().mustPrepareEnd()
        || m_state.transfer().isSendingToDevice();
    if (mayClose || !isBusy)
        return;
    event->ignore();
    closeWhenWritten();
}

QCoro::Task<void> ContentView::closeWhenWritten()
{
    if (std::exchange(m_isClosing, true))
        co_return;
    const QPointer<ContentView> self = this;
    QProgressDialog *progress = makeClosingProgress(this);
    progress->setLabelText(tr("Saving…"));
    co_await m_state.saving().finished();
    if (!self)
        co_return;
    bool mayClose = co_await m_state.closing().prepareEnd();
    if (!self)
        co_return;
    progress->setLabelText(tr("Stopping the transfer…"));
    if (mayClose)
        mayClose = co_await endTransfers(m_state.transfer(), m_state.prompts(), m_state.link(),
                                         tr("Stop the transfer and close?"));
    if (!self)
        co_return;
    delete progress;
    m_isClosing = false;
    m_mayClose = mayClose;
    if (mayClose)
        close();
}

void ContentView::dragEnterEvent(QDragEnterEvent *event)
{
    if (!localPaths(*event->mimeData()).isEmpty())
        acceptAsCopy(*event);
}

void ContentView::dropEvent(QDropEvent *event)
{
    if (acceptAsCopy(*event))
        openLocalPaths(m_state, localPaths(*event->mimeData()));
}

void ContentView::focusPane(int step)
{
    const QList<QWidget *> panes{m_editorArea, m_bottomPane, m_sidebar};
    const QWidget *focused = QApplication::focusWidget();
    const auto count = static_cast<int>(panes.size());
    const auto holdsFocus = [&](const QWidget *pane) { return pane->isAncestorOf(focused); };
    const auto found = std::find_if(panes.begin(), panes.end(), holdsFocus);
    // From the toolbar into the editor.
    int next = found == panes.end() ? 0 : static_cast<int>(found - panes.begin()) + step;
    while (panes[(next + count) % count]->isHidden()) // the editor never is
        next += step;
    switch ((next + count) % count) {
    case 0:
        m_editorArea->editor().setFocus();
        break;
    case 1:
        m_bottomPane->focusPane();
        break;
    default:
        m_sidebar->focusPane();
    }
}

bool ContentView::isOwnShortcut(const QKeySequence &keys, const QObject *focused) const
{
    const auto *widget = qobject_cast<const QWidget *>(focused);
    const QList<QAction *> actions = findChildren<QAction *>();
    return std::any_of(actions.cbegin(), actions.cend(), [&](const QAction *action) {
        const bool applies = action->shortcutContext() != Qt::WidgetShortcut
            || (widget && widget->actions().contains(action));
        return applies && action->isEnabled() && action->shortcuts().contains(keys);
    });
}

} // namespace Korvane
