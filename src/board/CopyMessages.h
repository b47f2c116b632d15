#pragma once

#include "base/Error.h"

#include <QString>

namespace Korvane {

/// The status text of a copy: "Copying lib/a.py (3 of 50)…". \p index is from 0.
[[nodiscard]] QString copyProgress(const QString &path, qsizetype index, qsizetype count);
/// The same when changed files are sent.
[[nodiscard]] QString sendingProgress(const QString &path, qsizetype index, qsizetype count);
/// The same when files that are only on the board are deleted.
[[nodiscard]] QString deletingProgress(const QString &path, qsizetype index, qsizetype count);

/// The error of a copy of \p count files that ended with \p cause at \p path, the file at \p index.
/// `Closed` is returned unchanged.
[[nodiscard]] Error copyStoppedAt(const QString &path, qsizetype index, qsizetype count,
                                  const Error &cause);
/// The same when changed files are sent.
[[nodiscard]] Error sendingStoppedAt(const QString &path, qsizetype index, qsizetype count,
                                     const Error &cause);
/// The same when files that are only on the board are deleted.
[[nodiscard]] Error deletingStoppedAt(const QString &path, qsizetype index, qsizetype count,
                                      const Error &cause);

} // namespace Korvane
