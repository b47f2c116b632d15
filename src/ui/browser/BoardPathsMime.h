#pragma once

#include "board/BoardRecords.h"

#include <QMimeData>
#include <QStringList>

#include <memory>
#include <optional>

class QDropEvent;

namespace Korvane {

class DeviceFiles;

/// Paths of the connected board in drags and on the clipboard. They are valid in this process and
/// for the connection that they were taken from.
namespace BoardPathsMime {

/// \p connection is DeviceLink::connectionNumber().
[[nodiscard]] std::unique_ptr<QMimeData> make(const QStringList &paths, int connection);
/// Nothing when \p data has no paths of \p connection.
[[nodiscard]] std::optional<QStringList> paths(const QMimeData &data, int connection);

/// The entries of the last listing at \p paths, without those that it does not have.
[[nodiscard]] QList<DeviceFileNode> nodes(const QStringList &paths, const DeviceFiles &files);

} // namespace BoardPathsMime

/// Marks entries on the clipboard as copied or cut, in the formats of the desktops' file managers:
/// pasting copies or moves them.
namespace ClipboardMark {

enum class Kind { Copied, Cut };

/// The URLs of \p data, if any, must have been set.
void set(QMimeData &data, Kind kind);
/// Copied when \p data has no mark.
[[nodiscard]] Kind of(const QMimeData &data);

} // namespace ClipboardMark

/// The paths of the URLs in \p data that name files of this computer.
[[nodiscard]] QStringList localPaths(const QMimeData &data);
/// Accepts \p event as a copy, since the source of a drag deletes what was moved. Ignores it and
/// returns false when the source offers no copy.
bool acceptAsCopy(QDropEvent &event);

} // namespace Korvane
