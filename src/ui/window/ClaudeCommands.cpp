#include "ui/window/ClaudeCommands.h"

#include "app/AppState.h"
#include "app/Settings.h"
#include "mcp/MCPServer.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

namespace Korvane {

ClaudeCommands::ClaudeCommands(AppState &state, MCPServer &server, QMainWindow &window)
    : QObject(&window)
    , m_state(state)
    , m_server(server)
{
    QMenu *menu = window.menuBar()->addMenu(tr("&Claude"));
    menu->setObjectName(QStringLiteral("claudeMenu"));
    m_startOrStop = menu->addAction(QString(), this, &ClaudeCommands::startOrStop);
    menu->addAction(tr("Copy Connection Command"), this, &ClaudeCommands::copyConnectionCommand);
    menu->addSeparator();
    m_startWithProgram = addToggle(tr("Start Server When the IDE Opens"), Settings::serverEnabled);
    m_writeWithoutAsking =
        addToggle(tr("Write to the Device Without Asking"), Settings::autoApproveWrites);
    menu->addActions({m_startWithProgram, m_writeWithoutAsking});

    connect(menu, &QMenu::aboutToShow, this, &ClaudeCommands::update);
    connect(&m_server, &MCPServer::isRunningChanged, this, &ClaudeCommands::update);
    connect(&m_server, &MCPServer::settingsChanged, this, &ClaudeCommands::update);
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

QAction *ClaudeCommands::addToggle(const QString &title, const QString &key)
{
    auto *toggle = new QAction(title, this);
    toggle->setCheckable(true);
    connect(toggle, &QAction::triggered, this, [this, key](bool isOn) {
        m_state.settings().setFlag(key, isOn);
        m_server.announceSettingsChange();
    });
    return toggle;
}

void ClaudeCommands::update()
{
    m_startOrStop->setText(m_server.isRunning() ? tr("Stop MCP Server") : tr("Start MCP Server"));
    m_startWithProgram->setChecked(m_state.settings().flag(Settings::serverEnabled));
    m_writeWithoutAsking->setChecked(m_state.settings().flag(Settings::autoApproveWrites));
}

} // namespace Korvane
