#pragma once

#include "base/Error.h"

#include <QStringList>

/// The failures of the tools, with their texts for the assistant. Failures of the operations that
/// the tools use are passed on as they are.
namespace Korvane::MCPToolError {

[[nodiscard]] Error unknownTool(const QString &name);
[[nodiscard]] Error missingArgument(const QString &key);
[[nodiscard]] Error notConnected();
[[nodiscard]] Error noPorts();
[[nodiscard]] Error severalPorts(const QStringList &ports);
[[nodiscard]] Error notOpened(const QString &port);
[[nodiscard]] Error notADirectory(const QString &path);
[[nodiscard]] Error writeDeclined(const QString &path);
[[nodiscard]] Error notThere(const QString &path);
[[nodiscard]] Error deletionDeclined(const QString &path);
[[nodiscard]] Error notDeleted(const QString &path);
/// The program is ending; the answer reaches no client.
[[nodiscard]] Error closed();
/// The call was canceled, or its client has closed the connection.
[[nodiscard]] Error canceled();
/// The call was queued for another board, or for an earlier connection of this one.
[[nodiscard]] Error boardReplaced();
[[nodiscard]] Error badTimeout();
/// The argument \p key has more than \p most characters.
[[nodiscard]] Error tooLong(const QString &key, qsizetype most);
/// \p operation, such as "Delete", was not tried, since a program runs on the board.
[[nodiscard]] Error programRunning(const QString &operation);
/// \p code contains \p character, a control character on which the raw REPL acts.
[[nodiscard]] Error controlCharacter(QChar character);

} // namespace Korvane::MCPToolError
