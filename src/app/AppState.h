#pragma once

#include "app/BoardControl.h"
#include "app/BoardDocuments.h"
#include "app/BoardFileActions.h"
#include "app/BoardSpace.h"
#include "app/BoardStore.h"
#include "app/ChangedFiles.h"
#include "app/DocumentCloser.h"
#include "app/DocumentSaver.h"
#include "app/ErrorReporter.h"
#include "app/FilesCopy.h"
#include "app/InputHistory.h"
#include "app/LocalFileActions.h"
#include "app/LocalFiles.h"
#include "app/Preferences.h"
#include "app/ProgramSending.h"
#include "app/ShellTranscript.h"
#include "app/VariablesStore.h"
#include "app/VirtualBoardProcess.h"
#include "base/Lifetime.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/FileTransfer.h"
#include "board/FolderSync.h"
#include "board/ProgramRun.h"
#include "board/TransferStatus.h"
#include "debugger/DebugSession.h"
#include "document/DocumentWriter.h"
#include "document/FileWatch.h"
#include "document/LocalStore.h"
#include "document/OpenFiles.h"
#include "session/PythonRunner.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

namespace Korvane {

class AssistantServer;
class Settings;

/// The one owner of all state that views and tools show and change. It is made once, before the
/// first window, and destroyed when the program ends.
///
/// Most of the state belongs to its parts, each with its own change signals. AppState itself has
/// the fields that belong to no part, the start-up order, the connections between the parts and the
/// operations that use several of them. Main thread only.
class AppState final : public QObject, private DeviceLinkClient
{
    Q_OBJECT

public:
    enum class BottomTab { Shell, Variables };
    enum class SidebarTab { Local, Device };

    /// The dependencies, for which tests have their own.
    struct Dependencies
    {
        /// Borrowed; must outlive the AppState.
        Settings &settings;
        /// Borrowed; must outlive the AppState.
        UserPrompts &prompts;
        QStringList interpreters = PythonRunner::defaultInterpreters();
        SerialPortManager::Roots serialRoots = {};
        /// The file of the history of the Shell's input; empty to keep none.
        QString historyPath = {};
        /// As for VirtualBoardProcess.
        QString virtualBoardFolder = VirtualBoardProcess::defaultFolder();
        /// Creates the server for the assistant, which borrows the AppState. Without it no server
        /// is created.
        std::function<std::unique_ptr<AssistantServer>(AppState &)> makeServer = {};
    };

    explicit AppState(Dependencies dependencies, QObject *parent = nullptr);
    /// Saves and sends nothing. A coroutine that waits for the board or the local session is
    /// resumed and returns without a message or a change of state.
    ~AppState() override;
    AppState(const AppState &) = delete;
    AppState &operator=(const AppState &) = delete;

    /// For coroutines that use this after a wait: false as soon as its destruction begins, when a
    /// QPointer is not yet null.
    [[nodiscard]] Lifetime::Watch watch() const { return m_life.watch(); }
    [[nodiscard]] Settings &settings() { return m_settings; }
    [[nodiscard]] Preferences &preferences() { return m_preferences; }
    [[nodiscard]] UserPrompts &prompts() { return m_prompts; }
    [[nodiscard]] ShellTranscript &shell() { return m_shell; }
    [[nodiscard]] ErrorReporter &errors() { return m_errors; }
    [[nodiscard]] InputHistory &inputHistory() { return m_inputHistory; }
    [[nodiscard]] OpenFiles &documents() { return m_documents; }
    [[nodiscard]] DocumentSaver &saving() { return m_saving; }
    [[nodiscard]] DocumentCloser &closing() { return m_closing; }
    [[nodiscard]] FileWatch &fileWatch() { return m_fileWatch; }
    [[nodiscard]] BoardDocuments &boardDocuments() { return m_boardDocuments; }
    [[nodiscard]] LocalFiles &localFiles() { return m_localFiles; }
    [[nodiscard]] PythonRunner &runner() { return m_runner; }
    [[nodiscard]] DeviceLink &link() { return m_link; }
    [[nodiscard]] BoardControl &board() { return m_board; }
    [[nodiscard]] DeviceFiles &deviceFiles() { return m_deviceFiles; }
    [[nodiscard]] BoardSpace &boardSpace() { return m_boardSpace; }
    [[nodiscard]] BoardFileActions &boardFileActions() { return m_boardFileActions; }
    [[nodiscard]] LocalFileActions &localFileActions() { return m_localFileActions; }
    [[nodiscard]] FilesCopy &filesCopy() { return m_filesCopy; }
    [[nodiscard]] ChangedFiles &changedFiles() { return m_changedFiles; }
    [[nodiscard]] FileTransfer &fileTransfer() { return m_fileTransfer; }
    [[nodiscard]] TransferStatus &transfer() { return m_transfer; }
    [[nodiscard]] ProgramRun &programRun() { return m_programRun; }
    [[nodiscard]] DebugSession &debugSession() { return m_debugSession; }
    [[nodiscard]] VariablesStore &variablesStore() { return m_variablesStore; }

