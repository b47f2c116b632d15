#pragma once

#include "base/Result.h"

#include <QByteArray>
#include <QFile>
#include <QSaveFile>

#include <memory>

/// Local files, read and written as a whole or in pieces. Every function blocks, so none is for the
/// main thread. Failures carry the system's error by name and, in `Error::systemCode`, errno.
namespace Korvane::LocalFile {

/// Who may read a file that is written.
enum class Access {
    /// An existing file keeps its permissions, a new one gets those of the process's umask.
    Default,
    /// Mode 0600, also for a file that existed with other permissions.
    OwnerOnly,
};

/// The file's bytes. Fails for folders, pipes and devices.
[[nodiscard]] Result<QByteArray> read(const QString &path);

/// The file's text, with a byte-order mark kept as its first character. Fails with
/// ErrorCode::NotText, naming the first offending byte, when the file is not UTF-8: writing a lossy
/// conversion back would destroy it.
[[nodiscard]] Result<QString> readText(const QString &path);

/// Replaces the file in one step: writes a temporary file in the same folder, syncs it to the disk
/// and renames it. Extended attributes (access control lists among them), as far as they can be
/// set, and a symbolic link at \p path are kept. On failure, also for lack of space, the old file
/// is unchanged and the temporary file is removed.
[[nodiscard]] Result<void> writeAtomically(const QString &path, const QByteArray &bytes,
                                           Access access = Access::Default);

/// Reads a file in pieces. Any thread, one at a time.
class Reader final
{
public:
    /// Fails as `LocalFile::read` does.
    [[nodiscard]] static Result<std::shared_ptr<Reader>> open(const QString &path);
    /// Up to \p maxBytes; empty at the end.
    [[nodiscard]] Result<QByteArray> read(qsizetype maxBytes);
    /// Makes the next `read` begin at the start of the file.
    [[nodiscard]] Result<void> rewind();
    /// The size in bytes when the file was opened.
    [[nodiscard]] qint64 size() const { return m_size; }

private:
    explicit Reader(const QString &path)
        : m_file(path)
    {
    }

    QFile m_file;
    qint64 m_size = 0;
};

/// Replaces a file as `writeAtomically` does, from pieces. Without a `commit` that succeeded, the
/// old file is unchanged and the temporary file is removed, at the latest when this is destroyed.
/// Any thread, one at a time.
class Writer final
{
public:
    [[nodiscard]] static Result<std::shared_ptr<Writer>> open(const QString &path,
                                                              Access access = Access::Default);
    /// Appends. After a failure `commit` fails too.
    [[nodiscard]] Result<void> write(const QByteArray &bytes);
    /// Replaces the file. May be called once.
    [[nodiscard]] Result<void> commit();
    /// Removes the temporary file; the old file is unchanged.
    void discard();

private:
    explicit Writer(const QString &path)
        : m_file(path)
    {
    }

    QSaveFile m_file;
};

} // namespace Korvane::LocalFile
