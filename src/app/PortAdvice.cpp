#include "app/PortAdvice.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>

namespace Korvane::PortAdvice {

namespace {

/// "name (process 12)" of each process that has \p port open and whose files this user may list.
QStringList usersOf(const QString &port, const QString &proc)
{
    const QString device = QFileInfo(port).canonicalFilePath();
    QStringList users;
    const QStringList processes = QDir(proc).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &process : processes) {
        bool isNumber = false;
        process.toInt(&isNumber);
        if (!isNumber)
            continue;
        const QString folder = proc + u'/' + process;
        const QFileInfoList files =
            QDir(folder + QStringLiteral("/fd"))
                .entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
        for (const QFileInfo &file : files) {
            if (file.symLinkTarget() != device)
                continue;
            QFile name(folder + QStringLiteral("/comm"));
            const QString program = name.open(QIODevice::ReadOnly)
                ? QString::fromUtf8(name.readAll()).trimmed()
                : QString();
            users << QStringLiteral("%1 (process %2)").arg(program, process);
            break;
        }
    }
    return users;
}

bool isRunning(const QString &program, const QString &proc)
{
    const QStringList processes = QDir(proc).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &process : processes) {
        QFile name(proc + u'/' + process + QStringLiteral("/comm"));
        if (name.open(QIODevice::ReadOnly)
            && QString::fromUtf8(name.readAll()).trimmed() == program)
            return true;
    }
    return false;
}

} // namespace

QStringList lines(const Error &error, const QString &port, const QString &proc,
                  const QString &rules)
{
    switch (error.systemCode) {
    case EACCES:
    case EPERM: {
        const QFileInfo file(port);
        const QString group = file.group();
        if (group.isEmpty()) // its folder can't be read
            return {};
        if (group == QLatin1String("root")
            || !file.permission(QFile::ReadGroup | QFile::WriteGroup)) {
            return {QStringLiteral("The permissions of %1 do not let you read and write it.")
                        .arg(port)};
        }
        QStringList advice;
        if (QFileInfo::exists(rules)) // they apply when the board is next plugged in
            advice << QStringLiteral(
                "Unplug the board and plug it in again. If that does not help:");
        advice << QStringLiteral("Only members of the group “%1” may use %2. This command adds "
                                 "you; log out and in again afterwards:")
                      .arg(group, port)
               << QStringLiteral("sudo usermod -aG %1 $USER").arg(group);
        return advice;
    }
    case EBUSY: {
        const QStringList users = usersOf(port, proc);
        if (!users.isEmpty())
            return {QStringLiteral("%1 is in use by %2. Close it there, then connect again.")
                        .arg(port, users.join(QStringLiteral(", ")))};
        // It runs as root, whose open files can't be listed.
        if (isRunning(QStringLiteral("ModemManager"), proc))
            return {QStringLiteral("ModemManager probes each new port for some seconds. Wait a "
                                   "moment, then connect again.")};
        return {QStringLiteral("Another program, perhaps of another user, uses %1.").arg(port)};
    }
    case ENOENT:
    case ENXIO:
    case ENODEV:
        return {QStringLiteral("The board at %1 is not plugged in any more.").arg(port)};
    default:
        return {};
    }
}

} // namespace Korvane::PortAdvice
