#pragma once

#include "app/Preferences.h"

#include <QObject>

class QAction;

namespace Korvane {

class AppState;
class ContentView;
class MCPServer;

/// The menu "Claude": starts and stops the assistant's server and sets what the assistant may do.
class ClaudeCommands final : public QObject
{
    Q_OBJECT

public:
    /// Adds the menu to the menu bar of \p window, which owns this. \p state and \p server must
    /// outlive it.
    ClaudeCommands(AppState &state, MCPServer &server, ContentView &window);

private:
    void startOrStop();
    void copyConnectionCommand();
    void connectToggle(QAction *toggle, Preferences::Id id);
    /// Shows the state of the server and the settings.
    void update();

    AppState &m_state;
    MCPServer &m_server;
    QAction *m_startOrStop;
    QAction *m_startWithProgram;
    QAction *m_writeWithoutAsking;
};

} // namespace Korvane
