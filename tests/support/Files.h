#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace Korvane {

/// Makes the file, and the folders above it.
inline void put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly)
        || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

} // namespace Korvane
