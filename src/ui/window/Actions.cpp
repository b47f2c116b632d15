#include "ui/window/Actions.h"

#include "app/AppState.h"
#include "app/TransferEnd.h"
#include "theme/Icons.h"
#include "ui/controls/KeyText.h"
#include "ui/controls/PlainText.h"

#include <QAction>
#include <QActionGroup>
#include <QMainWindow>

namespace Korvane {

Actions::Actions(AppState &state, QMainWindow &window)
    : QObject(&window)
    , m_state(state)
    , m_window(window)
{
    addFileCommands();
    addEditCommands();
    addBrowserCommands();
    addPaneCommands();
    addRunCommands();
    addDebugCommands();
    addBoardCommands();
    addServerCommands();

    const DeviceLink &link = state.link();
    connect(&link, &DeviceLink::connectionStateChanged, this, &Actions::showConnection);
    connect(&link, &DeviceLink::connectionStateChanged, this, &Actions::showSendHelp);
    connect(&state.documents(), &OpenFiles::selectedFileChanged, this, &Actions::showSendHelp);
    connect(&state.documents(), &OpenFiles::fileChanged, this, &Actions::showSendHelp);
    showConnection();
    showSendHelp();
}

void Actions::addFileCommands()
{
    const Theme::Role role = Theme::Role::Label;
    add(NewFile, tr("&New File"), KeyText::sequence(u"⌘N"),
        [this] { m_state.documents().newFile(); });
    describe(NewFile, QStringLiteral("doc.badge.plus"), role, tr("New File"), tr("New File (⌘N)"));
    add(OpenFile, tr("&Open File…"), KeyText::sequence(u"⌘O"), [this] { openFile(); });
    describe(OpenFile, QStringLiteral("folder"), role, tr("Open File"), tr("Open File (⌘O)"));
    add(Save, tr("&Save"), KeyText::sequence(u"⌘S"), [this] { m_state.saving().save(); });
    describe(Save, QStringLiteral("square.and.arrow.down"), role, tr("Save"), tr("Save (⌘S)"));
    add(SaveAs, tr("Save &As…"), KeyText::sequence(u"⇧⌘S"), [this] { m_state.saving().saveAs(); });
    add(SendToDevice, tr("Send to &Device"), KeyText::sequence(u"⌘U"),
        [this] { m_state.boardDocuments().sendCurrentFileToDevice(); });
    add(CloseFile, tr("&Close"), KeyText::sequence(u"⌘W"));
    add(Quit, tr("&Quit"), KeyText::sequence(u"⌘Q"), [this] { m_window.close(); });
}

void Actions::addEditCommands()
{
    addEdit(Undo, tr("&Undo"), QKeySequence::Undo, "undo");
    // Not Ctrl+Y, which other platforms use: it starts the debugger here.
    addEdit(Redo, tr("&Redo"), KeyText::sequence(u"⇧⌘Z"), "redo");
    addEdit(Cut, tr("Cu&t"), QKeySequence::Cut, "cut");
    addEdit(Copy, tr("&Copy"), QKeySequence::Copy, "copy");
    addEdit(Paste, tr("&Paste"), QKeySequence::Paste, "paste");
    addEdit(SelectAll, tr("Select &All"), QKeySequence::SelectAll, "selectAll");
    add(FindInFiles, tr("Find in F&iles…"), KeyText::sequence(u"⇧⌘F"));
    add(ShowPreferences, tr("Preference&s…"), KeyText::sequence(u"⌘,"));
}

void Actions::addBrowserCommands()
{
    add(OpenEntries, tr("&Open"));
    add(CopyEntries, tr("&Copy to Device"));
    add(SendChangedFiles, tr("Send C&hanged Files…"));
    add(CreateFile, tr("New &File…"), KeyText::sequence(u"⌥⌘N"));
    add(CreateFolder, tr("New Fol&der…"), KeyText::sequence(u"⇧⌘N"));
    add(RenameEntry, tr("&Rename…"), Qt::Key_F2);
    add(DeleteEntries, tr("De&lete…"), Qt::Key_Delete);
    // Other widgets use these keys when they have the focus.
    for (const Command command : {RenameEntry, DeleteEntries})
        m_actions[command]->setShortcutContext(Qt::WidgetShortcut);
}

void Actions::addPaneCommands()
{
    add(ShowLocalFiles, tr("&Local Files"), {},
        [this] { m_state.setSidebarTab(AppState::SidebarTab::Local); });
    add(ShowDeviceFiles, tr("&Device Files"), {},
        [this] { m_state.setSidebarTab(AppState::SidebarTab::Device); });
    addPanes(
        ShowLocalFiles, ShowDeviceFiles,
        [this] { return m_state.sidebarTab() == AppState::SidebarTab::Local; },
        &AppState::sidebarTabChanged);
    add(ShowShell, tr("&Shell"), {}, [this] { m_state.setBottomTab(AppState::BottomTab::Shell); });
    add(ShowVariables, tr("&Variables"), {},
        [this] { m_state.setBottomTab(AppState::BottomTab::Variables); });
    addPanes(
        ShowShell, ShowVariables,
        [this] { return m_state.bottomTab() == AppState::BottomTab::Shell; },
        &AppState::bottomTabChanged);

    add(NextFile, tr("&Next File"))
        ->setShortcuts(
            {QKeySequence(Qt::CTRL | Qt::Key_Tab), QKeySequence(Qt::CTRL | Qt::Key_PageDown)});
    // Menus show the first. With Shift held, the Tab key sends Backtab.
    add(PreviousFile, tr("&Previous File"))
        ->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab),
                        QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backtab),
                        QKeySequence(Qt::CTRL | Qt::Key_PageUp)});
    // The Tab key does not leave the editor, which indents with it.
    add(NextPane, tr("Next P&ane"), Qt::Key_F6);
    add(PreviousPane, tr("Pr&evious Pane"), Qt::SHIFT | Qt::Key_F6);

    add(ShowCommands, tr("Co&mmands…"), KeyText::sequence(u"⇧⌘P"));
    // With and without Shift, which the character + needs on many keyboards.
    add(ZoomIn, tr("Zoom &In"))
        ->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Plus),
                        QKeySequence(Qt::CTRL | Qt::Key_Equal),
                        QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Plus)});
    add(ZoomOut, tr("Zoom &Out"), Qt::CTRL | Qt::Key_Minus);
    add(ResetZoom, tr("&Reset Zoom"), Qt::CTRL | Qt::Key_0);
}

