#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"

#include <QString>

namespace Korvane {

class FolderSync;
class OpenFiles;
class ShellSink;
class UserPrompts;
struct FolderChanges;

/// Sends the files of a local folder that differ from those on the board, after the user has
/// confirmed the list of them. An error's message is the full text for the user. Main thread only.
class ChangedFiles final
{
public:
    /// What ChangedFiles works with; all must outlive it.
    struct Dependencies
    {
        OpenFiles &documents;
        FolderSync &sync;
        UserPrompts &prompts;
        ShellSink &shell;
    };

    explicit ChangedFiles(Dependencies dependencies);

    /// Compares, asks and sends. Files that are only on the board are left alone, unless the user
    /// chooses to delete them. One at a time; fails with ErrorCode::Canceled while one is running.
    [[nodiscard]] Async<void> send(QString localFolder, QString boardFolder);

private:
    [[nodiscard]] Async<void> compareAndSend(QString localFolder, QString boardFolder);
    [[nodiscard]] QString notes(const FolderChanges &changes) const;

    Dependencies m_dependencies;
    bool m_isSending = false;
    Lifetime m_life;
};

} // namespace Korvane
