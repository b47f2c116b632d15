#pragma once

#include <QObject>

class QAction;
class QMainWindow;

namespace Korvane {

class AppState;
class MCPServer;

/// The menu "Claude": the server for the assistant, and what the assistant may do. No item is ever
/// disabled, and none has keys.
class ClaudeCommands final : public QObject
{
    Q_OBJECT

public:
    /// Adds the menu to the menu bar of \p window, which owns this. \p state and \p server must
    /// outlive it.
    ClaudeCommands(AppState &state, MCPServer &server, QMainWindow &window);

private:
    void startOrStop();
    void copyConnectionCommand();
    [[nodiscard]] QAction *addToggle(const QString &title, const QString &key);
    /// Shows what is so now; nothing is kept here.
    void update();

    AppState &m_state;
    MCPServer &m_server;
    QAction *m_startOrStop = nullptr;
    QAction *m_startWithProgram = nullptr;
    QAction *m_writeWithoutAsking = nullptr;
};

} // namespace Korvane
