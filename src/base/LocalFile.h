#pragma once

#include "base/Result.h"

#include <QByteArray>

/// Local files, read and written as a whole. Every function blocks, so none is for the main thread.
/// Failures carry the system's error by name and, in `Error::systemCode`, errno.
namespace Korvane::LocalFile {

/// Who may read a file that is written.
enum class Access {
    /// An existing file keeps its permissions, a new one gets those of the process's umask.
    Default,
    /// Mode 0600, also for a file that existed with other permissions.
    OwnerOnly,
};

/// The file's bytes. Fails for folders, pipes and devices.
[[nodiscard]] Result<QByteArray> read(const QString &path);

/// The file's text, with a byte-order mark kept as its first character. Fails with
/// ErrorCode::NotText, naming the first offending byte, when the file is not UTF-8: writing a lossy
/// conversion back would destroy it.
[[nodiscard]] Result<QString> readText(const QString &path);

/// Replaces the file in one step: writes a temporary file in the same folder, syncs it to the disk
/// and renames it. Extended attributes (access control lists among them) and a symbolic link at
/// \p path are kept. On failure, also for lack of space, the old file is unchanged and the
/// temporary file is removed.
[[nodiscard]] Result<void> writeAtomically(const QString &path, const QByteArray &bytes,
                                           Access access = Access::Default);

} // namespace Korvane::LocalFile
