#include "app/FilesCopy.h"

#include "app/ReplaceQuestion.h"
#include "base/DisplayPath.h"
#include "base/ShellSink.h"
#include "base/SystemError.h"
#include "board/DeviceError.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/DeviceListing.h"
#include "board/TransferStatus.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>

namespace Korvane {

using namespace Qt::StringLiterals;

namespace {

QStringList paths(const CopyPlan &entries, const QString &folder)
{
    QStringList result;
    for (const CopyItem &item : entries.items)
        result << DeviceListing::join(folder, item.relativePath);
    return result;
}

QStringList folders(const CopyPlan &entries, const QString &folder)
{
    QStringList result;
    for (const CopyItem &item : entries.items) {
        if (item.isDirectory)
            result << DeviceListing::join(folder, item.relativePath);
    }
    return result;
}

} // namespace

QString FilesCopy::Plan::source(const QString &relativePath) const
{
    return DeviceListing::join(folders.value(relativePath.section(u'/', 0, 0)), relativePath);
}

void FilesCopy::Plan::drop(const QStringList &relativePaths)
{
    const QSet<QString> dropped(relativePaths.cbegin(), relativePaths.cend());
    entries.items.removeIf(
        [&dropped](const CopyItem &item) { return dropped.contains(item.relativePath); });
}

FilesCopy::FilesCopy(Parts parts, QObject *parent)
    : QObject(parent)
    , m_parts(parts)
    , m_receiver(m_parts.files, m_local, m_parts.transfer)
{
}

Async<void> FilesCopy::toDevice(QStringList paths, QString folder)
{
    if (paths.isEmpty())
        co_return Result<void>();
    const QString firstName = QFileInfo(paths.first()).fileName();
    if (!m_parts.link.connectionState().isConnected())
        co_return Error{ErrorCode::NotConnected,
                        u"Connect a device before copying %1."_s.arg(firstName)};
    const auto life = m_life.watch();
    QStringList names;
    for (const QString &path : std::as_const(paths))
        names << QFileInfo(path).fileName();
    const auto permits = co_await this->permits(std::move(names), folder);
    if (!life)
        co_return DeviceError::closed();
    if (!permits)
        co_return permits.error();
    const std::function<Plan()> makePlan = [paths] { return planLocal(paths); };
    const auto plan = co_await m_background.run(makePlan);
    if (!plan)
        co_return DeviceError::closed();
    for (const QString &line : plan->entries.skippedLines())
        m_parts.shell.appendInfo(line);
    const auto found = co_await m_parts.operations.look(Korvane::paths(plan->entries, folder));
    if (!life)
        co_return DeviceError::closed();
    if (!found) {
        Error error = found.error();
        error.message.prepend(u"Could not copy %1: "_s.arg(firstName));
        co_return error;
    }
    const auto existing = collisions(*plan, folder, *found);
    if (!existing)
        co_return existing.error();
    const auto resolved = co_await resolve(*plan, *existing, u"in %1 on the device"_s.arg(folder));
    if (!life)
        co_return DeviceError::closed();
    if (!resolved)
        co_return resolved.error();
    co_return co_await sendAll(*resolved, folder, *permits);
}

Async<QList<WritePermit>> FilesCopy::permits(QStringList names, QString folder)
{
    const auto life = m_life.watch();
    QList<WritePermit> permits;
    for (const QString &name : std::as_const(names)) {
        DeviceFiles::WriteRequest request;
        request.path = DeviceListing::join(folder, name);
        const auto permit = co_await m_parts.files.requestWrite(std::move(request));
        if (!life)
            co_return DeviceError::closed();
        if (!permit)
            co_return permit.error();
        permits << *permit;
    }
    co_return permits;
}

Async<void> FilesCopy::sendAll(Plan plan, QString folder, QList<WritePermit> permits)
{
    const auto life = m_life.watch();
    const auto board = co_await m_parts.link.boardIdentity();
    if (!life)
        co_return DeviceError::closed();
    if (!board)
        co_return board.error();
    m_parts.transfer.dropRest();
    const auto count = std::make_shared<qsizetype>(0);
    const auto sent = co_await send(plan, folder, permits, count);
    if (!life)
        co_return DeviceError::closed();
    co_await m_parts.files.refreshDeviceFiles(); // also after a copy that stopped
    if (!life)
        co_return DeviceError::closed();
    if (!sent) {
        const QString file = plan.entries.files().value(*count).relativePath;
        plan.entries.dropFiles(*count);
        m_parts.transfer.setRest({file, [this, plan, folder, board = *board] {
                                      return resumeSending(plan, folder, board);
                                  }});
        co_return sent;
    }
    m_parts.shell.appendInfo(
        u"↑ Copied %1 to %2."_s.arg(countOfFiles(plan.entries.files().size()), folder));
    co_return sent;
}

Async<void> FilesCopy::resumeSending(Plan rest, QString folder, QString board)
{
    const auto life = m_life.watch();
    const auto same = co_await m_parts.files.checkBoard(board);
    if (!same)
        co_return same;
    if (!life)
        co_return DeviceError::closed();
    QStringList names = rest.folders.keys();
    const auto permits = co_await this->permits(std::move(names), folder);
    if (!permits)
        co_return permits.error();
    if (!life)
        co_return DeviceError::closed();
    co_return co_await sendAll(std::move(rest), folder, *permits);
}

Async<void> FilesCopy::fromDevice(QList<DeviceFileNode> nodes, QString folder)
{
    if (nodes.isEmpty())
        co_return Result<void>();
    if (!m_parts.link.connectionState().isConnected())
        co_return Error{ErrorCode::NotConnected,
                        u"Connect a device before copying %1."_s.arg(nodes.first().name)};
    const auto life = m_life.watch();
    Plan plan;
    plan.entries = planDeviceFolder(nodes);
    for (const DeviceFileNode &node : std::as_const(nodes))
        plan.folders.insert(node.name, node.path.chopped(node.name.size() + 1));
    const QStringList targets = Korvane::paths(plan.entries, folder);
    const std::function<QList<Kind>()> look = [targets] {
        QList<Kind> kinds;
        for (const QString &target : targets) {
            const QFileInfo entry(target);
            kinds << (entry.isDir()                             ? Kind::Folder
                          : entry.exists() || entry.isSymLink() ? Kind::File
                                                                : Kind::Missing);
        }
        return kinds;
    };
    const auto found = co_await m_background.run(look);
    if (!found)
        co_return DeviceError::closed();
    const auto existing = collisions(plan, folder, *found);
    if (!existing)
        co_return existing.error();
    const int connection = m_parts.link.connectionNumber();
    const auto resolved = co_await resolve(plan, *existing, u"in %1"_s.arg(displayPath(folder)));
    if (!life)
        co_return DeviceError::closed();
    if (!resolved)
        co_return resolved.error();
    if (connection != m_parts.link.connectionNumber())
        co_return DeviceError::boardReplaced();
    co_return co_await receiveAll(*resolved, folder);
}

Async<void> FilesCopy::receiveAll(Plan plan, QString folder)
{
    const auto life = m_life.watch();
    const auto board = co_await m_parts.link.boardIdentity();
    if (!life)
        co_return DeviceError::closed();
    if (!board)
        co_return board.error();
    m_parts.transfer.dropRest();
    const auto count = std::make_shared<qsizetype>(0);
    const auto received = co_await receive(plan, folder, count);
    if (!life)
        co_return DeviceError::closed();
    emit localFilesChanged(); // also by a copy that stopped
    if (!received) {
        const QString file = plan.entries.files().value(*count).relativePath;
        plan.entries.dropFiles(*count);
        m_parts.transfer.setRest({file, [this, plan, folder, board = *board] {
                                      return resumeReceiving(plan, folder, board);
                                  }});
        co_return received;
    }
    m_parts.shell.appendInfo(u"↓ Copied %1 to %2."_s.arg(countOfFiles(plan.entries.files().size()),
                                                         displayPath(folder)));
    co_return received;
}

Async<void> FilesCopy::resumeReceiving(Plan rest, QString folder, QString board)
{
    const auto life = m_life.watch();
    const auto same = co_await m_parts.files.checkBoard(board);
    if (!same)
        co_return same;
    if (!life)
        co_return DeviceError::closed();
    co_return co_await receiveAll(std::move(rest), folder);
}

FilesCopy::Plan FilesCopy::planLocal(const QStringList &paths)
{
    Plan plan;
    for (const QString &path : paths) {
        const QFileInfo entry(path);
        const QString name = entry.fileName();
        plan.folders.insert(name, entry.absolutePath());
        if (entry.isFile()) {
            plan.entries.items.append({name, false, entry.size()});
        } else if (entry.isDir()) {
            const CopyPlan below = planLocalFolder(path);
            plan.entries.items.append({name, true, 0});
            for (CopyItem item : below.items) {
                item.relativePath.prepend(name + u'/');
                plan.entries.items.append(std::move(item));
            }
            plan.entries.skipped += below.skipped;
        } else {
            plan.entries.skipped.append(
                {name, entry.exists() ? u"special files"_s : systemErrorText(ENOENT)});
        }
    }
    return plan;
}

Result<QStringList> FilesCopy::collisions(const Plan &plan, const QString &folder,
                                          const QList<Kind> &found)
{
    QStringList existing;
    for (qsizetype i = 0; i < found.size(); ++i) {
        const CopyItem &item = plan.entries.items[i];
        if (found[i] == Kind::Missing)
            continue;
        if ((found[i] == Kind::Folder) != item.isDirectory) {
            return Error{ErrorCode::File,
                         (item.isDirectory ? u"%1 is a file, and a folder of that name cannot be "
                                             "copied there."_s
                                           : u"%1 is a folder, and a file of that name cannot be "
                                             "copied there."_s)
                             .arg(DeviceListing::join(folder, item.relativePath))};
        }
        if (!item.isDirectory)
            existing << item.relativePath;
    }
    return existing;
}

Async<FilesCopy::Plan> FilesCopy::resolve(Plan plan, QStringList existing, QString where)
{
    const ReplaceAnswer answer = co_await askToReplace(m_parts.prompts, existing, where);
    if (answer == ReplaceAnswer::Cancel)
        co_return DeviceError::cancelled(u"Copy cancelled — nothing was changed."_s);
    if (answer == ReplaceAnswer::Skip)
        plan.drop(existing);
    co_return std::move(plan);
}

Async<void> FilesCopy::send(Plan plan, QString folder, QList<WritePermit> permits, Count count)
{
    const auto life = m_life.watch();
    TransferStatus::Running running(m_parts.transfer);
    const QList<CopyItem> files = plan.entries.files();
    running.setTotal(plan.entries.totalSize());
    const QHash<QString, WritePermit> permitOf = [&permits] {
        QHash<QString, WritePermit> byPath;
        for (const WritePermit &permit : std::as_const(permits))
            byPath.insert(permit.path(), permit);
        return byPath;
    }();
    QStringList made = folders(plan.entries, folder);
    if (!made.isEmpty()) {
        const auto making =
            co_await m_parts.files.makeDeviceFolders(std::move(made), permits.first());
        if (!life)
            co_return DeviceError::closed();
        if (!making)
            co_return making;
    }
    qint64 doneBytes = 0;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString relative = files[i].relativePath;
        running.setStatus(copyProgress(relative, i, files.size()));
        if (running.isCanceled())
            co_return copyStoppedAt(relative, i, files.size(), DeviceError::cancelled());
        const auto reader = co_await m_local.openReader(plan.source(relative));
        if (!reader && reader.error().code == ErrorCode::Closed)
            co_return reader.error();
        if (!reader)
            co_return Error{ErrorCode::File, u"Copy stopped — cannot read "_s + relative + u'.'};
        const QString top = relative.section(u'/', 0, 0);
        const WritePermit whole = *permitOf.constFind(DeviceListing::join(folder, top));
        const WritePermit permit =
            relative == top ? whole : whole.forEntry(relative.sliced(top.size() + 1));
        const auto written = co_await m_parts.files.sendFile(m_local.sourceOf(*reader), permit,
                                                             relative, running.observer(doneBytes));
        if (!life)
            co_return DeviceError::closed();
        if (!written)
            co_return copyStoppedAt(relative, i, files.size(), written.error());
        doneBytes += files[i].size;
        running.setDone(doneBytes);
        ++*count;
    }
    co_return Result<void>();
}

Async<void> FilesCopy::receive(Plan plan, QString folder, Count count)
{
    const auto life = m_life.watch();
    const QStringList made = folders(plan.entries, folder);
    const std::function<QString()> makeFolders = [made] {
        for (const QString &path : made) {
            if (!QDir().mkpath(path))
                return path;
        }
        return QString();
    };
    const auto refused = co_await m_background.run(makeFolders);
    if (!refused)
        co_return DeviceError::closed();
    if (!refused->isEmpty())
        co_return Error{ErrorCode::File, u"Copy failed: cannot create %1"_s.arg(*refused)};
    if (!life)
        co_return DeviceError::closed();
    QList<FileReceiver::Item> items;
    const QList<CopyItem> files = plan.entries.files();
    for (const CopyItem &file : files) {
        items.append({plan.source(file.relativePath),
                      DeviceListing::join(folder, file.relativePath), file.relativePath,
                      file.size});
    }
    co_return co_await m_receiver.receiveAll(std::move(items), count);
}

} // namespace Korvane
