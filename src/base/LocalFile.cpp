#include "base/LocalFile.h"

#include "base/Utf8.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace Korvane::LocalFile {

namespace {

Error fileError(const QString &message)
{
    return {ErrorCode::File, message};
}

/// Where well-formed UTF-8 ends. Halving finds it with the library's own check.
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

} // namespace

Result<QByteArray> read(const QString &path)
{
    // Opening a folder for reading succeeds on Linux and fails only later, with a stranger message.
    const QFileInfo info(path);
    if (info.isDir())
        return fileError(QStringLiteral("Is a directory"));
    // A pipe may never be opened, and a device may never end.
    if (info.exists() && !info.isFile())
        return fileError(QStringLiteral("Not a regular file"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fileError(file.errorString());
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return fileError(file.errorString());
    return bytes;
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

Result<void> writeAtomically(const QString &path, const QByteArray &bytes)
{
    // A rename would put a plain file in place of a device or a pipe.
    if (const QFileInfo target(path); target.exists() && !target.isFile())
        return fileError(QStringLiteral("Not a regular file"));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return fileError(file.errorString());
    return {};
}

} // namespace Korvane::LocalFile
