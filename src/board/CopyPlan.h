#pragma once

#include "board/BoardRecords.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace Korvane {

/// One entry of the plan of a folder copy.
struct CopyItem
{
    /// The path below the copied folder, with "/" as the separator.
    QString relativePath;
    bool isDirectory = false;
    /// Bytes; 0 for folders and when unknown.
    qint64 size = 0;

    friend bool operator==(const CopyItem &, const CopyItem &) = default;
};

/// The steps of a folder copy, each folder before its contents, so that every parent exists when a
/// folder is made.
struct CopyPlan
{
    /// An entry that is not copied.
    struct Skipped
    {
        /// As in CopyItem; the folder's own name when the folder itself cannot be read.
        QString relativePath;
        /// Why, for the user.
        QString reason;
    };

    QList<CopyItem> items;
    QList<Skipped> skipped;

    [[nodiscard]] QList<CopyItem> files() const;
    [[nodiscard]] qint64 totalSize() const;
    /// One line for each reason, which names the first five entries and counts the rest.
    [[nodiscard]] QStringList skippedLines() const;
};

/// Reads the tree below \p folder. Leaves out hidden entries. Skips, with a reason each, links to
/// folders, links to files outside of \p folder, what is neither a file nor a folder, names that
/// are not UTF-8 and folders that cannot be read. Blocks, so not for the main thread.
[[nodiscard]] CopyPlan planLocalFolder(const QString &folder);

/// The same for the entries of a board folder, as last listed.
[[nodiscard]] CopyPlan planDeviceFolder(const QList<DeviceFileNode> &nodes);

} // namespace Korvane
