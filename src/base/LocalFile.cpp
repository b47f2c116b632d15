#include "base/LocalFile.h"

#include "base/SystemError.h"
#include "base/Utf8.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <limits>

#include <sys/xattr.h>
#include <unistd.h>

namespace Korvane::LocalFile {

namespace {

Error fileError(const QString &message)
{
    return {ErrorCode::File, message};
}

/// The error of a system call that set errno to \p systemCode, or, for 0, the error text of
/// \p file: Qt failed without a system call.
Error fileError(int systemCode, const QFileDevice &file)
{
    if (systemCode == 0)
        return fileError(file.errorString());
    return {ErrorCode::File, systemErrorText(systemCode), {}, systemCode};
}

/// The length of the well-formed UTF-8 at the start, found by bisection with Qt's own check.
qsizetype wellFormedLength(const QByteArray &bytes)
{
    qsizetype good = 0;
    qsizetype bad = bytes.size();
    while (good < bad) {
        const qsizetype middle = good + (bad - good + 1) / 2;
        const QByteArrayView head = QByteArrayView(bytes).first(middle);
        if (head.chopped(Utf8::unfinishedTailLength(head)).isValidUtf8())
            good = middle;
        else
            bad = middle - 1;
    }
    return good - Utf8::unfinishedTailLength(QByteArrayView(bytes).first(good));
}

/// The attribute's value; empty when it was removed meanwhile.
QByteArray attribute(const QByteArray &file, const char *name)
{
    const ssize_t size = ::getxattr(file.constData(), name, nullptr, 0);
    if (size <= 0)
        return {};
    QByteArray value(size, Qt::Uninitialized);
    const ssize_t read = ::getxattr(file.constData(), name, value.data(), std::size_t(size));
    return value.first(std::max<ssize_t>(read, 0));
}

/// Gives \p descriptor the extended attributes of \p path. Those that can't be set, for example
/// because this user may not or the file system does not support them, are left out: they are worth
/// less than the text. False, with errno set, when the disk has no space or fails.
bool copyAttributes(const QString &path, int descriptor)
{
    const QByteArray file = QFile::encodeName(path);
    const ssize_t size = ::listxattr(file.constData(), nullptr, 0);
    if (size <= 0)
        return true; // none, no such file yet, or not supported
    QByteArray names(size, '\0');
    const ssize_t read = ::listxattr(file.constData(), names.data(), std::size_t(size));
    for (const QByteArray &name : names.first(std::max<ssize_t>(read, 0)).split('\0')) {
        if (name.isEmpty())
            continue;
        const QByteArray value = attribute(file, name.constData());
        const int done = ::fsetxattr(descriptor, name.constData(), value.constData(),
                                     std::size_t(value.size()), 0);
        if (done != 0 && (errno == ENOSPC || errno == EDQUOT || errno == EIO))
            return false;
    }
    return true;
}

/// False, with errno set, when the disk could not take what was written: some file systems report
/// lack of space only here. A file system without support for syncing is not a failure.
bool sync(int descriptor)
{
    return ::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
}

} // namespace

Result<QByteArray> read(const QString &path)
{
    auto reader = Reader::open(path);
    if (!reader)
        return reader.error();
    return (*reader)->read(std::numeric_limits<qsizetype>::max());
}

Result<std::shared_ptr<Reader>> Reader::open(const QString &path)
{
    // Opening a folder for reading succeeds on Linux; only reading fails.
    const QFileInfo info(path);
    if (info.isDir())
        return fileError(QStringLiteral("Is a directory"));
    // Opening a pipe may block, and reading a device may never end.
    if (info.exists() && !info.isFile())
        return fileError(QStringLiteral("Not a regular file"));
    const std::shared_ptr<Reader> reader(new Reader(path));
    errno = 0;
    if (!reader->m_file.open(QIODevice::ReadOnly))
        return fileError(errno, reader->m_file);
    reader->m_size = reader->m_file.size();
    return reader;
}

Result<QByteArray> Reader::read(qsizetype maxBytes)
{
    errno = 0;
    // QFile::read allocates as many bytes as are requested.
    QByteArray bytes = maxBytes == std::numeric_limits<qsizetype>::max() ? m_file.readAll()
                                                                         : m_file.read(maxBytes);
    if (m_file.error() != QFileDevice::NoError)
        return fileError(errno, m_file);
    return bytes;
}

Result<void> Reader::rewind()
{
    errno = 0;
    if (!m_file.seek(0))
        return fileError(errno, m_file);
    return {};
}

Result<QString> readText(const QString &path)
{
    const auto bytes = read(path);
    if (!bytes)
        return bytes.error();
    auto text = Utf8::decodeStrict(*bytes);
    if (!text) {
        return Error{ErrorCode::NotText,
                     QStringLiteral("The file is not UTF-8 text (byte %1)")
                         .arg(wellFormedLength(*bytes) + 1)};
    }
    return *std::move(text);
}

Result<void> writeAtomically(const QString &path, const QByteArray &bytes, Access access)
{
    auto writer = Writer::open(path, access);
    if (!writer)
        return writer.error();
    if (auto written = (*writer)->write(bytes); !written)
        return written;
    return (*writer)->commit();
}

Result<std::shared_ptr<Writer>> Writer::open(const QString &path, Access access)
{
    // A rename would replace a device or a pipe by a regular file.
    if (const QFileInfo target(path); target.exists() && !target.isFile())
        return fileError(QStringLiteral("Not a regular file"));
    const std::shared_ptr<Writer> writer(new Writer(path));
    QSaveFile &file = writer->m_file;
    errno = 0;
    if (!file.open(QIODevice::WriteOnly))
        return fileError(errno, file);
    errno = 0;
    const bool isPrepared = copyAttributes(path, file.handle())
        && (access == Access::Default || file.setPermissions(QFile::ReadOwner | QFile::WriteOwner));
    if (!isPrepared)
        return fileError(errno, file);
    return writer;
}

Result<void> Writer::write(const QByteArray &bytes)
{
    errno = 0;
    if (m_file.write(bytes) != bytes.size())
        return fileError(errno, m_file);
    return {};
}

Result<void> Writer::commit()
{
    errno = 0;
    // QSaveFile::commit ignores errors of the flush and of the sync that it does itself.
    if (!m_file.flush() || !sync(m_file.handle())) {
        const Error error = fileError(errno, m_file);
        discard();
        return error;
    }
    errno = 0;
    if (!m_file.commit())
        return fileError(errno, m_file);
    return {};
}

void Writer::discard()
{
    m_file.cancelWriting();
    m_file.commit(); // closes and removes the temporary file
}

} // namespace Korvane::LocalFile
