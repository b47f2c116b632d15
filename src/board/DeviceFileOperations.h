#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"
#include "board/WritePermit.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace Korvane {

class DeviceFiles;
class DeviceLink;

/// Creates, moves, counts and deletes entries of the board's file system by short commands. Does
/// not ask, and does not list the board again. An error's message is the board's reason alone; the
/// caller says what was attempted. Main thread only.
class DeviceFileOperations final
{
public:
    enum class Kind { Missing, File, Folder };
    enum class Existing { Refuse, Replace };
    struct Contents
    {
        qint64 files = 0;
        qint64 bytes = 0;
    };
    struct Space
    {
        qint64 totalBytes = 0;
        qint64 freeBytes = 0;
    };
    /// Called before each step; true ends the operation with an error of code `Canceled`.
    using IsCanceled = std::function<bool()>;

    /// Both must outlive this.
    DeviceFileOperations(DeviceLink &link, DeviceFiles &files);

    /// Creates an empty file. Fails when there is an entry of that name.
    [[nodiscard]] Async<void> createFile(WritePermit permit);
    /// Fails when there is an entry of that name, and on boards without folders.
    [[nodiscard]] Async<void> createFolder(WritePermit permit);
    /// Renames or moves the file or folder \p from to the path of \p target. With
    /// Existing::Refuse, fails when there is an entry of that name. When the paths differ only in
    /// case, the folder has to list that name: on FAT it may be the entry itself.
    [[nodiscard]] Async<void> move(QString from, WritePermit target, Existing existing);
    /// Deletes a file, or a folder with its contents. On failure, and when canceled, a part of the
    /// contents may be deleted; the message names the entry that could not be.
    [[nodiscard]] Async<void> remove(WritePermit permit, IsCanceled isCanceled);
    /// What the board holds at each path, in their order.
    [[nodiscard]] Async<QList<Kind>> kindsOf(QStringList paths);
    /// The files in the folder at \p path and below it; for a file, that file.
    [[nodiscard]] Async<Contents> count(QString path);
    /// The space of each file system by the path where it is mounted; "/" is always there. Other
    /// top-level folders may be listed too. Fails on boards without `os.statvfs`.
    [[nodiscard]] Async<QHash<QString, Space>> spaces();

private:
    [[nodiscard]] Async<void> create(Kind kind, WritePermit permit);
    [[nodiscard]] Async<void> expectOk(QString code, WritePermit permit);
    /// \p paths as the board's functions expect them.
    [[nodiscard]] Async<QStringList> nativePaths(QStringList paths);

    DeviceLink &m_link;
    DeviceFiles &m_files;
    Lifetime m_life;
};

/// A name that a file or folder on the board can have: not empty, without "/" and NUL, valid
/// UTF-16, neither "." nor "..".
[[nodiscard]] bool isUsableDeviceName(const QString &name);

} // namespace Korvane
