#pragma once

#include "board/CopyPlan.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

namespace Korvane {

/// How a local folder differs from a folder of the board: the plan of "Send changed files".
struct FolderChanges
{
    enum class Kind { New, Changed, OnlyOnBoard };
    struct Entry
    {
        /// The path of a file below both folders, with "/" as the separator.
        QString relativePath;
        Kind kind = Kind::New;
        /// Bytes of the local file, or, for OnlyOnBoard, of the board's.
        qint64 size = 0;

        friend bool operator==(const Entry &, const Entry &) = default;
    };

    QString localFolder;
    QString boardFolder;
    /// Sorted by kind, then as listed.
    QList<Entry> entries;
    qsizetype unchangedCount = 0;
    QList<CopyPlan::Skipped> skipped;
    /// DeviceLink::connectionNumber of the board that was compared.
    int connection = 0;

    /// Compares by names and sizes. Files of equal name and size are appended to \p candidates:
    /// their content must be compared.
    [[nodiscard]] static FolderChanges compare(const QList<CopyItem> &local,
                                               const QList<CopyItem> &board,
                                               QList<CopyItem> &candidates);
};

} // namespace Korvane
