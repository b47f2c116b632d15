#pragma once

#include "board/DeviceFiles.h"
#include "board/FileTransfer.h"
#include "board/LinkFixture.h"
#include "board/TransferStatus.h"
#include "support/ScriptedPrompts.h"

namespace Korvane {

/// A fixture with the board's files and the copies on it, and a person who answers prompts.
struct BoardFixture final
{
    LinkFixture fixture;
    ScriptedPrompts prompts;
    TransferStatus transfer;
    DeviceFiles files{*fixture.link, fixture, prompts};
    FileTransfer copies{*fixture.link, files, transfer, fixture};

    /// What was said since the last call.
    QString said() { return std::exchange(fixture.log, {}).join(u'\n'); }
    bool connectTo(const QString &port)
    {
        const bool connected = fixture.connectTo(port);
        fixture.log.clear();
        return connected;
    }
};

} // namespace Korvane
