#include "app/BoardFileActions.h"

#include "app/ReplaceQuestion.h"
#include "base/DisplayPath.h"
#include "board/DeviceError.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/DeviceListing.h"
#include "board/TransferStatus.h"
#include "document/DocumentWriter.h"
#include "document/OpenFiles.h"

#include <algorithm>
#include <optional>

namespace Korvane {

using namespace Qt::StringLiterals;
using Kind = DeviceFileOperations::Kind;
using Existing = DeviceFileOperations::Existing;

namespace {

Error refusal(const QString &message)
{
    return {ErrorCode::File, message};
}

Error notConnected(const QString &purpose)
{
    return {ErrorCode::NotConnected, u"Connect a device before %1."_s.arg(purpose)};
}

Error alreadyExists(const QString &name, const QString &folder)
{
    return refusal(u"“%1” already exists in %2 on the device."_s.arg(name, folder));
}

/// \p error of an operation, described for the user.
Error failure(const QString &attempt, Error error)
{
    if (error.code != ErrorCode::Canceled && error.code != ErrorCode::BoardReplaced)
        error.message = attempt + u": "_s + error.message;
    return error;
}

QString folderOf(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    return slash > 0 ? path.first(slash) : u"/"_s;
}

/// The first of "untitled.py", "untitled2.py" and so on that \p entries does not have.
QString freeName(const QList<DeviceFileNode> *entries, const QString &base, const QString &suffix)
{
    for (int number = 1;; ++number) {
        const QString name = base + (number > 1 ? QString::number(number) : QString()) + suffix;
        const auto isTaken = [&name](const DeviceFileNode &node) { return node.name == name; };
        if (!entries || std::none_of(entries->cbegin(), entries->cend(), isTaken))
            return name;
    }
}

} // namespace

BoardFileActions::BoardFileActions(Dependencies dependencies, QObject *parent)
    : QObject(parent)
    , m_dependencies(dependencies)
{
}

QString BoardFileActions::nameProblem(const QString &name)
{
    if (isUsableDeviceName(name))
        return {};
    return name.isEmpty()
        ? u"A file or folder needs a name."_s
        : u"“%1” isn't a usable name: a name on the device can't contain “/”, and "
          "can't be “.” or “..”."_s.arg(name);
}

Async<void> BoardFileActions::createFile(QString folder)
{
    co_return co_await create(Kind::File, folder);
}

Async<void> BoardFileActions::createFolder(QString folder)
{
    co_return co_await create(Kind::Folder, folder);
}

Async<void> BoardFileActions::create(Kind kind, QString folder)
{
    const bool isFile = kind == Kind::File;
    if (!m_dependencies.link.connectionState().isConnected())
        co_return notConnected(isFile ? u"creating a file on it"_s : u"creating a folder on it"_s);
    const auto life = m_life.watch();
    const int connection = m_dependencies.link.connectionNumber();
    const QList<DeviceFileNode> *entries = m_dependencies.files.deviceChildren(folder);
    UserPrompts::NamePrompt prompt;
    prompt.title = isFile ? u"New File"_s : u"New Folder"_s;
    prompt.message = (isFile ? u"Create a file in %1 on the device."_s
                             : u"Create a folder in %1 on the device."_s)
                         .arg(folder);
    prompt.proposedName = isFile ? freeName(entries, u"untitled"_s, u".py"_s)
                                 : freeName(entries, u"untitled folder"_s, {});
    prompt.confirmTitle = u"Create"_s;
    prompt.problem = &BoardFileActions::nameProblem;
    const QString name = co_await m_dependencies.prompts.askName(std::move(prompt));
    if (!life || name.isEmpty())
        co_return Result<void>();
    if (const QString problem = nameProblem(name); !problem.isEmpty())
        co_return refusal(problem);
    if (connection != m_dependencies.link.connectionNumber())
        co_return DeviceError::boardReplaced();
    const QString path = DeviceListing::join(folder, name);
    DeviceFiles::WriteRequest request;
    request.path = path;
    const auto permit = co_await m_dependencies.files.requestWrite(std::move(request));
    if (!permit)
        co_return permit.error();
    const auto kinds = co_await m_dependencies.operations.kindsOf(QStringList(path));
    if (!life)
        co_return DeviceError::closed();
    const QString attempt = u"Could not create “%1”"_s.arg(name);
    if (!kinds)
        co_return failure(attempt, kinds.error());
    if (kinds->first() != Kind::Missing)
        co_return alreadyExists(name, folder);
    auto creating = isFile ? m_dependencies.operations.createFile(*permit)
                           : m_dependencies.operations.createFolder(*permit);
    const auto created = co_await std::move(creating);
    if (!life)
        co_return DeviceError::closed();
    if (!created)
        co_return failure(attempt, created.error());
    co_await m_dependencies.files.refreshDeviceFiles();
    if (!life)
        co_return DeviceError::closed();
    emit entryPlaced(path);
    const DeviceFileNode *node = m_dependencies.files.deviceNode(path);
    if (isFile && node)
        emit fileCreated(DeviceFileNode(*node));
    co_return Result<void>();
}

Async<void> BoardFileActions::rename(DeviceFileNode node, QString name)
{
    if (name == node.name)
        co_return Result<void>();
    if (!m_dependencies.link.connectionState().isConnected())
        co_return notConnected(u"renaming files on it"_s);
    if (const QString problem = nameProblem(name); !problem.isEmpty())
        co_return refusal(problem);
    const auto life = m_life.watch();
    const QString folder = folderOf(node.path);
    const QString target = DeviceListing::join(folder, name);
    const QString attempt = u"Could not rename “%1” to “%2”"_s.arg(node.name, name);
    const auto kinds = co_await m_dependencies.operations.kindsOf(QStringList(target));
    if (!life)
        co_return DeviceError::closed();
    if (!kinds)
        co_return failure(attempt, kinds.error());
    Existing existing = Existing::Refuse;
    // On a file system that ignores case, what is found may be the file itself.
    const bool isCaseOnly = name.compare(node.name, Qt::CaseInsensitive) == 0;
    if (kinds->first() != Kind::Missing && !isCaseOnly) {
        if (kinds->first() == Kind::Folder || node.isDirectory)
            co_return alreadyExists(name, folder);
        UserPrompts::Confirmation question;
        question.title = u"Replace “%1” on the device?"_s.arg(name);
        question.message = u"%1 already exists on %2. Renaming “%3” replaces it, and what it holds "
                           "is lost."_s.arg(target, m_dependencies.files.portLabel(), node.name);
        question.confirmTitle = u"Replace"_s;
        const auto confirmed = co_await m_dependencies.files.confirmAction(std::move(question));
        if (!life)
            co_return DeviceError::closed();
        if (!confirmed)
            co_return confirmed;
        existing = Existing::Replace;
    }
    const auto moved = co_await moveEntry(node.path, target, existing);
    if (!life)
        co_return DeviceError::closed();
    co_await m_dependencies.files.refreshDeviceFiles();
    if (!life)
        co_return DeviceError::closed();
    if (!moved)
        co_return failure(attempt, moved.error());
    emit entryPlaced(target);
    co_return Result<void>();
}

Async<void> BoardFileActions::move(QList<DeviceFileNode> nodes, QString folder)
{
    if (!m_dependencies.link.connectionState().isConnected())
        co_return notConnected(u"moving files on it"_s);
    const auto life = m_life.watch();
    nodes.removeIf([&folder](const DeviceFileNode &node) { return folderOf(node.path) == folder; });
    QStringList targets;
    for (const DeviceFileNode &node : std::as_const(nodes)) {
        if (folder == node.path || folder.startsWith(node.path + u'/'))
            co_return refusal(u"“%1” cannot be moved into itself."_s.arg(node.name));
        targets << DeviceListing::join(folder, node.name);
    }
    if (nodes.isEmpty())
        co_return Result<void>();
    const int connection = m_dependencies.link.connectionNumber();
    const auto kinds = co_await m_dependencies.operations.kindsOf(targets);
    if (!life)
        co_return DeviceError::closed();
    if (!kinds)
        co_return failure(u"Could not move to %1"_s.arg(folder), kinds.error());
    QStringList collisions;
    for (qsizetype i = 0; i < nodes.size(); ++i) {
        if (kinds->at(i) == Kind::Missing)
            continue;
        if (kinds->at(i) == Kind::Folder || nodes[i].isDirectory)
            co_return alreadyExists(nodes[i].name, folder);
        collisions << nodes[i].name;
    }
    const QString where = u"in %1 on the device"_s.arg(folder);
    const ReplaceAnswer answer = co_await askToReplace(m_dependencies.prompts, collisions, where);
    if (!life)
        co_return DeviceError::closed();
    if (answer == ReplaceAnswer::Cancel)
        co_return DeviceError::canceled();
    if (connection != m_dependencies.link.connectionNumber())
        co_return DeviceError::boardReplaced();
    std::optional<Error> failed;
    for (qsizetype i = 0; i < nodes.size() && !failed; ++i) {
        const bool exists = kinds->at(i) != Kind::Missing;
        if (exists && answer == ReplaceAnswer::Skip)
            continue;
        const auto moved = co_await moveEntry(nodes[i].path, targets[i],
                                              exists ? Existing::Replace : Existing::Refuse);
        if (!life)
            co_return DeviceError::closed();
        if (!moved)
            failed =
                failure(u"Could not move “%1” to %2"_s.arg(nodes[i].name, folder), moved.error());
    }
    co_await m_dependencies.files.refreshDeviceFiles();
    if (failed)
        co_return *failed;
    co_return Result<void>();
}

Async<void> BoardFileActions::moveEntry(QString from, QString to, Existing existing)
{
    const auto life = m_life.watch();
    DeviceFiles::WriteRequest source;
    source.path = from;
    // Holds the old path too, so that no transfer writes there meanwhile.
    const auto held = co_await m_dependencies.files.requestWrite(std::move(source));
    if (!held)
        co_return held.error();
    DeviceFiles::WriteRequest target;
    target.path = to;
    const auto permit = co_await m_dependencies.files.requestWrite(std::move(target));
    if (!permit)
        co_return permit.error();
    const auto board = co_await m_dependencies.link.boardIdentity();
    if (!life)
        co_return DeviceError::closed();
    if (!board)
        co_return board.error();
    const auto oldPlace = DocumentPlace::onBoard(*board, from);
    const auto newPlace = DocumentPlace::onBoard(*board, to);
    // A document that is written after the move would create its old file again.
    QList<DocumentPlace> places{oldPlace, newPlace};
    co_await m_dependencies.writer.finishedWithin(std::move(places));
    if (!life)
        co_return DeviceError::closed();
    auto moved = co_await m_dependencies.operations.move(from, *permit, existing);
    if (!life)
        co_return DeviceError::closed();
    if (moved)
        m_dependencies.documents.followMove(oldPlace, newPlace);
    co_return moved;
}

Async<void> BoardFileActions::remove(QList<DeviceFileNode> nodes)
{
    if (nodes.isEmpty())
        co_return Result<void>();
    if (!m_dependencies.link.connectionState().isConnected())
        co_return notConnected(u"deleting files on it"_s);
    const auto life = m_life.watch();
    const int connection = m_dependencies.link.connectionNumber();
    auto question = co_await removalQuestion(nodes);
    if (!life)
        co_return DeviceError::closed();
    if (!question)
        co_return failure(u"Delete failed"_s, question.error());
    if (connection != m_dependencies.link.connectionNumber())
        co_return DeviceError::boardReplaced();
    const auto confirmed = co_await m_dependencies.files.confirmAction(*std::move(question));
    if (!life)
        co_return DeviceError::closed();
    if (!confirmed)
        co_return confirmed;
    const auto removed = co_await removeEntries(nodes);
    if (!life)
        co_return DeviceError::closed();
    co_await m_dependencies.files
        .refreshDeviceFiles(); // documents of deleted files follow the listing
    co_return removed;
}

/// The question before \p nodes are deleted. Has the files in folders counted on the board, since
/// the listing may be out of date.
Async<UserPrompts::Confirmation> BoardFileActions::removalQuestion(QList<DeviceFileNode> nodes)
{
    const auto life = m_life.watch();
    DeviceFileOperations::Contents contents;
    QStringList names;
    for (const DeviceFileNode &node : std::as_const(nodes)) {
        names << node.name;
        if (!node.isDirectory) {
            contents.files += 1;
            contents.bytes += node.size;
            continue;
        }
        const auto counted = co_await m_dependencies.operations.count(node.path);
        if (!life)
            co_return DeviceError::closed();
        if (!counted)
            co_return counted.error();
        contents.files += counted->files;
        contents.bytes += counted->bytes;
    }
    const DeviceFileNode &first = nodes.first();
    const QString port = m_dependencies.files.portLabel();
    const QString size = displaySize(contents.bytes);
    const QString count = countOfFiles(contents.files);
    UserPrompts::Confirmation question;
    question.confirmTitle = u"Delete"_s;
    question.title = nodes.size() == 1 ? u"Delete “%1” from the device?"_s.arg(first.name)
                                       : u"Delete %1 items from the device?"_s.arg(nodes.size());
    if (nodes.size() > 1) {
        question.message = u"Removes %1 with %2 (%3) from %4. This cannot be undone."_s.arg(
            listOfNames(names), count, size, port);
    } else if (!first.isDirectory) {
        question.message = u"Removes %1 (%2 bytes) from %3. This cannot be undone."_s.arg(
            first.path, QString::number(first.size), port);
    } else if (contents.files == 0) {
        question.message =
            u"Removes the directory %1 from %2. It holds no files."_s.arg(first.path, port);
    } else {
        question.message =
            u"Removes the directory %1 with %2 (%3) from %4. This cannot be undone."_s.arg(
                first.path, count, size, port);
    }
    co_return std::move(question);
}

Async<void> BoardFileActions::removeEntries(QList<DeviceFileNode> nodes)
{
    const auto life = m_life.watch();
    TransferStatus::Running running(m_dependencies.transfer);
    const WritePermit boardPermit = m_dependencies.files.permitWrite(u"/"_s);
    const auto board = co_await m_dependencies.link.boardIdentity();
    if (!life)
        co_return DeviceError::closed();
    if (!board)
        co_return board.error();
    for (const DeviceFileNode &node : std::as_const(nodes)) {
        // A document that is written later would create its file again.
        QList<DocumentPlace> place{DocumentPlace::onBoard(*board, node.path)};
        co_await m_dependencies.writer.finishedWithin(std::move(place));
        if (!life)
            co_return DeviceError::closed();
        if (const auto same = m_dependencies.files.check(boardPermit); !same)
            co_return same.error();
        running.setStatus(u"Deleting %1…"_s.arg(node.name));
        running.setTotal(0); // can be canceled
        DeviceFiles::WriteRequest request;
        request.path = node.path;
        const auto permit = co_await m_dependencies.files.requestWrite(std::move(request));
        if (!permit)
            co_return permit.error();
        const DeviceFileOperations::IsCanceled isCanceled = [&running] {
            return running.isCanceled();
        };
        const auto removed = co_await m_dependencies.operations.remove(*permit, isCanceled);
        if (!life)
            co_return DeviceError::closed();
        if (!removed && removed.error().code == ErrorCode::Canceled)
            co_return DeviceError::canceled(
                u"Delete canceled at %1; what was deleted before is lost."_s.arg(node.path));
        if (!removed)
            co_return failure(u"Delete failed"_s, removed.error());
    }
    co_return Result<void>();
}

} // namespace Korvane
