#pragma once

#include "Desk.h"
#include "device/DeviceFiles.h"
#include "device/FolderCopy.h"
#include "device/Transfer.h"
#include "support/ScriptedQuestions.h"

namespace Korvane {

/// A desk with the board's files and the copies on it, and a person who answers questions.
struct BoardDesk final
{
    Desk desk;
    ScriptedQuestions questions;
    Transfer transfer;
    DeviceFiles files{*desk.link, desk, questions};
    FolderCopy copies{*desk.link, files, transfer, desk};

    /// What was said since the last call.
    QString said() { return std::exchange(desk.log, {}).join(u'\n'); }
    bool connectTo(const QString &port)
    {
        const bool connected = desk.connectTo(port);
        desk.log.clear();
        return connected;
    }
};

} // namespace Korvane
