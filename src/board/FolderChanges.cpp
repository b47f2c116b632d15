#include "board/FolderChanges.h"

namespace Korvane {

FolderChanges FolderChanges::compare(const QList<CopyItem> &local, const QList<CopyItem> &board,
                                     QList<CopyItem> &candidates)
{
    QHash<QString, CopyItem> onBoard;
    for (const CopyItem &item : board) {
        if (!item.isDirectory)
            onBoard.insert(item.relativePath, item);
    }
    FolderChanges changes;
    QList<Entry> changed;
    for (const CopyItem &item : local) {
        if (item.isDirectory)
            continue;
        const auto found = onBoard.constFind(item.relativePath);
        if (found == onBoard.constEnd())
            changes.entries.append({item.relativePath, Kind::New, item.size});
        else if (found->size != item.size)
            changed.append({item.relativePath, Kind::Changed, item.size});
        else
            candidates.append(item);
        onBoard.remove(item.relativePath);
    }
    changes.entries += changed;
    for (const CopyItem &item : board) {
        if (onBoard.contains(item.relativePath))
            changes.entries.append({item.relativePath, Kind::OnlyOnBoard, item.size});
    }
    return changes;
}

} // namespace Korvane
