#include "ui/browser/BoardPathsMime.h"

#include "board/DeviceFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QDropEvent>
#include <QSysInfo>
#include <QUrl>

namespace Korvane {

namespace {

const QString pathsFormat = QStringLiteral("application/x-korvane-board-paths");
/// "1" for entries that were cut. The URLs are in the standard format.
const QString cutFormat = QStringLiteral("application/x-kde-cutselection");
/// "copy" or "cut", and the URLs, each on a line of its own.
const QString copiedFilesFormat = QStringLiteral("x-special/gnome-copied-files");
constexpr QByteArrayView cutLine("cut\n");

QString origin(int connection)
{
    return QStringLiteral("%1 %2").arg(QCoreApplication::applicationPid()).arg(connection);
}

QList<QUrl> urlsOf(const QMimeData &data)
{
    if (data.hasUrls())
        return data.urls();
    QList<QUrl> urls;
    for (const QByteArray &line : data.data(copiedFilesFormat).split('\n').mid(1))
        urls << QUrl::fromEncoded(line.trimmed());
    return urls;
}

/// Some programs write this computer's name as the host.
bool isOfThisComputer(const QUrl &url)
{
    const QString host = url.host();
    return url.isLocalFile()
        && (host.isEmpty() || host == u"localhost"
            || host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0);
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

void ClipboardMark::set(QMimeData &data, Kind kind)
{
    const bool isCut = kind == Kind::Cut;
    if (isCut)
        data.setData(cutFormat, "1");
    if (!data.hasUrls())
        return;
    QByteArray lines = isCut ? "cut" : "copy";
    for (const QUrl &url : data.urls())
        lines += '\n' + url.toEncoded();
    data.setData(copiedFilesFormat, lines);
}

ClipboardMark::Kind ClipboardMark::of(const QMimeData &data)
{
    const bool isCut =
        data.data(cutFormat).startsWith('1') || data.data(copiedFilesFormat).startsWith(cutLine);
    return isCut ? Kind::Cut : Kind::Copied;
}

QStringList localPaths(const QMimeData &data)
{
    QStringList paths;
    for (QUrl url : urlsOf(data)) {
        if (!isOfThisComputer(url))
            continue;
        url.setHost(QString());
        paths << QDir::cleanPath(url.toLocalFile());
    }
    return paths;
}

bool acceptAsCopy(QDropEvent &event)
{
    if (!(event.possibleActions() & Qt::CopyAction)) {
        event.ignore();
        return false;
    }
    event.setDropAction(Qt::CopyAction);
    event.accept();
    return true;
}

} // namespace Korvane
