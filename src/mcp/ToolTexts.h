#pragma once

#include "base/Result.h"
#include "board/BoardRecords.h"
#include "mcp/ToolSet.h"

/// The texts of the board's tools: their arguments, and what they answer.
namespace Korvane::ToolTexts {

inline const QString pathKey = QStringLiteral("path");
inline const QString portKey = QStringLiteral("port");
inline const QString nameKey = QStringLiteral("name");
inline const QString contentKey = QStringLiteral("content");
inline const QString codeKey = QStringLiteral("code");

/// The line that shows a call in the Shell: the tool, and those of its arguments that are names or
/// paths.
[[nodiscard]] QString logLine(const QString &tool, const ToolArguments &arguments);
/// Fails when an argument that is a name or a path has more than 1,024 characters: laying it out in
/// a question or a tab would take seconds.
[[nodiscard]] Result<void> checkNames(const ToolArguments &arguments);
/// The text argument \p key, or an error that names it when it is missing. Only the content of a
/// file may be empty.
[[nodiscard]] Result<QString> required(const ToolArguments &arguments, const QString &key);
/// The text argument \p key, or \p otherwise when it is missing or empty.
[[nodiscard]] QString optional(const ToolArguments &arguments, const QString &key,
                               const QString &otherwise = {});
/// A folder of the board, one entry on a line.
[[nodiscard]] QString describe(const QString &folder, const QList<DeviceFileNode> &children);
/// What a program printed, and its traceback.
[[nodiscard]] QString describe(const DeviceExecution &execution);

} // namespace Korvane::ToolTexts
