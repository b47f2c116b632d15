#include "app/AppState.h"

#include "app/AssistantServer.h"
#include "board/DeviceError.h"
#include "document/CodePiece.h"

#include <QDir>

#include <utility>

namespace Korvane {

namespace {

/// The bytes that run \p command on a board at its prompt. The REPL executes at each CR and ignores
/// LF, so several lines are sent in its paste mode.
QByteArray forPrompt(QString command)
{
    if (!command.contains(u'\n'))
        return (command + QStringLiteral("\r\n")).toUtf8();
    command.replace(u'\n', u'\r');
    return '\x05' + command.toUtf8() + "\r\x04";
}

// The limit of the Shell is set in megabytes. Most of its text is ASCII: a byte per character.
constexpr qsizetype charactersPerUnit = 1'000'000;

} // namespace

AppState::AppState(Dependencies dependencies, QObject *parent)
    : QObject(parent)
    , m_settings(dependencies.settings)
    , m_prompts(dependencies.prompts)
    , m_inputHistory(dependencies.historyPath, m_preferences)
    , m_runner(std::move(dependencies.interpreters))
    , m_link(m_shell, std::move(dependencies.serialRoots))
    , m_board(m_link, m_errors, m_shell, m_preferences, std::move(dependencies.virtualBoardFolder))
    , m_saving({m_documents, m_writer, m_localFiles, m_link, m_deviceFiles, m_transfer, m_prompts,
                m_shell, m_errors, [this] { return isBoardBrowsed(); }})
    , m_closing(m_documents, m_saving, m_prompts,
                [this] { return m_preferences.flag(Preferences::AskBeforeClosing); })
{
    m_link.setClient(this);
    wireBoard();
    wireFiles();
    wirePreferences();
    m_documents.newFile();
    m_link.refreshPorts();
    m_shell.appendInfo(QStringLiteral("Korvane — connect a device or run Python locally."));
    warnWithoutPython();
    wireRunner();
    if (dependencies.makeServer)
        m_assistantServer = dependencies.makeServer(*this);
    if (m_assistantServer && m_preferences.flag(Preferences::StartServer))
        m_assistantServer->start();
}

AppState::~AppState() = default;

QCoro::Task<void> AppState::runCurrentFile()
{
    const EditorFile *selected = m_documents.selectedFile();
    if (!selected || selected->content().isEmpty())
        co_return;
    beginRun(selected->id());
    setRunning(true);
    if (m_link.connectionState().isConnected()) {
        const QString source = selected->content();
        m_debugSession.debugStop(); // a paused program waits for a command of the debugger
        m_programRun.runOnDeviceStreamed(source);
        setRunning(false);
        co_return;
    }
    co_await runLocally(selected->name(), selected->content(), selected->path());
}

QCoro::Task<void> AppState::runPiece(QString code, int firstLine)
{
    const EditorFile *selected = m_documents.selectedFile();
    if (!selected || code.isEmpty())
        co_return;
    const bool isOnBoard = m_link.connectionState().isConnected();
    if (isOnBoard && m_programRun.deviceProgramRunning()) {
        m_errors.report(DeviceError::programRunning());
        co_return;
    }
    // At the prompt a block waits for an empty line, and a line sent during a command is not run.
    const bool isForPrompt =
        !isOnBoard || !(m_link.deviceCommandInFlight() || CodePiece::startsBlock(code));
    if (isForPrompt && !code.contains(u'\n')) {
        emit runStarted();
        submitShell(code);
        co_return;
    }
    beginRun(selected->id());
    // Empty lines before it, so that tracebacks have the line numbers of the document.
    const QString source = QString(firstLine - 1, u'\n') + code;
    m_shell.appendInfo(QStringLiteral("▶ Running lines %1 to %2 of %3…")
                           .arg(firstLine)
                           .arg(firstLine + code.count(u'\n'))
                           .arg(selected->name()));
    if (isOnBoard) {
        m_programRun.runOnDeviceStreamed(source);
        co_return;
    }
    const auto life = m_life.watch();
    const int run = ++m_lastLocalRun;
    setRunning(true);
    const QString path =
        selected->path().isEmpty() ? QStringLiteral("<untitled>") : selected->path();
    const RunResult result = co_await m_runner.runShell(source, path);
    if (!life)
        co_return;
    finishLocally(result);
    if (run == m_lastLocalRun)
        setRunning(false);
}

void AppState::beginRun(const QUuid &document)
{
    m_documentsOfRuns.insert(m_shell.beginRun(), document);
    emit runStarted();
}

QCoro::Task<void> AppState::openSource(QString file, int line, int run)
{
    const auto life = m_life.watch();
    const EditorFile *document = m_documents.file(m_documentsOfRuns.value(run));
    const bool isUnsaved = file == QLatin1String("<stdin>") || file == QLatin1String("<untitled>");
    if (document && (isUnsaved || document->path() == file)) {
        m_documents.select(document->id());
        emit sourceLineOpened(line);
        co_return;
    }
    if (isUnsaved && run > 0)
        m_shell.appendInfo(QStringLiteral("The document of that program is not open any more."));
    if (file.startsWith(u'<'))
        co_return; // code that is in no file
    const QStringList places{file, u'/' + file, QStringLiteral("/lib/") + file};
    for (const QString &place : places) {
        const DeviceFileNode *node = m_deviceFiles.deviceNode(place);
        if (!node || node->isDirectory)
            continue;
        const DeviceFileNode copy = *node;
        co_await m_boardDocuments.openDeviceFile(copy);
        if (!life)
            co_return;
        const EditorFile *selected = m_documents.selectedFile();
        if (selected && selected->devicePath() == copy.path)
            emit sourceLineOpened(line);
        co_return;
    }
    if (!QDir::isAbsolutePath(file)) {
        m_shell.appendError(
            (m_link.connectionState().isConnected()
                 ? QStringLiteral("Cannot open %1: it is not on the connected board.")
                 : QStringLiteral("Cannot open %1: no board is connected."))
                .arg(file));
        co_return;
    }
    const auto opened = co_await m_documents.openFile(file);
    if (!life)
        co_return;
    if (opened)
        emit sourceLineOpened(line);
    else
        m_shell.appendError(QStringLiteral("Cannot open %1: %2").arg(file, opened.error().message));
}

void AppState::stopRun()
{
    if (m_link.connectionState().isConnected() && !m_runner.isWaitingForInput())
        m_link.serial().writeUrgent("\x03");
    else
        m_runner.interrupt();
    setRunning(false);
}

QCoro::Task<void> AppState::startDebugRun()
{
    const EditorFile *file = m_documents.selectedFile();
    if (!file)
        co_return;
    co_await m_debugSession.startDebugRun(file->name(), file->content(), file->breakpoints(),
                                          file->id());
}

void AppState::submitShell(const QString &command)
{
    if (command.isEmpty())
        return;
    m_shell.endRun();
    m_shell.appendLine(QStringLiteral(">>> ") + command, REPLLine::Kind::Input);
    if (!m_link.connectionState().isConnected())
        runShellLocally(command);
    else if (command.isValidUtf16())
        m_link.writeInput(forPrompt(command));
}

void AppState::answerInput(const QString &text)
{
    if (!m_runner.isWaitingForInput())
        return;
    m_shell.appendOutput(text + u'\n');
    m_runner.answerInput(text + u'\n');
}

void AppState::endInput()
{
    if (!m_runner.isWaitingForInput())
        return;
    m_shell.appendOutput(QStringLiteral("\n"));
    m_runner.answerInput({});
}

void AppState::setBottomTab(BottomTab tab)
{
    if (std::exchange(m_bottomTab, tab) != tab)
        emit bottomTabChanged();
}

void AppState::setSidebarTab(SidebarTab tab)
{
    if (std::exchange(m_sidebarTab, tab) != tab)
        emit sidebarTabChanged();
}

void AppState::setMcpRunning(bool running)
{
    if (std::exchange(m_mcpRunning, running) != running)
        emit mcpRunningChanged();
}

QString AppState::variablesCaption() const
{
    if (const auto line = m_debugSession.pausedAt())
        return QStringLiteral("stopped at line %1").arg(*line);
    if (m_link.connectionState().isConnected())
        return m_link.connectionState().port();
    return QStringLiteral("local Python");
}

bool AppState::deviceProgramRunning() const
{
    return m_programRun.deviceProgramRunning();
}

bool AppState::isPausedAtBreakpoint() const
{
    return m_debugSession.pausedAt().has_value();
}

bool AppState::isReplyEnding() const
{
    return m_programRun.isReplyEnding();
}

void AppState::wireRunner()
{
    m_runner.onOutput = [this, life = m_life.watch()](const QString &text) {
        if (life)
            m_shell.appendOutput(text);
    };
    m_runner.onErrorOutput = [this, life = m_life.watch()](const QString &text) {
        if (life)
            m_shell.appendErrorOutput(text);
    };
    m_runner.onInfo = [this, life = m_life.watch()](const QString &text) {
        if (life)
            m_shell.appendInfo(text);
    };
}

void AppState::wireBoard()
{
    connect(&m_link, &DeviceLink::connected, &m_wiring, [this] {
        setSidebarTab(SidebarTab::Device);
        m_deviceFiles.refreshDeviceFiles();
    });
    connect(&m_link, &DeviceLink::ended, &m_wiring, [this] { m_debugSession.reset(); });
    connect(&m_programRun, &ProgramRun::replyCompleted, &m_wiring, [this] {
        m_shell.flushOutput();
        // Also leaves the raw REPL, in which input of the Shell would not be answered.
        m_errors.reportFailureOf(m_variablesStore.refreshVariables());
    });
    connect(&m_programRun, &ProgramRun::startFailed, &m_wiring, [this] { setRunning(false); });
    connect(&m_deviceFiles, &DeviceFiles::listingFailed, &m_wiring,
            [this](const Error &error) { m_errors.report(error); });
    connect(&m_debugSession, &DebugSession::started, &m_wiring, [this](const QUuid &document) {
        beginRun(document);
        m_debuggedFile = m_documents.file(document);
        showDebugLines();
        setBottomTab(BottomTab::Variables);
    });
    connect(&m_debugSession, &DebugSession::changed, &m_wiring, [this] { showDebugLines(); });
    connect(&m_debugSession, &DebugSession::paused, &m_wiring, [this](const DebugPause &pause) {
        m_variablesStore.setVariables(pause.variables);
        if (!m_isTypingInShell)
            setBottomTab(BottomTab::Variables);
    });
}

void AppState::showDebugLines()
{
    for (EditorFile *file : m_documents.openFiles()) {
        if (file == m_debuggedFile)
            file->setDebugLines(m_debugSession.activeBreakpointLines(), m_debugSession.pausedAt());
        else
            file->setDebugLines({}, std::nullopt);
    }
}

void AppState::wireFiles()
{
    connect(&m_fileTransfer, &FileTransfer::localFilesChanged, &m_localFiles, &LocalFiles::reload);
    connect(&m_filesCopy, &FilesCopy::localFilesChanged, &m_localFiles, &LocalFiles::reload);
    connect(&m_boardFileActions, &BoardFileActions::fileCreated, &m_wiring,
            [this](const DeviceFileNode &node) { m_boardDocuments.openDeviceFile(node); });
    connect(&m_boardDocuments, &BoardDocuments::sent, &m_wiring,
            [this] { setSidebarTab(SidebarTab::Device); });
    connect(&m_boardDocuments, &BoardDocuments::saveAsRequested, &m_wiring,
            [this] { m_saving.saveAs(); });
}

void AppState::wirePreferences()
{
    m_preferences.follow(Preferences::ShowReplMessages, &m_wiring, [this] {
        m_shell.setShowsReplMessages(m_preferences.flag(Preferences::ShowReplMessages));
    });
    m_preferences.whenChanged(Preferences::KeepShellHistory, &m_wiring, [this] {
        if (!m_preferences.flag(Preferences::KeepShellHistory))
            m_inputHistory.forget();
    });
    m_preferences.follow(Preferences::ShellOutputLimit, &m_wiring, [this] {
        m_shell.setLimit(m_preferences.number(Preferences::ShellOutputLimit) * charactersPerUnit);
    });
    m_link.setBaudRates([this](const QString &port) { return m_preferences.baudRate(port); });
    m_runner.setInterpreter(m_preferences.text(Preferences::Interpreter));
    m_preferences.whenChanged(Preferences::Interpreter, &m_wiring, [this] {
        m_runner.setInterpreter(m_preferences.text(Preferences::Interpreter));
        if (const QString python = m_runner.findPython(); !python.isEmpty())
            m_shell.appendInfo(QStringLiteral("Programs run in %1 from now on.").arg(python));
        m_errors.reportFailureOf(m_variablesStore.restartLocalSession());
    });
}

bool AppState::isBoardBrowsed() const
{
    return m_sidebarTab == SidebarTab::Device && m_link.connectionState().isConnected();
}

void AppState::warnWithoutPython()
{
    if (m_runner.findPython().isEmpty()) {
        m_shell.appendInfo(QStringLiteral("⚠️  ") + PythonRunner::notFoundMessage()
                           + QStringLiteral(" or via Homebrew."));
    }
}

QCoro::Task<void> AppState::runLocally(QString name, QString source, QString path)
{
    const auto life = m_life.watch();
    const int run = ++m_lastLocalRun;
    m_shell.appendInfo(QStringLiteral("▶ Running %1…").arg(name));
    const RunResult result = co_await m_runner.run(source, path, true);
    if (!life)
        co_return;
    finishLocally(result);
    m_shell.appendInfo(QStringLiteral("▶ Done."));
    // After stopRun() the next run may already be waiting for the end of this one.
    if (run == m_lastLocalRun)
        setRunning(false);
}

QCoro::Task<void> AppState::runShellLocally(QString command)
{
    const auto life = m_life.watch();
    const RunResult result = co_await m_runner.runShell(command);
    if (life)
        finishLocally(result);
}

void AppState::finishLocally(const RunResult &result)
{
    m_shell.flushOutput();
    if (!result.error.isEmpty())
        m_shell.appendErrorOutput(result.error);
    m_variablesStore.setVariables(result.variables);
}

void AppState::setRunning(bool isRunning)
{
    if (std::exchange(m_isRunning, isRunning) != isRunning)
        emit isRunningChanged();
}

} // namespace Korvane
