#include "app/LocalFileActions.h"

#include "app/LocalFiles.h"
#include "app/ReplaceQuestion.h"
#include "base/DisplayPath.h"
#include "base/SystemError.h"
#include "document/DocumentWriter.h"
#include "document/OpenFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>

namespace Korvane {

using namespace Qt::StringLiterals;

namespace {

enum class Kind { Missing, File, Folder };

Error refusal(const QString &message)
{
    return {ErrorCode::File, message};
}

Error alreadyExists(const QString &name, const QString &folder)
{
    return refusal(u"“%1” already exists in %2."_s.arg(name, displayPath(folder)));
}

Error failure(const QString &attempt, const Error &error)
{
    return {error.code, attempt + u": "_s + error.message, {}, error.systemCode};
}

Error systemError(int code = errno)
{
    return {ErrorCode::File, systemErrorText(code), {}, code};
}

/// Blocks, as the following functions.
Kind kindOf(const QString &path)
{
    const QFileInfo entry(path);
    if (!entry.exists() && !entry.isSymLink())
        return Kind::Missing;
    return entry.isDir() && !entry.isSymLink() ? Kind::Folder : Kind::File;
}

Result<void> createEmptyFile(const QString &path)
{
    QFile file(path);
    errno = 0;
    if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return {};
    return systemError();
}

bool isOneFile(const QByteArray &path, const QByteArray &other)
{
    struct stat one = {};
    struct stat two = {};
    return ::lstat(path.constData(), &one) == 0 && ::lstat(other.constData(), &two) == 0
        && one.st_dev == two.st_dev && one.st_ino == two.st_ino;
}

Result<void> moveReplacing(const QString &from, const QString &to)
{
    if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
        return systemError();
    return {};
}

Result<void> moveWithoutReplacing(const QString &from, const QString &to)
{
    const QByteArray oldName = QFile::encodeName(from);
    const QByteArray newName = QFile::encodeName(to);
    if (::renameat2(AT_FDCWD, oldName.constData(), AT_FDCWD, newName.constData(), RENAME_NOREPLACE)
        == 0)
        return {};
    const int code = errno;
    // A file system such as FAT ignores the case: the file itself has the new name.
    if (code == EEXIST && from.compare(to, Qt::CaseInsensitive) == 0 && isOneFile(oldName, newName))
        return moveReplacing(from, to);
    if (code != EINVAL && code != ENOSYS)
        return systemError(code);
    // The file system does not support RENAME_NOREPLACE.
    if (kindOf(to) != Kind::Missing)
        return Error{ErrorCode::File, systemErrorText(EEXIST), {}, EEXIST};
    return ::rename(oldName.constData(), newName.constData()) == 0 ? Result<void>() : systemError();
}

struct Places
{
    DocumentPlace from;
    DocumentPlace to;
};

struct Trashed
{
    QList<DocumentPlace> places;
    std::optional<Error> failed;
};

Trashed trash(const QStringList &paths)
{
    Trashed result;
    for (const QString &path : paths) {
        const DocumentPlace place = DocumentPlace::localEntry(path);
        QFile file(path);
        if (!file.moveToTrash()) {
            result.failed = refusal(u"Could not move “%1” to the trash: %2"_s.arg(
                QFileInfo(path).fileName(), file.errorString()));
            break;
        }
        result.places << place;
    }
    return result;
}

} // namespace

LocalFileActions::LocalFileActions(Dependencies dependencies, QObject *parent)
    : QObject(parent)
    , m_dependencies(dependencies)
{
}

QString LocalFileActions::nameProblem(const QString &name)
{
    if (isUsableFileName(name))
        return {};
    return name.isEmpty() ? u"A file or folder needs a name."_s
                          : u"“%1” isn't a usable name: a name can't contain “/” or “:”, and can't "
                            "be “.” or “..”."_s.arg(name);
}

Async<void> LocalFileActions::createFile(QString folder)
{
    const auto life = m_life.watch();
    UserPrompts::NamePrompt prompt;
    prompt.title = u"New File"_s;
    prompt.message = u"Create a file in %1."_s.arg(displayPath(folder));
    prompt.proposedName = u"untitled.py"_s;
    prompt.confirmTitle = u"Create"_s;
    prompt.problem = &LocalFileActions::nameProblem;
    const QString name = co_await m_dependencies.prompts.askName(std::move(prompt));
    if (!life || name.isEmpty())
        co_return Result<void>();
    if (const QString problem = nameProblem(name); !problem.isEmpty())
        co_return refusal(problem);
    const QString path = QDir(folder).filePath(name);
    const std::function<Result<void>()> create = [path]() -> Result<void> {
        if (kindOf(path) != Kind::Missing)
            return Error{ErrorCode::File, {}, {}, EEXIST};
        return createEmptyFile(path);
    };
    const auto created = co_await m_background.run(create);
    if (!created)
        co_return Error{ErrorCode::Closed, {}};
    if (!*created && created->error().systemCode == EEXIST)
        co_return alreadyExists(name, folder);
    if (!*created)
        co_return failure(u"Could not create “%1”"_s.arg(name), created->error());
    m_dependencies.files.reload();
    emit entryPlaced(path);
    emit fileCreated(path);
    co_return Result<void>();
}

Async<void> LocalFileActions::rename(QString path, QString name)
{
    const QFileInfo entry(path);
    const QString oldName = entry.fileName();
    if (name == oldName)
        co_return Result<void>();
    if (const QString problem = nameProblem(name); !problem.isEmpty())
        co_return refusal(problem);
    const auto life = m_life.watch();
    const QString folder = entry.absolutePath();
    const QString target = QDir(folder).filePath(name);
    const std::function<QList<Kind>()> look = [path, target] {
        return QList<Kind>{kindOf(path), kindOf(target)};
    };
    const auto kinds = co_await m_background.run(look);
    if (!kinds)
        co_return Error{ErrorCode::Closed, {}};
    const bool exists =
        kinds->at(1) != Kind::Missing && name.compare(oldName, Qt::CaseInsensitive) != 0;
    if (exists && (kinds->at(0) == Kind::Folder || kinds->at(1) == Kind::Folder))
        co_return alreadyExists(name, folder);
    if (exists) {
        UserPrompts::Confirmation question;
        question.title = u"Replace “%1”?"_s.arg(name);
        question.message = u"%1 already exists in %2. Renaming “%3” replaces it, and what it holds "
                           "is lost."_s.arg(name, displayPath(folder), oldName);
        question.confirmTitle = u"Replace"_s;
        const auto answer = co_await m_dependencies.prompts.confirm(std::move(question));
        if (!life)
            co_return Error{ErrorCode::Closed, {}};
        if (!answer.confirmed)
            co_return Error{ErrorCode::Canceled, {}};
    }
    const auto moved =
        co_await moveEntry(path, target, exists ? Existing::Replace : Existing::Refuse);
    if (!life)
        co_return Error{ErrorCode::Closed, {}};
    if (!moved)
        co_return failure(u"Could not rename “%1” to “%2”"_s.arg(oldName, name), moved.error());
    m_dependencies.files.reload();
    emit entryPlaced(target);
    co_return Result<void>();
}

Async<void> LocalFileActions::move(QStringList paths, QString folder)
{
    const auto life = m_life.watch();
    paths.removeIf(
        [&folder](const QString &path) { return QFileInfo(path).absolutePath() == folder; });
    if (const QString name = repeatedName(paths); !name.isEmpty())
        co_return refusal(u"Two of the entries are named “%1”. Move them one by one."_s.arg(name));
    QStringList targets;
    for (const QString &path : std::as_const(paths)) {
        const QString name = QFileInfo(path).fileName();
        if (folder == path || folder.startsWith(path + u'/'))
            co_return refusal(u"“%1” cannot be moved into itself."_s.arg(name));
        targets << QDir(folder).filePath(name);
    }
    const std::function<QList<Kind>()> look = [paths, targets] {
        QList<Kind> kinds;
        for (const QString &path : paths + targets)
            kinds << kindOf(path);
        return kinds;
    };
    const auto kinds = co_await m_background.run(look);
    if (!kinds)
        co_return Error{ErrorCode::Closed, {}};
    QStringList collisions;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        const QString name = QFileInfo(paths[i]).fileName();
        const Kind target = kinds->at(paths.size() + i);
        if (target == Kind::Missing)
            continue;
        if (target == Kind::Folder || kinds->at(i) == Kind::Folder)
            co_return alreadyExists(name, folder);
        collisions << name;
    }
    const QString where = u"in %1"_s.arg(displayPath(folder));
    const ReplaceAnswer answer = co_await askToReplace(m_dependencies.prompts, collisions, where);
    if (!life)
        co_return Error{ErrorCode::Closed, {}};
    if (answer == ReplaceAnswer::Cancel)
        co_return Error{ErrorCode::Canceled, {}};
    std::optional<Error> failed;
    for (qsizetype i = 0; i < paths.size() && !failed; ++i) {
        const bool exists = kinds->at(paths.size() + i) != Kind::Missing;
        if (exists && answer == ReplaceAnswer::Skip)
            continue;
        const auto moved =
            co_await moveEntry(paths[i], targets[i], exists ? Existing::Replace : Existing::Refuse);
        if (!life)
            co_return Error{ErrorCode::Closed, {}};
        if (!moved)
            failed = failure(u"Could not move “%1” to %2"_s.arg(QFileInfo(paths[i]).fileName(),
                                                                displayPath(folder)),
                             moved.error());
    }
    m_dependencies.files.reload();
    if (failed)
        co_return *failed;
    co_return Result<void>();
}

