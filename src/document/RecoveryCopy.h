#pragma once

#include "base/Result.h"
#include "document/DocumentPlace.h"

#include <QFileInfoList>
#include <QString>

#include <optional>

namespace Korvane {

/// The content of one recovery file: the unsaved text of a document and where it belongs, as JSON.
/// All functions block.
struct RecoveryCopy
{
    QString name;
    DocumentPlace place;
    /// As it would be written to the document's file.
    QString fileText;
    /// What was last read or written at `place`; nothing when it is unknown.
    std::optional<QString> savedText;

    /// Nothing when \p file does not exist or is damaged.
    [[nodiscard]] static std::optional<RecoveryCopy> read(const QString &file);
    /// Replaces \p file, which only its owner can read.
    [[nodiscard]] Result<void> write(const QString &file) const;

    /// Whether the local file of the document holds this text.
    [[nodiscard]] bool isSaved() const;
};

/// The folder below which each running program has a folder with its recovery files.
namespace RecoveryFolder {

/// Creates \p folder unless it exists, and lets only its owner use it (mode 0700).
void makePrivate(const QString &folder);
/// The recovery files directly in \p folder, the latest first.
[[nodiscard]] QFileInfoList copies(const QString &folder);
/// The recovery file of a document in \p folder.
[[nodiscard]] QString copyPath(const QString &folder, const QString &documentID);
/// The lock file that a running program holds in its folder.
[[nodiscard]] QString lockPath(const QString &folder);
/// Moves the recovery files of programs that have ended from their folders into \p folder, and
/// lets only the owner read all of them (mode 0600).
void adoptEnded(const QString &folder);

} // namespace RecoveryFolder

} // namespace Korvane