    /// Runs the selected document, saved or not: in the local session, or on the board when one is
    /// connected. Nothing happens for an empty one. The task may be dropped: it ends by itself, at
    /// the latest when this is destroyed.
    QCoro::Task<void> runCurrentFile();
    /// Interrupts the program on the board while one is connected, and otherwise, or when a local
    /// program waits for input, the local run.
    void stopRun();
    /// Runs a part of the selected document with the globals of earlier runs, in the local session
    /// or on the connected board. \p code, whose first line is \p firstLine of the document, has no
    /// indentation in common. A single line is run like input of the Shell, which shows its value.
    /// The task may be dropped.
    QCoro::Task<void> runPiece(QString code, int firstLine);
    /// Opens the source that a traceback of \p run (REPLLine::run) names \p file, and emits
    /// sourceLineOpened. Writes an error line to the Shell when it can't be opened. The task may be
    /// dropped.
    QCoro::Task<void> openSource(QString file, int line, int run);
    /// Debugs the selected document, saved or not, on the board. The task may be dropped.
    /// DebugSession has the state of the run, and its commands.
    QCoro::Task<void> startDebugRun();
    /// Echoes \p command, which is trimmed and has one line or several, and runs it: on the board
    /// when one is connected, otherwise in the local session. Does nothing when it is empty.
    void submitShell(const QString &command);
    /// Sends \p text and a line end to the local program that waits for input, and appends them to
    /// the Shell. Does nothing when none waits.
    void answerInput(const QString &text);
    /// Ends the input of the local program that waits for it. Does nothing when none waits.
    void endInput();

    /// Whether the Shell's input has the focus and text: a pause at a breakpoint then doesn't show
    /// the Variables pane. Set by the window.
    void setTypingInShell(bool isTyping) { m_isTypingInShell = isTyping; }
    void setBottomTab(BottomTab tab);
    void setSidebarTab(SidebarTab tab);
    /// Called only by the assistant's server, when it starts or stops listening.
    void setMcpRunning(bool running);
    /// Called only by the assistant's tools: how many of their calls have no answer yet.
    void setAssistantCalls(qsizetype count) { m_assistantCalls = count; }

    /// A run of the current file is in progress in the local session. A program on the board is
    /// tracked by ProgramRun::deviceProgramRunning instead.
    [[nodiscard]] bool isRunning() const { return m_isRunning; }
    [[nodiscard]] BottomTab bottomTab() const { return m_bottomTab; }
    [[nodiscard]] SidebarTab sidebarTab() const { return m_sidebarTab; }
    [[nodiscard]] bool mcpRunning() const { return m_mcpRunning; }
    /// Whether an error that is reported now may belong to a call of the assistant.
    [[nodiscard]] bool isAssistantCalling() const { return m_assistantCalls > 0; }
    /// The interpreter that the rows of the Variables table are read from. Changes with
    /// DebugSession::changed and DeviceLink::connectionStateChanged.
    [[nodiscard]] QString variablesCaption() const;

signals:
    /// The user has started a program, in the local session or on the board; it has printed nothing
    /// so far.
    void runStarted();
    /// The document of a traceback is selected; \p line is to be shown.
    void sourceLineOpened(int line);
    void isRunningChanged();
    void bottomTabChanged();
    void sidebarTabChanged();
    void mcpRunningChanged();

private:
    // DeviceLinkClient
    [[nodiscard]] bool deviceProgramRunning() const override;
    [[nodiscard]] bool isPausedAtBreakpoint() const override;
    [[nodiscard]] bool isReplyEnding() const override;

