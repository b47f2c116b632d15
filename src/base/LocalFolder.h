#pragma once

#include "base/Result.h"

#include <QList>

/// The entries of a local folder. Unlike QDir, which leaves out names that are not UTF-8 and lists
/// nothing for an unreadable folder, this reports both.
namespace Korvane::LocalFolder {

struct Entry
{
    /// With U+FFFD in place of bytes that are not UTF-8.
    QString name;
    /// Absolute when the folder's path is. Empty when the name is not UTF-8: Qt cannot open,
    /// replace or watch such a file.
    QString path;
    /// Also for a link to a folder.
    bool isDirectory = false;
    bool isLink = false;
};

/// The entries without the hidden ones (names that start with a dot), in natural order, folders
/// first. Fails with the system's error by name when the folder cannot be read. Blocks.
[[nodiscard]] Result<QList<Entry>> entries(const QString &folder);

} // namespace Korvane::LocalFolder
