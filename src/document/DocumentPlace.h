#pragma once

#include <QString>

class QJsonObject;

namespace Korvane {

/// The file that a document belongs to: none, a local file, or a file of one board.
struct DocumentPlace
{
    enum class Kind { Nowhere, Local, Board };

    Kind kind = Kind::Nowhere;
    /// As the file was opened or saved.
    QString path;
    /// The identity of the board; empty elsewhere.
    QString board;
    /// One path for all names of a local file, without links, "." and doubled slashes; the same as
    /// `path` on a board, and locally until the disk was asked.
    QString canonicalPath;

    [[nodiscard]] static DocumentPlace local(const QString &path);
    [[nodiscard]] static DocumentPlace onBoard(const QString &board, const QString &path);

    /// This place with the canonical path of a local file, which need not exist. Reads the disk:
    /// not on the main thread.
    [[nodiscard]] DocumentPlace resolved() const;
    /// The entry at \p path itself, also when that is a link: the canonical path is that of its
    /// folder and its name. Reads the disk: not on the main thread.
    [[nodiscard]] static DocumentPlace localEntry(const QString &path);
    /// Whether both are the same file. Nowhere is not the same as nowhere.
    [[nodiscard]] bool isSameFile(const DocumentPlace &other) const;
    /// Whether this is \p other, or below it when that is a folder.
    [[nodiscard]] bool isWithin(const DocumentPlace &other) const;
    /// Where this place is after \p from, which it is within, was moved to \p to.
    [[nodiscard]] DocumentPlace moved(const DocumentPlace &from, const DocumentPlace &to) const;

    /// The place that `writeTo` has written into \p object; nowhere when there is none, or when its
    /// path is not absolute.
    [[nodiscard]] static DocumentPlace readFrom(const QJsonObject &object);
    /// Adds "path", or "devicePath" and "board", to \p object; nothing for nowhere.
    void writeTo(QJsonObject &object) const;

    friend bool operator==(const DocumentPlace &, const DocumentPlace &) = default;
};

} // namespace Korvane
