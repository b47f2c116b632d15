#pragma once

#include "board/BoardRecords.h"

#include <QMimeData>
#include <QStringList>

#include <memory>
#include <optional>

namespace Korvane {

class DeviceFiles;

/// Paths of the connected board in drags and on the clipboard. They are valid in this process and
/// for the connection that they were taken from.
namespace BoardPathsMime {

[[nodiscard]] std::unique_ptr<QMimeData> make(const QStringList &paths, int connection);
/// Nothing when \p data has no paths of \p connection.
[[nodiscard]] std::optional<QStringList> paths(const QMimeData &data, int connection);

/// The entries of the last listing at \p paths.
[[nodiscard]] QList<DeviceFileNode> nodes(const QStringList &paths, const DeviceFiles &files);

} // namespace BoardPathsMime

/// Marks entries on the clipboard as cut: pasting moves them. Other programs' marks are read too.
namespace CutMark {

void set(QMimeData &data);
[[nodiscard]] bool isSet(const QMimeData &data);

} // namespace CutMark

/// The paths of the local files in \p data.
[[nodiscard]] QStringList localPaths(const QMimeData &data);

} // namespace Korvane
