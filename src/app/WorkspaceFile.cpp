#include "app/WorkspaceFile.h"

#include "base/StateFolder.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace Korvane {

namespace {

const QString documentsKey = QStringLiteral("documents");
const QString selectedKey = QStringLiteral("selected");
const QString folderKey = QStringLiteral("folder");
const QString recentFilesKey = QStringLiteral("recentFiles");
const QString recentFoldersKey = QStringLiteral("recentFolders");
const QString caretKey = QStringLiteral("caret");
const QString lineKey = QStringLiteral("firstVisibleLine");
const QString breakpointsKey = QStringLiteral("breakpoints");

QStringList pathsIn(const QJsonValue &value)
{
    QStringList paths;
    for (const QJsonValue entry : value.toArray()) {
        if (QDir::isAbsolutePath(entry.toString()) && paths.size() < WorkspaceFile::maxRecent)
            paths << entry.toString();
    }
    return paths;
}

WorkspaceFile::Document documentIn(const QJsonObject &object)
{
    WorkspaceFile::Document document;
    document.place = DocumentPlace::readFrom(object);
    document.caret = std::max(0, object[caretKey].toInt());
    document.firstVisibleLine = std::max(1, object[lineKey].toInt());
    for (const QJsonValue line : object[breakpointsKey].toArray()) {
        if (line.toInt() >= 1)
            document.breakpoints << line.toInt();
    }
    return document;
}

QJsonObject objectOf(const WorkspaceFile::Document &document)
{
    QJsonObject object{{caretKey, document.caret}, {lineKey, document.firstVisibleLine}};
    document.place.writeTo(object);
    QJsonArray lines;
    for (const int line : document.breakpoints)
        lines.append(line);
    if (!lines.isEmpty())
        object[breakpointsKey] = lines;
    return object;
}

} // namespace

QString WorkspaceFile::defaultPath()
{
    return stateFolder() + QStringLiteral("/workspace.json");
}

WorkspaceFile WorkspaceFile::fromJson(const QByteArray &json)
{
    const QJsonObject content = QJsonDocument::fromJson(json).object();
    WorkspaceFile file;
    file.selected = content[selectedKey].toInt(-1);
    const QJsonArray documents = content[documentsKey].toArray();
    for (qsizetype i = 0; i < std::min(documents.size(), maxDocuments); ++i) {
        const Document document = documentIn(documents[i].toObject());
        if (document.place.kind != DocumentPlace::Kind::None)
            file.documents << document;
        else if (i == file.selected)
            file.selected = -1;
    }
    if (const QString folder = content[folderKey].toString(); QDir::isAbsolutePath(folder))
        file.folder = folder;
    file.recentFiles = pathsIn(content[recentFilesKey]);
    file.recentFolders = pathsIn(content[recentFoldersKey]);
    return file;
}

QByteArray WorkspaceFile::toJson() const
{
    QJsonArray entries;
    for (const Document &document : documents)
        entries.append(objectOf(document));
    const QJsonObject content{{documentsKey, entries},
                              {selectedKey, selected},
                              {folderKey, folder},
                              {recentFilesKey, QJsonArray::fromStringList(recentFiles)},
                              {recentFoldersKey, QJsonArray::fromStringList(recentFolders)}};
    return QJsonDocument(content).toJson();
}

void WorkspaceFile::addRecent(QStringList &recent, const QString &path)
{
    recent.removeAll(path);
    recent.prepend(path);
    if (recent.size() > maxRecent)
        recent.resize(maxRecent);
}

} // namespace Korvane
