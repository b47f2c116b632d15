#pragma once

#include "board/BoardCapabilities.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// The MicroPython programs that the file operations run on the board, filled in for one call.
/// Their texts are files of their own in `scripts/`. Each prints a marker, and what follows the
/// marker is the answer.
namespace Korvane::BoardScripts {

enum class NodeKind { File, Folder };

/// The part of \p output after the first \p marker; none when the marker is missing.
[[nodiscard]] std::optional<QString> textAfter(const QString &output, QLatin1StringView marker);

/// \p path as a Python string literal. Control characters are escaped too: the raw REPL executes
/// what it has received at a Ctrl-D, also inside a literal. All programs get board paths
/// from this function.
[[nodiscard]] QString pathLiteral(const QString &path);

/// Prints "__LS__" and the whole file system as JSON (see DeviceListing).
[[nodiscard]] QString list();
/// The same for a board without `json`, `os.stat` or folders.
[[nodiscard]] QString listPlain(const BoardCapabilities &board);
/// Prints "__FILE__" and the file as base64, or "__FILEERR__" and the board's reason.
[[nodiscard]] QString read(const QString &path);
/// Prints "__EXISTS__1" or "__EXISTS__0".
[[nodiscard]] QString exists(const QString &path);
/// The same for a board without `os.stat`.
[[nodiscard]] QString existsPlain(const QString &path);
/// Creates or replaces the file in pieces small enough for a board's memory, then prints "__OK__".
[[nodiscard]] QString write(const QString &path, const QByteArray &bytes);
/// Prints "__ID__" and the board's unique id in hexadecimal digits, if it has one.
[[nodiscard]] QString identity();
/// Prints "__FREE__" and the bytes that are free after a garbage collection.
[[nodiscard]] QString freeHeap();
/// Removes a file or an empty folder: prints "__OK__", or "__ERR__" and the board's reason.
[[nodiscard]] QString remove(const QString &path, NodeKind kind);
/// Makes each folder in turn, parents first; one that exists is left alone. Prints "__OK__".
[[nodiscard]] QString makeFolders(const QStringList &paths);

} // namespace Korvane::BoardScripts
