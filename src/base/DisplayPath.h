#pragma once

#include <QDir>
#include <QLocale>
#include <QString>

namespace Korvane {

/// A local path as messages show it: the user's home folder as "~".
[[nodiscard]] inline QString displayPath(const QString &path)
{
    const QString home = QDir::homePath();
    if (path == home)
        return QStringLiteral("~");
    return path.startsWith(home + u'/')
        ? QString(u'~').append(QStringView(path).sliced(home.size()))
        : path;
}

/// A size in bytes as file managers show it.
[[nodiscard]] inline QString displaySize(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

/// "1 file", "3 files".
[[nodiscard]] inline QString countOfFiles(qint64 count)
{
    return QStringLiteral("%1 file%2").arg(count).arg(count == 1 ? QString() : QStringLiteral("s"));
}

} // namespace Korvane
