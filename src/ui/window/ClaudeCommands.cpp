#include "ui/window/ClaudeCommands.h"

#include "app/AppState.h"
#include "mcp/MCPServer.h"
#include "ui/window/Actions.h"
#include "ui/window/ContentView.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QMenuBar>

namespace Korvane {

ClaudeCommands::ClaudeCommands(AppState &state, MCPServer &server, ContentView &window)
    : QObject(&window)
    , m_state(state)
    , m_server(server)
    , m_startOrStop(window.commands()[Actions::StartOrStopServer])
    , m_startWithProgram(window.commands()[Actions::StartServerWithProgram])
    , m_writeWithoutAsking(window.commands()[Actions::WriteWithoutAsking])
{
    QAction *copy = window.commands()[Actions::CopyConnectionCommand];
    connect(m_startOrStop, &QAction::triggered, this, &ClaudeCommands::startOrStop);
    connect(copy, &QAction::triggered, this, &ClaudeCommands::copyConnectionCommand);
    connectToggle(m_startWithProgram, Preferences::StartServer);
    connectToggle(m_writeWithoutAsking, Preferences::WriteWithoutAsking);
    QMenu *menu = window.menuBar()->addMenu(tr("&Claude"));
    menu->setObjectName(QStringLiteral("claudeMenu"));
    menu->addActions({m_startOrStop, copy});
    menu->addSeparator();
    menu->addActions({m_startWithProgram, m_writeWithoutAsking});

    connect(menu, &QMenu::aboutToShow, this, &ClaudeCommands::update);
    connect(&m_server, &MCPServer::isRunningChanged, this, &ClaudeCommands::update);
    connect(&m_state.preferences(), &Preferences::changed, this, &ClaudeCommands::update);
    update();
}

void ClaudeCommands::startOrStop()
{
    if (m_server.isRunning())
        m_server.stop();
    else
        m_server.start();
}

void ClaudeCommands::copyConnectionCommand()
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(m_server.connectionCommand());
    m_state.shell().appendInfo(tr("Connection command copied — run it in a terminal to register "
                                  "this IDE with Claude Code."));
}

void ClaudeCommands::connectToggle(QAction *toggle, Preferences::Id id)
{
    connect(toggle, &QAction::triggered, this,
            [this, id](bool isOn) { m_state.preferences().setFlag(id, isOn); });
}

void ClaudeCommands::update()
{
    m_startOrStop->setText(m_server.isRunning() ? tr("&Stop MCP Server") : tr("&Start MCP Server"));
    m_startWithProgram->setChecked(m_state.preferences().flag(Preferences::StartServer));
    m_writeWithoutAsking->setChecked(m_state.preferences().flag(Preferences::WriteWithoutAsking));
}

} // namespace Korvane
