#pragma once

#include "board/DeviceFiles.h"
#include "board/FileTransfer.h"
#include "board/LinkFixture.h"
#include "board/TransferStatus.h"
#include "support/Awaited.h"
#include "support/ScriptedPrompts.h"

namespace Korvane {

/// A link with the board's files and the copies on it, and scripted answers to prompts.
struct BoardFixture final
{
    LinkFixture fixture;
    ScriptedPrompts prompts;
    TransferStatus transfer;
    DeviceFiles files{*fixture.link, prompts, transfer};
    FileTransfer copies{*fixture.link, files, transfer, fixture};

    BoardFixture()
    {
        QObject::connect(&files, &DeviceFiles::listingFailed, &files,
                         [this](const Error &error) { report(error); });
    }

    /// Logs a failure as the Shell shows it.
    void report(const Error &error)
    {
        for (const QString &message : {error.cause, error.message}) {
            if (!message.isEmpty())
                fixture.appendLine(message,
                                   error.code == ErrorCode::Canceled ? REPLLine::Kind::Info
                                                                     : REPLLine::Kind::Error);
        }
    }
    /// Awaits the end of an operation; reports its failure.
    template <typename T> std::optional<T> done(Async<T> operation)
    {
        auto result = awaited(std::move(operation));
        if (result)
            return *std::move(result);
        report(result.error());
        return std::nullopt;
    }
    bool done(Async<void> operation)
    {
        const auto result = awaited(std::move(operation));
        if (!result)
            report(result.error());
        return static_cast<bool>(result);
    }
    bool write(const QByteArray &bytes, const QString &path, const QString &label)
    {
        return done(files.writeDeviceFile(bytes, files.permitWrite(path), label));
    }
    bool makeFolders(const QStringList &paths)
    {
        return done(files.makeDeviceFolders(paths, files.permitWrite(paths.first())));
    }

    /// Returns the log and clears it.
    QString takeLog() { return std::exchange(fixture.log, {}).join(u'\n'); }
    bool connectTo(const QString &port)
    {
        const bool connected = fixture.connectTo(port);
        fixture.log.clear();
        return connected;
    }
};

} // namespace Korvane
