#include "document/RecoveryCopy.h"

#include "base/LocalFile.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>

namespace Korvane {

namespace {

const QString nameKey = QStringLiteral("name");
const QString textKey = QStringLiteral("text");
const QString savedTextKey = QStringLiteral("savedText");
const QString suffix = QStringLiteral(".json");

constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner;

} // namespace

std::optional<RecoveryCopy> RecoveryCopy::read(const QString &file)
{
    const auto bytes = LocalFile::read(file);
    const QJsonObject content = bytes ? QJsonDocument::fromJson(*bytes).object() : QJsonObject();
    if (content.isEmpty())
        return std::nullopt;
    RecoveryCopy copy{content[nameKey].toString(), DocumentPlace::readFrom(content),
                      content[textKey].toString(), std::nullopt};
    if (content.contains(savedTextKey))
        copy.savedText = content[savedTextKey].toString();
    return copy;
}

Result<void> RecoveryCopy::write(const QString &file) const
{
    QJsonObject content{{nameKey, name}, {textKey, fileText}};
    place.writeTo(content);
    if (savedText)
        content[savedTextKey] = *savedText;
    return LocalFile::writeAtomically(file, QJsonDocument(content).toJson(QJsonDocument::Compact),
                                      LocalFile::Access::OwnerOnly);
}

bool RecoveryCopy::isSaved() const
{
    if (place.kind != DocumentPlace::Kind::Local)
        return false;
    const auto onDisk = LocalFile::readText(place.path);
    return onDisk && *onDisk == fileText;
}

namespace RecoveryFolder {

void makePrivate(const QString &folder)
{
    QDir().mkpath(folder);
    QFile::setPermissions(folder, ownerOnly | QFile::ExeOwner);
}

QFileInfoList copies(const QString &folder)
{
    return QDir(folder).entryInfoList({u'*' + suffix}, QDir::Files, QDir::Time);
}

QString copyPath(const QString &folder, const QString &documentID)
{
    return folder + u'/' + documentID + suffix;
}

QString lockPath(const QString &folder)
{
    return folder + QStringLiteral("/lock");
}

void adoptEnded(const QString &folder)
{
    if (!QDir(folder).exists())
        return;
    makePrivate(folder);
    const QFileInfoList sessions =
        QDir(folder).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QFileInfo &session : sessions) {
        QLockFile lock(lockPath(session.filePath()));
        lock.setStaleLockTime(0); // a lock does not expire while its program runs
        if (!lock.tryLock(0))
            continue;
        for (const QFileInfo &copy : copies(session.filePath()))
            QFile::rename(copy.filePath(), folder + u'/' + copy.fileName());
        lock.unlock();
        QDir().rmdir(session.filePath());
    }
    for (const QFileInfo &copy : copies(folder))
        QFile::setPermissions(copy.filePath(), ownerOnly);
}

} // namespace RecoveryFolder

} // namespace Korvane
