#include "app/LocalFiles.h"

#include "base/DisplayPath.h"
#include "base/LocalFolder.h"
#include "base/ShellSink.h"
#include "base/SystemError.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <utility>

namespace Korvane {

namespace {

/// Blocks.
Result<QList<FileNode>> readFolder(const QString &path)
{
    const auto entries = LocalFolder::entries(path);
    if (!entries)
        return entries.error();
    QList<FileNode> nodes;
    nodes.reserve(entries->size());
    for (const LocalFolder::Entry &entry : *entries)
        nodes.append({.name = entry.name, .path = entry.path, .isDirectory = entry.isDirectory});
    return nodes;
}

enum class Creation { Done, Existed };

/// Blocks.
Result<Creation> makeFolder(const QString &path)
{
    const QFileInfo target(path);
    if (target.exists() || target.isSymLink())
        return Creation::Existed;
    std::error_code error;
    std::filesystem::create_directory(path.toStdU16String(), error);
    if (error)
        return Error{ErrorCode::File, systemErrorText(error.value()), {}, error.value()};
    return Creation::Done;
}

} // namespace

bool isUsableFileName(const QString &name)
{
    return !name.isEmpty() && !name.contains(u'/') && !name.contains(u':') && name != u"."
        && name != u"..";
}

LocalFiles::LocalFiles(ShellSink &shell, UserPrompts &prompts, QObject *parent)
    : QObject(parent)
    , m_shell(shell)
    , m_prompts(prompts)
    , m_localWorkingDir(QDir::homePath())
{
}

void LocalFiles::setLocalWorkingDir(const QString &path)
{
    if (std::exchange(m_localWorkingDir, path) != path)
        emit localWorkingDirChanged();
}

void LocalFiles::goToEnclosingFolder()
{
    const qsizetype slash = m_localWorkingDir.lastIndexOf(u'/');
    setLocalWorkingDir(slash > 0 ? m_localWorkingDir.first(slash) : QStringLiteral("/"));
}

void LocalFiles::reload()
{
    ++m_localFilesVersion;
    emit localFilesVersionChanged();
}

Async<QList<FileNode>> LocalFiles::list(QString path)
{
    const std::function<Result<QList<FileNode>>()> read = [path] { return readFolder(path); };
    auto nodes = co_await m_background.run(read);
    if (!nodes)
        co_return Error{ErrorCode::Closed, {}};
    co_return *std::move(nodes);
}

Async<LocalFiles::Details> LocalFiles::details(QString path)
{
    const std::function<std::optional<Details>()> read = [path]() -> std::optional<Details> {
        const QFileInfo entry(path);
        if (!entry.exists())
            return std::nullopt;
        return Details{entry.size(), entry.lastModified(), entry.isDir()};
    };
    const auto details = co_await m_background.run(read);
    if (!details)
        co_return Error{ErrorCode::Closed, {}};
    if (!*details)
        co_return Error{ErrorCode::File, systemErrorText(ENOENT)};
    co_return **details;
}

QCoro::Task<void> LocalFiles::createFolder()
{
    const auto life = m_life.watch();
    const QString folder = m_localWorkingDir;
    UserPrompts::NamePrompt prompt;
    prompt.title = QStringLiteral("New Folder");
    prompt.message = QStringLiteral("Create a folder in %1.").arg(displayPath(folder));
    prompt.proposedName = QStringLiteral("untitled folder");
    prompt.confirmTitle = QStringLiteral("Create");
    const QString name = co_await m_prompts.askName(std::move(prompt));
    if (!life || name.isEmpty())
        co_return;
    if (!isUsableFileName(name)) {
        m_shell.appendError(QStringLiteral("“%1” isn't a usable folder name.").arg(name));
        co_return;
    }
    const QString path = QDir(folder).filePath(name);
    const std::function<Result<Creation>()> make = [path] { return makeFolder(path); };
    const auto made = co_await m_background.run(make);
    if (!made)
        co_return;
    if (!*made)
        m_shell.appendError(
            QStringLiteral("Could not create “%1”: %2").arg(name, made->error().message));
    else if (**made == Creation::Existed)
        m_shell.appendError(
            QStringLiteral("“%1” already exists in %2.").arg(name, displayPath(folder)));
    else
        reload();
}

} // namespace Korvane
