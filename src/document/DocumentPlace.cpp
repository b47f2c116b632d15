#include "document/DocumentPlace.h"

#include <QDir>
#include <QFileInfo>

namespace Korvane {

DocumentPlace DocumentPlace::local(const QString &path)
{
    return {Kind::Local, path, {}, QDir::cleanPath(path)};
}

DocumentPlace DocumentPlace::onBoard(const QString &board, const QString &path)
{
    return {Kind::Board, path, board, path};
}

DocumentPlace DocumentPlace::resolved() const
{
    DocumentPlace result = *this;
    if (kind != Kind::Local)
        return result;
    const QFileInfo file(path);
    const QString folder = QFileInfo(file.absolutePath()).canonicalFilePath();
    if (file.exists())
        result.canonicalPath = file.canonicalFilePath();
    else if (!folder.isEmpty())
        result.canonicalPath = QDir(folder).filePath(file.fileName());
    else
        result.canonicalPath = QDir::cleanPath(file.absoluteFilePath());
    return result;
}

bool DocumentPlace::isSameFile(const DocumentPlace &other) const
{
    return kind != Kind::Nowhere && kind == other.kind && board == other.board
        && canonicalPath == other.canonicalPath;
}

} // namespace Korvane
