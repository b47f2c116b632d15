#pragma once

#include "board/BoardRecords.h"

#include <QStringList>

namespace Korvane {

/// One entry of the plan of a folder copy.
struct CopyItem
{
    /// Below the copied folder, joined by "/".
    QString relativePath;
    bool isDirectory = false;
    /// Bytes; 0 for folders and when unknown.
    qint64 size = 0;

    friend bool operator==(const CopyItem &, const CopyItem &) = default;
};

/// What a folder copy will do, folders before what is in them, so that making folders in this
/// order never lacks a parent.
struct CopyPlan
{
    QList<CopyItem> items;
    /// What was left out, relative: links that lead out of the folder, and what is neither a file
    /// nor a folder.
    QStringList skipped;

    [[nodiscard]] QList<CopyItem> files() const;
    [[nodiscard]] qint64 totalSize() const;
};

/// Reads the tree below \p folder; empty when it cannot be read. Leaves out hidden entries, does
/// not descend into links to folders and takes links to files only when they lead to a file inside
/// \p folder. Blocks, so not for the main thread.
[[nodiscard]] CopyPlan planLocalFolder(const QString &folder);

/// The same for the entries of a board folder, as last listed.
[[nodiscard]] CopyPlan planDeviceFolder(const QList<DeviceFileNode> &nodes);

} // namespace Korvane
