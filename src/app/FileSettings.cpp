#include "app/FileSettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace Korvane {

Q_LOGGING_CATEGORY(appLog, "korvane.app")

namespace {

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

/// QSettings writes a temporary file beside the old one and gives it the old one's mode before the
/// first byte; a file that it has to create is readable for others at first. So an old one is
/// always created before, readable for its owner only.
bool makePrivate(const QString &path)
{
    QDir().mkpath(QFileInfo(path).path());
    const QByteArray name = QFile::encodeName(path);
    const int descriptor =
        ::open(name.constData(), O_RDONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, ownerOnly);
    const bool isPrivate = descriptor >= 0 && ::fchmod(descriptor, ownerOnly) == 0;
    if (descriptor >= 0)
        ::close(descriptor);
    return isPrivate;
}

} // namespace

FileSettings::FileSettings(const QString &path)
    : m_file(prepare(path), QSettings::IniFormat)
{
    if (m_file.status() == QSettings::FormatError)
        report(
            QStringLiteral("The settings in %1 are damaged. What can be read is used.").arg(path));
}

void FileSettings::setProblemHandler(std::function<void(const QString &)> onProblem)
{
    m_onProblem = std::move(onProblem);
    for (const QString &problem : std::as_const(m_problems))
        m_onProblem(problem);
}

QString FileSettings::prepare(const QString &path)
{
    if (!makePrivate(path))
        report(QStringLiteral("The settings in %1 cannot be kept private: %2")
                   .arg(path, qt_error_string()));
    return path;
}

void FileSettings::report(const QString &problem)
{
    if (m_problems.contains(problem))
        return;
    qCWarning(appLog).noquote() << problem;
    m_problems << problem;
    if (m_onProblem)
        m_onProblem(problem);
}

QString FileSettings::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + QStringLiteral("/korvane/settings.ini");
}

bool FileSettings::flag(const QString &key) const
{
    // QVariant converts any other text to true, and one of the flags lets the assistant write
    // without asking.
    return text(key).compare(QStringLiteral("true"), Qt::CaseInsensitive) == 0;
}

int FileSettings::number(const QString &key) const
{
    return text(key).toInt(); // 0 unless the whole text is a number in range
}

QString FileSettings::text(const QString &key) const
{
    // Reads changes that another instance or an editor has written since: one of the flags lets the
    // assistant write without asking. Only the file's time is read unless that has changed.
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
    prepare(m_file.fileName());
    if (value.isValid())
        m_file.setValue(key, value);
    else
        m_file.remove(key);
    m_file.sync();
    if (m_file.status() == QSettings::AccessError)
        report(
            QStringLiteral("The settings could not be written to %1. What you choose lasts until "
                           "Korvane ends.")
                .arg(m_file.fileName()));
}

} // namespace Korvane
