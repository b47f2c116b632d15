#include "ui/browser/BrowserCommands.h"

#include "app/AppState.h"
#include "ui/browser/BrowserPane.h"
#include "ui/window/Actions.h"

#include <QAction>

namespace Korvane {

BrowserCommands::BrowserCommands(AppState &state, Actions &actions, BrowserPane &local,
                                 BrowserPane &device, QObject *parent)
    : QObject(parent)
    , m_state(state)
    , m_actions(actions)
    , m_local(local)
    , m_device(device)
{
    const auto separator = [this] {
        auto *action = new QAction(this);
        action->setSeparator(true);
        return action;
    };
    BrowserPane::MenuActions menus;
    menus.forEntries = {actions[Actions::OpenEntries], actions[Actions::CopyEntries], separator(),
                        actions[Actions::RenameEntry], actions[Actions::DeleteEntries]};
    menus.forFolder = {actions[Actions::CreateFile], actions[Actions::CreateFolder]};
    device.setMenuActions(menus);
    menus.forEntries.insert(2, actions[Actions::SendChangedFiles]);
    menus.forFolder << separator() << actions[Actions::SendChangedFiles];
    local.setMenuActions(menus);
    const auto act = [this](Actions::Command command, void (BrowserPane::*operation)()) {
        connect(m_actions[command], &QAction::triggered, this,
                [this, operation] { (shown().*operation)(); });
    };
    act(Actions::OpenEntries, &BrowserPane::openSelected);
    act(Actions::CopyEntries, &BrowserPane::copySelected);
    act(Actions::SendChangedFiles, &BrowserPane::sendChangedFiles);
    act(Actions::CreateFile, &BrowserPane::createFile);
    act(Actions::CreateFolder, &BrowserPane::createFolder);
    act(Actions::RenameEntry, &BrowserPane::renameSelected);
    act(Actions::DeleteEntries, &BrowserPane::deleteSelected);
    for (BrowserPane *pane : {&local, &device})
        connect(pane, &BrowserPane::abilitiesChanged, this, &BrowserCommands::follow);
    connect(&state, &AppState::sidebarTabChanged, this, &BrowserCommands::follow);
    follow();
}

BrowserPane &BrowserCommands::shown() const
{
    return m_state.sidebarTab() == AppState::SidebarTab::Local ? m_local : m_device;
}

void BrowserCommands::follow()
{
    const BrowserPane::Abilities abilities = shown().abilities();
    const auto set = [this](Actions::Command command, bool isEnabled, const QString &text) {
        m_actions[command]->setEnabled(isEnabled);
        if (!text.isEmpty())
            m_actions[command]->setText(text);
    };
    set(Actions::OpenEntries, abilities.canOpen, abilities.openText);
    set(Actions::CopyEntries, abilities.canCopy, abilities.copyText);
    set(Actions::SendChangedFiles, !abilities.sendChangedText.isEmpty(), abilities.sendChangedText);
    set(Actions::CreateFile, abilities.canCreate, {});
    set(Actions::CreateFolder, abilities.canCreate, {});
    set(Actions::RenameEntry, abilities.canRename, {});
    set(Actions::DeleteEntries, abilities.canDelete, abilities.deleteText);
}

} // namespace Korvane