Async<void> LocalFileActions::moveEntry(QString from, QString to, Existing existing)
{
    const auto life = m_life.watch();
    const std::function<Places()> resolve = [from, to] {
        return Places{DocumentPlace::localEntry(from), DocumentPlace::localEntry(to)};
    };
    const auto places = co_await m_background.run(resolve);
    if (!places)
        co_return Error{ErrorCode::Closed, {}};
    // A document that is written after the move would create its old file again.
    QList<DocumentPlace> both{places->from, places->to};
    co_await m_dependencies.writer.finishedWithin(std::move(both));
    if (!life)
        co_return Error{ErrorCode::Closed, {}};
    const std::function<Result<void>()> work = [from, to, existing] {
        return existing == Existing::Replace ? moveReplacing(from, to)
                                             : moveWithoutReplacing(from, to);
    };
    const auto moved = co_await m_background.run(work);
    if (!moved)
        co_return Error{ErrorCode::Closed, {}};
    if (*moved)
        m_dependencies.documents.followMove(places->from, places->to);
    co_return *moved;
}

Async<void> LocalFileActions::moveToTrash(QStringList paths)
{
    if (paths.isEmpty())
        co_return Result<void>();
    const auto life = m_life.watch();
    QStringList names;
    for (const QString &path : std::as_const(paths))
        names << QFileInfo(path).fileName();
    const QString folder = displayPath(QFileInfo(paths.first()).absolutePath());
    UserPrompts::Confirmation question;
    question.title = paths.size() == 1 ? u"Move “%1” to the trash?"_s.arg(names.first())
                                       : u"Move %1 items to the trash?"_s.arg(paths.size());
    question.message =
        u"Removes %1 from %2. What is in the trash can be restored until that is emptied."_s.arg(
            listOfNames(names), folder);
    question.confirmTitle = u"Move to Trash"_s;
    const auto answer = co_await m_dependencies.prompts.confirm(std::move(question));
    if (!life)
        co_return Error{ErrorCode::Closed, {}};
    if (!answer.confirmed)
        co_return Error{ErrorCode::Canceled, {}};
    const std::function<QList<DocumentPlace>()> resolve = [paths] {
        QList<DocumentPlace> places;
        for (const QString &path : paths)
            places << DocumentPlace::localEntry(path);
        return places;
    };
    auto places = co_await m_background.run(resolve);
    if (!places)
        co_return Error{ErrorCode::Closed, {}};
    // A document that is written later would create its file again.
    co_await m_dependencies.writer.finishedWithin(*std::move(places));
    if (!life)
        co_return Error{ErrorCode::Closed, {}};
    const std::function<Trashed()> work = [paths] { return trash(paths); };
    const auto trashed = co_await m_background.run(work);
    if (!trashed)
        co_return Error{ErrorCode::Closed, {}};
    for (const DocumentPlace &place : trashed->places)
        m_dependencies.documents.markDeleted(place);
    m_dependencies.files.reload();
    if (trashed->failed)
        co_return *trashed->failed;
    co_return Result<void>();
}

} // namespace Korvane
