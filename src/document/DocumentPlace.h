#pragma once

#include <QString>

class QJsonObject;

namespace Korvane {

/// The file that a document belongs to: none, a local file, or a file of one board.
struct DocumentPlace
{
    enum class Kind { None, Local, Board };

    Kind kind = Kind::None;
    /// The path with which the file was opened or saved.
    QString path;
    /// The identity of the board; empty elsewhere.
    QString board;
    /// Of a local file, after `resolved`: the path without symbolic links, "." and doubled slashes,
    /// equal for all names of the file; before it, QDir::cleanPath of `path`. On a board the same
    /// as `path`.
    QString canonicalPath;

    [[nodiscard]] static DocumentPlace local(const QString &path);
    [[nodiscard]] static DocumentPlace onBoard(const QString &board, const QString &path);

    /// This place with the canonical path of a local file, which need not exist. Reads the disk:
    /// not on the main thread.
    [[nodiscard]] DocumentPlace resolved() const;
    /// The entry at \p path itself, also when that is a link: the canonical path is that of its
    /// folder and its name. Reads the disk: not on the main thread.
    [[nodiscard]] static DocumentPlace localEntry(const QString &path);
    /// Whether both are the same file. False when one of them is of kind None.
    [[nodiscard]] bool isSameFile(const DocumentPlace &other) const;
    /// Whether this is \p other, or below it when that is a folder.
    [[nodiscard]] bool isWithin(const DocumentPlace &other) const;
    /// The new place of this file after \p from, which it must be within, was moved to \p to.
    [[nodiscard]] DocumentPlace moved(const DocumentPlace &from, const DocumentPlace &to) const;

    /// The place that `writeTo` has written into \p object. Of kind None when there is none, or
    /// when its path is not absolute.
    [[nodiscard]] static DocumentPlace readFrom(const QJsonObject &object);
    /// Adds "path", or "devicePath" and "board", to \p object; nothing for kind None.
    void writeTo(QJsonObject &object) const;

    friend bool operator==(const DocumentPlace &, const DocumentPlace &) = default;
};

} // namespace Korvane
