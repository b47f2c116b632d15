#pragma once

#include "app/AppState.h"
#include "ui/dialogs/PromptDialogs.h"

#include <QPointer>

#include <memory>

class QApplication;

namespace Korvane {

class Appearance;
class ContentView;
class FileSettings;
struct CommandLine;
class MCPServer;
class PreferencesDialog;
class RecoveryFiles;
class Workspace;

/// What tests use in place of parts of the user's system.
struct KorvaneReplacements
{
    /// Borrowed; must outlive the program. Null for the settings file of the user.
    Settings *settings = nullptr;
    /// Borrowed; must outlive the program. Null for dialogs.
    UserPrompts *prompts = nullptr;
    QStringList interpreters = PythonRunner::defaultInterpreters();
    SerialPortManager::Roots serialRoots = {};
    /// As for VirtualBoardProcess.
    QString virtualBoardFolder = VirtualBoardProcess::defaultFolder();
};

/// The program: its settings, its state and its window, in the order of their dependencies.
class KorvaneApp final
{
public:
    /// Sets the names, the style and the accessible interfaces of the program, and continues
    /// loading the fonts. Called once, before a widget is made.
    static void setUp(QApplication &application);

    /// Reads and writes the files below the user's folders for settings and state, whatever
    /// \p replacements has.
    explicit KorvaneApp(const KorvaneReplacements &replacements = {});
    ~KorvaneApp();
    KorvaneApp(const KorvaneApp &) = delete;
    KorvaneApp &operator=(const KorvaneApp &) = delete;

    void show();
    /// Opens the files and connects to the port that \p commandLine names, if any. When a file was
    /// opened, the document that was selected before is closed if it is still as newFile() made it.
    QCoro::Task<void> open(CommandLine commandLine);
    /// Brings the window to the front, as far as the desktop allows it.
    void activateWindow();

    [[nodiscard]] AppState &state() { return m_state; }
    [[nodiscard]] ContentView &window() { return *m_window; }
    [[nodiscard]] MCPServer &server() { return *m_server; }

private:
    [[nodiscard]] AppState::Dependencies dependencies(const KorvaneReplacements &replacements);
    void makeWindow();
    void makeWorkspace();
    void showFirstSteps();
    void connectPreferences();

    std::unique_ptr<FileSettings> m_settings; // null when they are replaced
    PromptDialogs m_prompts;
    MCPServer *m_server = nullptr; // owned by the state
    AppState m_state;
    std::unique_ptr<Appearance> m_appearance;
    std::unique_ptr<RecoveryFiles> m_recoveryFiles;
    std::unique_ptr<Workspace> m_workspace;
    std::unique_ptr<ContentView> m_window;           // destroyed first: it shows the state
    QPointer<PreferencesDialog> m_preferencesDialog; // the window's; null until it is first opened
};

} // namespace Korvane