void Actions::addRunCommands()
{
    add(Run, tr("&Run"), KeyText::sequence(u"⌘R"),
        [this] { runOnFreeBoard([this] { m_state.runCurrentFile(); }); });
    describe(Run, QStringLiteral("play.circle.fill"), Theme::Role::Green, tr("Run"),
             tr("Run current file (⌘R)"));
    add(Stop, tr("S&top"), KeyText::sequence(u"⌘."), [this] { m_state.stopRun(); });
    describe(Stop, QStringLiteral("stop.circle.fill"), Theme::Role::Red, tr("Stop"),
             tr("Stop (⌘.)"));
    add(RunPiece, tr("Run Selection, Line or &Cell"), QKeySequence(Qt::SHIFT | Qt::Key_Return));
    add(FollowTraceback, tr("&Go to Traceback Line"), QKeySequence(Qt::Key_F4));
}

QCoro::Task<void> Actions::runOnFreeBoard(std::function<void()> run)
{
    if (m_state.link().connectionState().isConnected() && m_state.transfer().isSendingToDevice()) {
        const auto life = m_life.watch();
        const QUuid document = m_state.documents().selectedFileID();
        const bool isFree =
            co_await endTransfers(m_state.transfer(), m_state.prompts(), m_state.link(),
                                  tr("Stop the transfer and run the program?"));
        if (!life || !isFree || !m_state.documents().file(document))
            co_return;
        m_state.documents().select(document); // the assistant may have opened another one
    }
    run();
}

void Actions::addDebugCommands()
{
    const Theme::Role role = Theme::Role::Label;
    DebugSession &session = m_state.debugSession();
    add(Debug, tr("&Debug on Device"), KeyText::sequence(u"⌘Y"),
        [this] { runOnFreeBoard([this] { m_state.startDebugRun(); }); });
    add(Step, tr("&Step"), {}, [&session] { session.debugStep(); });
    describe(Step, QStringLiteral("arrow.turn.down.right"), role, tr("Step"),
             tr("Run one statement and stop again, stepping into any call (⌥⌘Y)"));
    add(Continue, tr("&Continue"), {}, [&session] { session.debugContinue(); });
    describe(Continue, QStringLiteral("play.fill"), role, tr("Continue"),
             tr("Let the program run on to the next breakpoint (⇧⌘Y)"));
    add(StopDebugging, tr("S&top Debugging"), {}, [&session] { session.debugStop(); });
    describe(StopDebugging, QStringLiteral("stop.fill"), role, tr("Stop"),
             tr("Stop the program on the device"));
    add(ClearBreakpoints, tr("C&lear Breakpoints in This File"), {},
        [this] { m_state.documents().clearBreakpoints(); });

    // Set only while the debug bar is shown: the actions are always in the menu, which would keep
    // their shortcuts active.
    connect(&session, &DebugSession::changed, this, [this, &session] {
        const bool isDebugging = session.isDebugging();
        m_actions[Step]->setShortcut(isDebugging ? KeyText::sequence(u"⌥⌘Y") : QKeySequence());
        m_actions[Continue]->setShortcut(isDebugging ? KeyText::sequence(u"⇧⌘Y") : QKeySequence());
    });
}

