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

/// Marks entries on the clipboard as copied or cut, in the formats of the desktops' file managers:
/// pasting copies or moves them.
namespace ClipboardMark {

enum class Kind { Copied, Cut };

/// \p data has got its URLs, if any.
void set(QMimeData &data, Kind kind);
/// What has no mark was copied.
[[nodiscard]] Kind of(const QMimeData &data);

} // namespace ClipboardMark

/// The paths of the files of this computer in \p data.
[[nodiscard]] QStringList localPaths(const QMimeData &data);

} // namespace Korvane
