#include "ui/window/KorvaneApp.h"

#include "app/CommandLine.h"
#include "app/FileSettings.h"
#include "app/Workspace.h"
#include "document/RecoveryFiles.h"
#include "editor/CodeEditorView.h"
#include "mcp/BoardTools.h"
#include "mcp/MCPServer.h"
#include "theme/DesktopFonts.h"
#include "ui/controls/Accessibility.h"
#include "ui/controls/ThemeStyle.h"
#include "ui/dialogs/PreferencesDialog.h"
#include "ui/window/Actions.h"
#include "ui/window/Appearance.h"
#include "ui/window/ClaudeCommands.h"
#include "ui/window/ContentView.h"
#include "ui/window/HelpCommands.h"
#include "ui/window/LocalFileOpening.h"
#include "ui/window/PreferenceEffects.h"
#include "ui/window/RecoveryFilesMenu.h"
#include "ui/window/StartPage.h"
#include "ui/window/Translations.h"
#include "ui/window/WindowState.h"
#include "ui/window/WorkspaceMenu.h"

#include <QAction>
#include <QApplication>
#include <QDBusConnection>
#include <QFileInfo>
#include <QThreadPool>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

// Outside of all namespaces, as the macro requires.
static QIcon applicationIcon()
{
    Q_INIT_RESOURCE(application); // of a static library
    return QIcon(QStringLiteral(":/application/korvane.svg"));
}

namespace Korvane {

namespace {

constexpr std::chrono::milliseconds iconDelay{100};

} // namespace

void KorvaneApp::setUp(QApplication &)
{
    QApplication::setApplicationName(QStringLiteral("Korvane"));
    QApplication::setApplicationDisplayName(QStringLiteral("Korvane"));
    QApplication::setApplicationVersion(QStringLiteral(KORVANE_VERSION));
    QApplication::setOrganizationName(QStringLiteral("Korvane"));
    QApplication::setDesktopFileName(QStringLiteral("korvane"));
    Accessibility::install();
    QApplication::setStyle(new ThemeStyle);
    DesktopFonts::loadForQt();
    // QMenuBar asks the session bus for a global menu bar and waits for the connection; without a
    // bus that takes two milliseconds.
    QThreadPool::globalInstance()->start([] { QDBusConnection::sessionBus(); });
}

KorvaneApp::KorvaneApp(const KorvaneReplacements &replacements)
    : m_settings(replacements.settings ? nullptr : std::make_unique<FileSettings>())
    , m_state(dependencies(replacements))
{
    if (m_settings)
        m_settings->setProblemHandler(
            [this](const QString &problem) { m_state.shell().appendError(problem); });
    m_recoveryFiles = std::make_unique<RecoveryFiles>(m_state.documents(), m_state.shell(),
                                                      RecoveryFiles::defaultFolder());
    Preferences &preferences = m_state.preferences();
    preferences.follow(Preferences::KeepRecoveryFiles, m_recoveryFiles.get(), [this, &preferences] {
        m_recoveryFiles->setKeeping(preferences.flag(Preferences::KeepRecoveryFiles));
    });
    m_state.closing().setRecovery({.keepsEdits = [this] { return m_recoveryFiles->isKeeping(); },
                                   .hasPending = [this] { return m_recoveryFiles->hasPending(); },
                                   .writePending = [this] { return m_recoveryFiles->flush(); }});
    makeWindow();
    m_prompts.setWindow(m_window.get());
    m_prompts.setStopServer([this] { m_server->stop(); });
    new RecoveryFilesMenu(*m_recoveryFiles, m_state.prompts(), m_window->viewMenu());
    new WindowState(WindowState::defaultPath(), *m_window); // a child of the window
    QObject::connect(m_recoveryFiles.get(), &RecoveryFiles::leftoversReported, m_window.get(),
                     &ContentView::showShell);
    const QList<REPLLine> &lines = m_state.shell().replLines();
    const auto isError = [](const REPLLine &line) { return line.kind == REPLLine::Kind::Error; };
    if (std::any_of(lines.cbegin(), lines.cend(), isError))
        m_window->showShell(); // WindowState may have hidden it after they were reported
    showFirstSteps();
    makeWorkspace();
}

KorvaneApp::~KorvaneApp() = default;

AppState::Dependencies KorvaneApp::dependencies(const KorvaneReplacements &replacements)
{
    return {
        .settings = m_settings ? *m_settings : *replacements.settings,
        .prompts = replacements.prompts ? *replacements.prompts : m_prompts,
        .interpreters = replacements.interpreters,
        .serialRoots = replacements.serialRoots,
        .historyPath = InputHistory::defaultPath(),
        .virtualBoardFolder = replacements.virtualBoardFolder,
        .makeServer = [this](AppState &state) -> std::unique_ptr<AssistantServer> {
            auto server = std::make_unique<MCPServer>(MCPServer::Dependencies{
                .shell = state.shell(),
                .settings = state.settings(),
                .setRunning = [&state](bool isRunning) { state.setMcpRunning(isRunning); },
                .tools = std::make_unique<BoardTools>(state),
                .state = &state,
            });
            m_server = server.get();
            return server;
        },
    };
}

void KorvaneApp::makeWindow()
{
    Preferences &preferences = m_state.preferences();
    m_appearance = std::make_unique<Appearance>(preferences);
    Translations::install(preferences.text(Preferences::Language));
    DesktopFonts::finishLoading();
    m_window = std::make_unique<ContentView>(m_state);
    // A title bar that Qt draws itself, under Wayland, shows only what is set.
    m_window->setWindowTitle(QApplication::applicationDisplayName());
    new PreferenceEffects(preferences, *m_window);
    new ClaudeCommands(m_state, *m_server, *m_window); // a child of the window
    new HelpCommands(*m_window);
    connectPreferences();
}

void KorvaneApp::makeWorkspace()
{
    m_workspace = std::make_unique<Workspace>(m_state, WorkspaceFile::defaultPath());
    m_workspace->setViewStateWriter([this] {
        if (m_window)
            m_window->editor().keepViewState();
    });
    new WorkspaceMenu(*m_workspace, m_state, m_window->fileMenu(),
                      m_window->commands()[Actions::Save]);
    new StartPage(*m_workspace, m_state, m_window->editor());
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, m_workspace.get(), &Workspace::save);
}

