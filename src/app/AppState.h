#pragma once

#include "app/Documents.h"
#include "app/ShellTranscript.h"
#include "app/VariablesFlow.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <memory>

namespace Korvane {

class AssistantServer;
class DebugSession;
class DeviceLink;
class ProgramRun;
class PythonRunner;
class Settings;

/// The one owner of all state that views and tools show and change. It is made once, before the
/// first window, and lives until the program ends.
///
/// Most of the state lives in its parts, each with its own change signals. What is left here are
/// the few fields without a part, the start-up order, the wiring of the parts and the operations
/// that cross them. Main thread only.
class AppState final : public QObject
{
    Q_OBJECT

public:
    enum class BottomTab { Shell, Variables };
    enum class SidebarTab { Local, Device };

    /// What the outside brings; tests bring their own.
    struct Dependencies;

    explicit AppState(Dependencies dependencies, QObject *parent = nullptr);
    ~AppState() override;

    [[nodiscard]] ShellTranscript &shell();
    [[nodiscard]] Documents &documents();
    [[nodiscard]] PythonRunner &runner();
    [[nodiscard]] DeviceLink &link();
    [[nodiscard]] ProgramRun &programRun();
    [[nodiscard]] DebugSession &debugSession();
    [[nodiscard]] VariablesFlow &variablesFlow();
    [[nodiscard]] Settings &settings();
    /// Null when the program was built up without one.
    [[nodiscard]] AssistantServer *assistantServer();

    /// Runs the selected document, saved or not: in the local session, or on the board when one is
    /// connected. Nothing happens for an empty one. The task may be dropped: it ends by itself, at
    /// the latest when this goes.
    QCoro::Task<void> runCurrentFile();
    /// Interrupts the local run, or the program on the board.
    void stopRun();
    /// Echoes \p command (trimmed by the caller) and gives it to the interpreter in charge.
    void submitShell(const QString &command);

    void setBottomTab(BottomTab tab);
    void setSidebarTab(SidebarTab tab);
    /// \p path is absolute.
    void setLocalWorkingDir(const QString &path);
    /// Makes whoever shows the local folder read it again.
    void reloadLocalFiles();
    /// For the assistant's server only, which says here whether it listens.
    void setMcpRunning(bool running);

    /// A run of the current file is in progress in the local session. A program on the board is
    /// tracked by ProgramRun::deviceProgramRunning instead.
    [[nodiscard]] bool isRunning() const { return m_isRunning; }
    [[nodiscard]] BottomTab bottomTab() const { return m_bottomTab; }
    [[nodiscard]] SidebarTab sidebarTab() const { return m_sidebarTab; }
    /// The folder that the local browser shows; the person's home at first.
    [[nodiscard]] QString localWorkingDir() const { return m_localWorkingDir; }
    /// Counts the calls of `reloadLocalFiles`.
    [[nodiscard]] int localFilesVersion() const { return m_localFilesVersion; }
    [[nodiscard]] bool mcpRunning() const { return m_mcpRunning; }
    /// Where the rows of the Variables table come from. Changes with DebugSession::changed and
    /// DeviceLink::connectionStateChanged.
    [[nodiscard]] QString variablesCaption() const;

signals:
    void isRunningChanged();
    void bottomTabChanged();
    void sidebarTabChanged();
    void localWorkingDirChanged();
    void localFilesVersionChanged();
    void mcpRunningChanged();

private:
    bool m_isRunning = false;
    BottomTab m_bottomTab = BottomTab::Shell;
    SidebarTab m_sidebarTab = SidebarTab::Local;
    QString m_localWorkingDir;
    int m_localFilesVersion = 0;
    bool m_mcpRunning = false;
};

} // namespace Korvane
