#include "app/InputHistory.h"

#include "app/Preferences.h"
#include "base/LocalFile.h"
#include "base/StateFolder.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

/// The newest entries of the file, which is rewritten with these when it has twice as many.
QStringList read(const QString &path)
{
    const auto bytes = LocalFile::read(path);
    if (!bytes)
        return {};
    const QByteArrayList lines = bytes->split('\n');
    const qsizetype first = std::max<qsizetype>(0, lines.size() - 1 - InputHistory::maxEntries);
    QStringList entries;
    for (const QByteArray &line : lines.mid(first)) {
        const auto entry = nlohmann::json::parse(line.begin(), line.end(), nullptr, false);
        if (entry.is_string())
            entries << QString::fromStdString(entry.get<std::string>());
    }
    if (first > InputHistory::maxEntries) {
        static_cast<void>(LocalFile::writeAtomically(path, lines.mid(first).join('\n'),
                                                     LocalFile::Access::OwnerOnly));
    }
    return entries;
}

bool append(const QString &path, const QByteArray &line)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    const bool isNew = !file.exists();
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
        return false;
    if (isNew)
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    return file.write(line) == line.size();
}

} // namespace

InputHistory::InputHistory(const QString &path, const Preferences &preferences)
    : m_path(path)
    , m_preferences(preferences)
{
}

QString InputHistory::defaultPath()
{
    return stateFolder() + QStringLiteral("/shell-history");
}

bool InputHistory::isKept() const
{
    return !m_path.isEmpty() && m_preferences.flag(Preferences::KeepShellHistory);
}

QCoro::Task<void> InputHistory::load()
{
    if (std::exchange(m_isLoaded, true) || !isKept())
        co_return;
    const auto life = m_life.watch();
    std::function<QStringList()> work = [path = m_path] { return read(path); };
    const auto entries = co_await m_background.run(std::move(work));
    if (entries && life)
        m_entries = *entries + m_entries;
}

void InputHistory::add(const QString &entry)
{
    m_entries << entry;
    if (!isKept() || entry.size() > maxLength)
        return;
    const std::string text = entry.toStdString();
    const QByteArray line = QByteArray::fromStdString(
        nlohmann::json(text).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + '\n');
    std::function<bool()> work = [path = m_path, line] { return append(path, line); };
    static_cast<void>(m_background.run(std::move(work)));
}

void InputHistory::forget()
{
    std::function<bool()> work = [path = m_path] { return QFile::remove(path); };
    if (!m_path.isEmpty())
        static_cast<void>(m_background.run(std::move(work)));
}

QStringList InputHistory::matching(const QString &text) const
{
    QStringList found;
    QSet<QString> seen;
    for (auto entry = m_entries.crbegin(); entry != m_entries.crend(); ++entry) {
        if (!entry->contains(text, Qt::CaseInsensitive) || seen.contains(*entry))
            continue;
        seen.insert(*entry);
        found << *entry;
    }
    return found;
}

} // namespace Korvane
