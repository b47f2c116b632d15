#include "base/LocalFolder.h"

#include "base/NaturalOrder.h"
#include "base/SystemError.h"

#include <QFile>

#include <filesystem>

namespace Korvane::LocalFolder {

namespace {

Error folderError(const std::error_code &error)
{
    return {ErrorCode::File, systemErrorText(error.value()), {}, error.value()};
}

} // namespace

Result<QList<Entry>> entries(const QString &folder)
{
    std::error_code error;
    std::filesystem::directory_iterator entry(QFile::encodeName(folder).toStdString(), error);
    QList<Entry> found;
    const QString prefix = folder.endsWith(u'/') ? folder : folder + u'/';
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string bytes = entry->path().filename().string();
        if (bytes.starts_with('.'))
            continue;
        const QByteArrayView utf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
        const QString name = QString::fromUtf8(utf8);
        std::error_code unknown; // such an entry is neither a folder nor a link
        found.append({.name = name,
                      .path = utf8.isValidUtf8() ? prefix + name : QString(),
                      .isDirectory = entry->is_directory(unknown),
                      .isLink = entry->is_symlink(unknown)});
    }
    if (error)
        return folderError(error);
    NaturalOrder().sortFoldersFirst(found);
    return found;
}

} // namespace Korvane::LocalFolder
