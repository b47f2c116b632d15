#include "ui/browser/BrowserCommands.h"

#include "ui/browser/BrowserPane.h"
#include "ui/window/Actions.h"

#include <QAction>

#include <functional>

namespace Korvane {

BrowserCommands::BrowserCommands(Actions &actions, BrowserPane &local, QObject *parent)
    : QObject(parent)
    , m_actions(actions)
    , m_shown(&local)
{
    using Operation = std::function<void(BrowserPane &)>;
    const auto act = [this](Actions::Command command, const Operation &operation) {
        connect(m_actions[command], &QAction::triggered, this,
                [this, operation] { operation(*m_shown); });
    };
    act(Actions::OpenEntries, &BrowserPane::openSelected);
    act(Actions::CopyEntries, &BrowserPane::copySelected);
    act(Actions::SendChangedFiles, &BrowserPane::sendChangedFiles);
    act(Actions::CreateFile, &BrowserPane::createFile);
    act(Actions::CreateFolder, &BrowserPane::createFolder);
    act(Actions::RenameEntry, [this](BrowserPane &pane) {
        emit paneNeeded();
        pane.renameSelected();
    });
    act(Actions::DeleteEntries, &BrowserPane::deleteSelected);
    add(local, true);
    updateActions();
}

void BrowserCommands::addDevice(BrowserPane &pane)
{
    add(pane, false);
}

void BrowserCommands::add(BrowserPane &pane, bool isLocal)
{
    const auto separator = [this] {
        auto *action = new QAction(this);
        action->setSeparator(true);
        return action;
    };
    BrowserPane::MenuActions menus;
    menus.forEntries << m_actions[Actions::OpenEntries] << m_actions[Actions::CopyEntries];
    if (isLocal)
        menus.forEntries << m_actions[Actions::SendChangedFiles];
    menus.forEntries << separator() << m_actions[Actions::RenameEntry]
                     << m_actions[Actions::DeleteEntries];
    menus.forFolder << m_actions[Actions::CreateFile] << m_actions[Actions::CreateFolder];
    if (isLocal)
        menus.forFolder << separator() << m_actions[Actions::SendChangedFiles];
    pane.setMenuActions(menus);
    connect(&pane, &BrowserPane::abilitiesChanged, this, [this, &pane] {
        if (m_shown == &pane)
            updateActions();
    });
}

void BrowserCommands::setShown(BrowserPane &pane)
{
    m_shown = &pane;
    updateActions();
}

void BrowserCommands::updateActions()
{
    const BrowserPane::Abilities abilities = m_shown->abilities();
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