void Actions::addBoardCommands()
{
    BoardControl &board = m_state.board();
    add(DisconnectBoard, tr("&Disconnect"), {}, [this] { m_state.link().disconnectDevice(); });
    add(InterruptBoard, tr("&Interrupt"), {}, [&board] { board.interrupt(); });
    add(ResetBoard, tr("Soft &Reset"), {}, [&board] { board.softReset(); });
    add(ShowBoardDetails, tr("Board D&etails"), {}, [&board] { board.showDetails(); });
    add(SetBoardClock, tr("Set &Clock to This Computer’s"), {}, [&board] { board.setClock(); });
}

void Actions::addServerCommands()
{
    add(StartOrStopServer, tr("&Start MCP Server"));
    add(CopyConnectionCommand, tr("&Copy Connection Command"));
    add(StartServerWithProgram, tr("Start Server When the IDE &Opens"))->setCheckable(true);
    add(WriteWithoutAsking, tr("&Write to the Device Without Asking"))->setCheckable(true);
}

QAction *Actions::add(Command command, const QString &text, const QKeySequence &key,
                      std::function<void()> run)
{
    auto *action = new QAction(text, this);
    action->setShortcut(key);
    action->setIconVisibleInMenu(false);
    connect(action, &QAction::triggered, this, &Actions::commandChosen);
    if (run)
        connect(action, &QAction::triggered, this, std::move(run));
    m_actions[command] = action;
    return action;
}

void Actions::describe(Command command, const QString &symbol, Theme::Role role,
                       const QString &text, const QString &help)
{
    QAction *action = m_actions[command];
    action->setObjectName(symbol);
    action->setIcon(Icons::icon(symbol, role));
    action->setIconText(text);
    action->setToolTip(PlainText::toolTip(KeyText::rendered(help)));
}

void Actions::addEdit(Command command, const QString &text, const QKeySequence &key,
                      const char *slot)
{
    QAction *action = add(command, text, key, [this, slot] {
        QWidget *focused = m_window.focusWidget();
        const QByteArray signature = QByteArray(slot) + "()";
        // Buttons and most lists have no such slot.
        if (focused && focused->metaObject()->indexOfSlot(signature.constData()) >= 0)
            QMetaObject::invokeMethod(focused, slot);
    });
    // Text edits handle these keys themselves; the menu only shows them.
    action->setShortcutContext(Qt::WidgetShortcut);
}

void Actions::addPanes(Command first, Command second, std::function<bool()> isFirst,
                       void (AppState::*changed)())
{
    auto *group = new QActionGroup(this);
    for (QAction *action : {m_actions[first], m_actions[second]}) {
        action->setCheckable(true);
        group->addAction(action);
    }
    const auto follow = [this, first, second, isFirst = std::move(isFirst)] {
        m_actions[isFirst() ? first : second]->setChecked(true);
    };
    connect(&m_state, changed, this, follow);
    follow();
}

QCoro::Task<void> Actions::openFile()
{
    const auto life = m_life.watch();
    const QString path =
        co_await m_state.prompts().askOpenPath(m_state.localFiles().localWorkingDir());
    if (!life || path.isEmpty())
        co_return;
    // A file that can't be read changes nothing, and no line is added to the Shell.
    static_cast<void>(co_await m_state.documents().openFile(path));
}

void Actions::showConnection()
{
    const bool isConnected = m_state.link().connectionState().isConnected();
    describe(Debug, QStringLiteral("ladybug.fill"),
             isConnected ? Theme::Role::Orange : Theme::Role::SecondaryLabel, tr("Debug"),
             isConnected ? tr("Run on the device, stopping at each breakpoint (⌘Y)")
                         : tr("Connect a device to debug on it"));
    for (const auto command :
         {DisconnectBoard, InterruptBoard, ResetBoard, ShowBoardDetails, SetBoardClock})
        m_actions[command]->setEnabled(isConnected);
}

void Actions::showSendHelp()
{
    const EditorFile *file = m_state.documents().selectedFile();
    // The name may hold key symbols, which stay as they are.
    const QString help = m_state.link().connectionState().isConnected() && file
        ? KeyText::rendered(tr("Send %1 to device (⌘U)")).arg(file->name())
        : tr("Connect a device to send files");
    QAction *action = m_actions[SendToDevice];
    action->setObjectName(QStringLiteral("arrow.up.doc"));
    action->setIconText(tr("Send to Device"));
    action->setToolTip(PlainText::toolTip(help));
}

} // namespace Korvane
