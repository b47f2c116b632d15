#pragma once

#include "base/Error.h"

#include <QStringList>

/// The failures of the tools, each with its text for the assistant in one place. What the board
/// itself refuses is told in the words of DeviceError or of the Shell.
namespace Korvane::MCPToolError {

/// For a reason that somebody else has put into words.
[[nodiscard]] Error because(const QString &reason);
[[nodiscard]] Error unknownTool(const QString &name);
[[nodiscard]] Error missingArgument(const QString &key);
[[nodiscard]] Error notConnected();
[[nodiscard]] Error noPorts();
[[nodiscard]] Error severalPorts(const QStringList &ports);
[[nodiscard]] Error notOpened(const QString &port);
[[nodiscard]] Error notADirectory(const QString &path);
[[nodiscard]] Error notRead(const QString &path);
[[nodiscard]] Error writeDeclined(const QString &path);
[[nodiscard]] Error notWritten(const QString &path);
[[nodiscard]] Error notThere(const QString &path);
[[nodiscard]] Error deletionDeclined(const QString &path);
[[nodiscard]] Error notDeleted(const QString &path);
/// The program is ending; nobody will read this.
[[nodiscard]] Error closed();

} // namespace Korvane::MCPToolError
