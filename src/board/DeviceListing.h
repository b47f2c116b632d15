#pragma once

#include "board/BoardRecords.h"

#include <optional>

/// The board's file tree as its listing script prints it.
namespace Korvane::DeviceListing {

/// The tree in what the listing script printed; nothing when it holds no listing. Text before the
/// marker is ignored. Entries without a usable name, path or kind are left out. Each folder is
/// sorted in the order of file managers, folders first.
[[nodiscard]] std::optional<QList<DeviceFileNode>> parse(const QString &output);

/// The entries of the folder at \p path, or null when the tree has no such folder. Points into
/// \p nodes, or to an empty list.
[[nodiscard]] const QList<DeviceFileNode> *children(const QList<DeviceFileNode> &nodes,
                                                    const QString &path);

/// The node with that path, folder or file, or null.
[[nodiscard]] const DeviceFileNode *find(const QList<DeviceFileNode> &nodes, const QString &path);

/// The path of \p name in \p folder.
[[nodiscard]] QString join(const QString &folder, const QString &name);

} // namespace Korvane::DeviceListing