    void wireRunner();
    void wireBoard();
    void wireFiles();
    void wirePreferences();
    [[nodiscard]] bool isBoardBrowsed() const;
    void warnWithoutPython();
    void showDebugLines();
    QCoro::Task<void> runLocally(QString name, QString source, QString path);
    QCoro::Task<void> runShellLocally(QString command);
    void finishLocally(const RunResult &result);
    void setRunning(bool isRunning);
    void beginRun(const QUuid &document);

    bool m_isRunning = false;
    int m_lastLocalRun = 0;
    QHash<int, QUuid> m_documentsOfRuns; // by REPLLine::run
    BottomTab m_bottomTab = BottomTab::Shell;
    SidebarTab m_sidebarTab = SidebarTab::Local;
    bool m_mcpRunning = false;
    qsizetype m_assistantCalls = 0;
    bool m_isTypingInShell = false;
    QPointer<EditorFile> m_debuggedFile; // that of the last debug run

    // A member that others use is declared above them, so that it is destroyed after them.
    Settings &m_settings;
    Preferences m_preferences{m_settings};
    UserPrompts &m_prompts;
    ShellTranscript m_shell;
    InputHistory m_inputHistory;
    ErrorReporter m_errors{m_shell};
    OpenFiles m_documents{m_shell};
    LocalStore m_localStore;
    PythonRunner m_runner;
    DeviceLink m_link;
    BoardControl m_board;
    ProgramRun m_programRun{m_link, m_shell};
    DebugSession m_debugSession{m_link, m_programRun, m_shell};
    VariablesStore m_variablesStore{m_runner, m_link, m_programRun};
    TransferStatus m_transfer;
    ProgramSending m_programSending{m_programRun, m_transfer};
    LocalFiles m_localFiles{m_shell, m_prompts};
    DeviceFiles m_deviceFiles{m_link, m_prompts, m_transfer};
    DeviceFileOperations m_deviceOperations{m_link, m_deviceFiles};
    BoardSpace m_boardSpace{m_link, m_deviceFiles, m_deviceOperations};
    FileTransfer m_fileTransfer{m_link, m_deviceFiles, m_transfer, m_shell};
    BoardStore m_boardStore{m_link, m_deviceFiles};
    DocumentWriter m_writer{m_localStore, m_boardStore, m_prompts};
    FileWatch m_fileWatch{m_documents, m_writer, m_localStore, m_boardStore};
    BoardDocuments m_boardDocuments{
        {m_documents, m_writer, m_fileWatch, m_link, m_deviceFiles, m_transfer, m_shell, m_errors}};
    BoardFileActions m_boardFileActions{
        {m_documents, m_writer, m_link, m_deviceFiles, m_deviceOperations, m_transfer, m_prompts}};
    LocalFileActions m_localFileActions{{m_documents, m_writer, m_localFiles, m_prompts}};
    FilesCopy m_filesCopy{
        {m_link, m_deviceFiles, m_deviceOperations, m_transfer, m_prompts, m_shell}};
    FolderSync m_folderSync{m_link, m_deviceFiles, m_transfer, m_shell};
    ChangedFiles m_changedFiles{{m_documents, m_folderSync, m_prompts, m_shell}};
    DocumentSaver m_saving;
    DocumentCloser m_closing;
    std::unique_ptr<AssistantServer> m_assistantServer;
    QObject m_wiring; // context of the connections to the parts; destroyed before them
    Lifetime m_life;
};

} // namespace Korvane