void KorvaneApp::showFirstSteps()
{
    if (m_state.runner().findPython().isEmpty())
        m_state.shell().appendInfo(QObject::tr("This installs Python: sudo apt install python3"));
    if (QFileInfo::exists(WorkspaceFile::defaultPath()))
        return; // not the first start
    const QStringList ports = m_state.link().availablePorts();
    // Many computers have built-in serial ports to which nothing is connected.
    const bool isBoardThere = std::any_of(ports.begin(), ports.end(), [](const QString &port) {
        return !port.startsWith(QStringLiteral("/dev/ttyS"));
    });
    if (!isBoardThere)
        m_state.shell().appendInfo(
            QObject::tr("No board is plugged in. Connect Device › Try Without a Board starts a "
                        "virtual one."));
}

void KorvaneApp::connectPreferences()
{
    Preferences &preferences = m_state.preferences();
    preferences.whenChanged(Preferences::ServerPort, m_window.get(), [this, &preferences] {
        m_server->setPort(static_cast<quint16>(preferences.number(Preferences::ServerPort)));
    });
    QObject::connect(m_window->commands()[Actions::ShowPreferences], &QAction::triggered,
                     m_window.get(), [this] {
                         if (!m_preferencesDialog)
                             m_preferencesDialog =
                                 new PreferencesDialog(m_state, *m_server, m_window.get());
                         m_preferencesDialog->show();
                         m_preferencesDialog->activateWindow();
                     });
}

void KorvaneApp::show()
{
    m_window->show();
    m_workspace->restore();
    // Qt draws the icon in many sizes, so this is done after the window's first frame. A timer of 0
    // ms would end before the X server's expose event arrives.
    QTimer::singleShot(iconDelay, m_window.get(),
                       [] { QApplication::setWindowIcon(applicationIcon()); });
}

QCoro::Task<void> KorvaneApp::open(CommandLine commandLine)
{
    if (!commandLine.port.isEmpty())
        m_state.board().connectTo(commandLine.port);
    const auto life = m_state.watch();
    OpenFiles &documents = m_state.documents();
    const QUuid shown = documents.selectedFileID();
    co_await openLocalFiles(m_state, commandLine.files);
    if (!life)
        co_return;
    const EditorFile *empty = documents.file(shown);
    if (empty && empty->isUntouched() && documents.selectedFileID() != shown)
        documents.closeFile(shown);
}

void KorvaneApp::activateWindow()
{
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->raise();
    m_window->activateWindow();
}

} // namespace Korvane
