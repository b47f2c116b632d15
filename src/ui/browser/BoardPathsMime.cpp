#include "ui/browser/BoardPathsMime.h"

#include "board/DeviceFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QUrl>

namespace Korvane {

namespace {

const QString pathsFormat = QStringLiteral("application/x-korvane-board-paths");
const QString cutFormat = QStringLiteral("application/x-kde-cutselection");

QString origin(int connection)
{
    return QStringLiteral("%1 %2").arg(QCoreApplication::applicationPid()).arg(connection);
}

} // namespace

std::unique_ptr<QMimeData> BoardPathsMime::make(const QStringList &paths, int connection)
{
    auto data = std::make_unique<QMimeData>();
    // A name can hold anything but NUL.
    const QStringList fields = QStringList(origin(connection)) + paths;
    data->setData(pathsFormat, fields.join(QChar::Null).toUtf8());
    return data;
}

std::optional<QStringList> BoardPathsMime::paths(const QMimeData &data, int connection)
{
    if (!data.hasFormat(pathsFormat))
        return std::nullopt;
    QStringList fields = QString::fromUtf8(data.data(pathsFormat)).split(QChar::Null);
    if (fields.takeFirst() != origin(connection))
        return std::nullopt;
    return fields;
}

QList<DeviceFileNode> BoardPathsMime::nodes(const QStringList &paths, const DeviceFiles &files)
{
    QList<DeviceFileNode> nodes;
    for (const QString &path : paths) {
        if (const DeviceFileNode *node = files.deviceNode(path))
            nodes << *node;
    }
    return nodes;
}

void CutMark::set(QMimeData &data)
{
    data.setData(cutFormat, "1");
}

bool CutMark::isSet(const QMimeData &data)
{
    return data.data(cutFormat).startsWith('1');
}

QStringList localPaths(const QMimeData &data)
{
    QStringList paths;
    for (const QUrl &url : data.urls()) {
        if (url.isLocalFile())
            paths << QDir::cleanPath(url.toLocalFile());
    }
    return paths;
}

} // namespace Korvane
