#pragma once

#include "base/Result.h"

#include <QByteArray>

/// Local files, read and written whole. Blocks while it does.
namespace Korvane::LocalFile {

/// The file's bytes, or the system's reason as the error's message.
[[nodiscard]] Result<QByteArray> read(const QString &path);

/// The file's text, with a byte-order mark kept as its first character. A file that is not UTF-8
/// is refused, naming the first offending byte: writing it back would destroy it.
[[nodiscard]] Result<QString> readText(const QString &path);

/// Replaces the file in one step: a temporary file in the same folder, then a rename. Permissions
/// and a symbolic link at \p path are kept. On failure the old file is whole.
[[nodiscard]] Result<void> writeAtomically(const QString &path, const QByteArray &bytes);

} // namespace Korvane::LocalFile
