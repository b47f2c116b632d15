#include "document/DocumentPlace.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>

namespace Korvane {

namespace {

const QString pathKey = QStringLiteral("path");
const QString devicePathKey = QStringLiteral("devicePath");
const QString boardKey = QStringLiteral("board");

bool isPathWithin(const QString &path, const QString &folder)
{
    return path == folder || path.startsWith(folder + u'/');
}

} // namespace

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

DocumentPlace DocumentPlace::localEntry(const QString &path)
{
    const QFileInfo entry(path);
    const QString folder = QFileInfo(entry.absolutePath()).canonicalFilePath();
    DocumentPlace place = local(path);
    if (!folder.isEmpty())
        place.canonicalPath = QDir(folder).filePath(entry.fileName());
    return place;
}

bool DocumentPlace::isSameFile(const DocumentPlace &other) const
{
    return kind != Kind::None && kind == other.kind && board == other.board
        && canonicalPath == other.canonicalPath;
}

bool DocumentPlace::isWithin(const DocumentPlace &other) const
{
    return kind != Kind::None && kind == other.kind && board == other.board
        && (isPathWithin(canonicalPath, other.canonicalPath) || isPathWithin(path, other.path));
}

DocumentPlace DocumentPlace::moved(const DocumentPlace &from, const DocumentPlace &to) const
{
    DocumentPlace result = *this;
    if (isPathWithin(canonicalPath, from.canonicalPath)) {
        const QString rest = canonicalPath.sliced(from.canonicalPath.size());
        result.path = to.path + rest;
        result.canonicalPath = to.canonicalPath + rest;
    }
    if (isPathWithin(path, from.path)) // also through a link, whose target was not moved
        result.path = to.path + path.sliced(from.path.size());
    return result;
}

DocumentPlace DocumentPlace::readFrom(const QJsonObject &object)
{
    if (const QString path = object[pathKey].toString(); QDir::isAbsolutePath(path))
        return local(path);
    if (const QString path = object[devicePathKey].toString(); path.startsWith(u'/'))
        return onBoard(object[boardKey].toString(), path);
    return {};
}

void DocumentPlace::writeTo(QJsonObject &object) const
{
    switch (kind) {
    case Kind::None:
        break;
    case Kind::Local:
        object[pathKey] = path;
        break;
    case Kind::Board:
        object[devicePathKey] = path;
        object[boardKey] = board;
        break;
    }
}

} // namespace Korvane
