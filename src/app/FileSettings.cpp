#include "app/FileSettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Korvane {

Q_LOGGING_CATEGORY(appLog, "korvane.app")

namespace {

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

/// QSettings writes a temporary file beside the old one and gives it the old one's mode before the
/// first byte; a file that it has to create is open to everybody for a while. So there is always an
/// old one, and it is closed to others.
void makePrivate(const QString &path)
{
    QDir().mkpath(QFileInfo(path).path());
    const QByteArray name = QFile::encodeName(path);
    const int descriptor =
        ::open(name.constData(), O_RDONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, ownerOnly);
    if (descriptor < 0 || ::fchmod(descriptor, ownerOnly) != 0)
        qCWarning(appLog) << "The settings in" << path
                          << "cannot be kept private:" << qt_error_string();
    if (descriptor >= 0)
        ::close(descriptor);
}

QString privatePath(const QString &path)
{
    makePrivate(path);
    return path;
}

} // namespace

FileSettings::FileSettings(const QString &path)
    : m_file(privatePath(path), QSettings::IniFormat)
{
    if (m_file.status() == QSettings::FormatError)
        qCWarning(appLog) << "The settings in" << path << "are damaged; what can be read is used.";
}

QString FileSettings::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + QStringLiteral("/korvane/settings.ini");
}

bool FileSettings::flag(const QString &key) const
{
    // QVariant would take any text it does not know for true, and one of the flags lets the
    // assistant write without asking.
    return text(key).compare(QStringLiteral("true"), Qt::CaseInsensitive) == 0;
}

int FileSettings::number(const QString &key) const
{
    return text(key).toInt(); // 0 unless the whole text is a number in range
}

QString FileSettings::text(const QString &key) const
{
    // What another instance or an editor has written since counts: one of the flags lets the
    // assistant write without asking. Costs a look at the file's time unless that has changed.
    m_file.sync();
    return m_file.value(key).toString();
}

void FileSettings::setFlag(const QString &key, bool value)
{
    store(key, value ? QStringLiteral("true") : QStringLiteral("false"));
}

void FileSettings::setNumber(const QString &key, int value)
{
    store(key, value);
}

void FileSettings::setText(const QString &key, const QString &value)
{
    store(key, value);
}

void FileSettings::remove(const QString &key)
{
    store(key, QVariant());
}

void FileSettings::store(const QString &key, const QVariant &value)
{
    makePrivate(m_file.fileName());
    if (value.isValid())
        m_file.setValue(key, value);
    else
        m_file.remove(key);
    m_file.sync();
    if (m_file.status() == QSettings::AccessError)
        qCWarning(appLog) << "The settings could not be written to" << m_file.fileName();
}

} // namespace Korvane
