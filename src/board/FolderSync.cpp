#include "board/FolderSync.h"

#include "base/DisplayPath.h"
#include "base/LocalFile.h"
#include "base/ShellSink.h"
#include "board/BoardScripts.h"
#include "board/CopyMessages.h"
#include "board/DeviceError.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/DeviceListing.h"
#include "board/TransferScripts.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr auto hashTimeout = 15s;
/// Limits of one command that hashes several files: it takes a few seconds on a slow board.
constexpr qsizetype mostFilesPerCommand = 16;
constexpr qint64 mostBytesPerCommand = 128 * 1024;
constexpr qsizetype localPieceBytes = 256 * 1024;

/// Empty for a file that cannot be read. Blocks.
QByteArray localDigest(const QString &path, const BoardCapabilities &board)
{
    const auto reader = LocalFile::Reader::open(path);
    if (!reader)
        return {};
    FileDigest digest(board);
    while (true) {
        const auto bytes = (*reader)->read(localPieceBytes);
        if (!bytes)
            return {};
        if (bytes->isEmpty())
            return digest.hex();
        digest.add(*bytes);
    }
}

/// \p folder, unless it is the root, and the folders below it that \p entries are in.
QStringList foldersOf(const QList<FolderChanges::Entry> &entries, const QString &folder)
{
    QStringList folders;
    if (folder != u"/")
        folders << folder;
    for (const FolderChanges::Entry &entry : entries) {
        for (qsizetype slash = entry.relativePath.indexOf(u'/'); slash >= 0;
             slash = entry.relativePath.indexOf(u'/', slash + 1))
            folders << DeviceListing::join(folder, entry.relativePath.first(slash));
    }
    folders.removeDuplicates();
    return folders;
}

/// The entries of a comparison in the order in which they are carried out.
struct Steps
{
    QList<FolderChanges::Entry> removed;
    QList<FolderChanges::Entry> sent;
    qint64 totalBytes = 0; // that are sent
};

Steps stepsOf(const QList<FolderChanges::Entry> &entries)
{
    Steps steps;
    for (const FolderChanges::Entry &entry : entries) {
        const bool isSent = entry.kind != FolderChanges::Kind::OnlyOnBoard;
        (isSent ? steps.sent : steps.removed).append(entry);
        steps.totalBytes += isSent ? entry.size : 0;
    }
    return steps;
}

} // namespace

FolderSync::FolderSync(DeviceLink &link, DeviceFiles &files, TransferStatus &transfer,
                       ShellSink &shell, QObject *parent)
    : QObject(parent)
    , m_link(link)
    , m_files(files)
    , m_transfer(transfer)
    , m_shell(shell)
{
}

Result<FolderSync::Tree> FolderSync::readTree(const QString &folder)
{
    Tree tree;
    const auto rules = LocalFile::readText(folder + u"/.korvaneignore"_s);
    if (rules) {
        tree.rules.add(*rules);
    } else if (rules.error().systemCode != ENOENT) {
        // Without its rules, files that must not be sent would be sent.
        Error error = rules.error();
        error.message.prepend(u"Cannot read .korvaneignore: "_s);
        return error;
    }
    const CopyPlan plan = planLocalFolder(folder);
    tree.items = tree.rules.keptOf(plan.items);
    for (const CopyPlan::Skipped &skipped : plan.skipped) {
        if (!tree.rules.isIgnored(skipped.relativePath, true))
            tree.skipped << skipped;
    }
    return tree;
}

QList<CopyItem> FolderSync::boardItems(const QString &folder, const IgnoreRules &rules) const
{
    const QList<DeviceFileNode> *nodes = m_files.deviceChildren(folder);
    if (!nodes)
        return {};
    QList<CopyItem> items = planDeviceFolder(*nodes).items;
    items.removeIf([](const CopyItem &item) {
        return item.relativePath.startsWith(u'.') || item.relativePath.contains("/."_L1);
    });
    return rules.keptOf(items);
}

Async<FolderChanges> FolderSync::compare(QString localFolder, QString boardFolder)
{
    const QString name = QFileInfo(localFolder).fileName();
    if (!m_link.connectionState().isConnected()) {
        co_return Error{ErrorCode::NotConnected,
                        u"Connect a device before sending files of %1."_s.arg(name)};
    }
    const auto life = m_life.watch();
    TransferStatus::Running running(m_transfer);
    running.setStatus(u"Comparing %1…"_s.arg(name));
    const std::function<Result<Tree>()> read = [localFolder] { return readTree(localFolder); };
    const auto found = co_await m_background.run(read);
    if (!found)
        co_return DeviceError::closed();
    const Result<Tree> &tree = *found;
    if (!tree)
        co_return tree.error();
    const int connection = m_link.connectionNumber();
    co_await m_files.refreshDeviceFiles();
    if (!life)
        co_return DeviceError::closed();
    if (const auto error = m_files.listingError())
        co_return *error;

    QList<CopyItem> candidates;
    FolderChanges changes =
        FolderChanges::compare(tree->items, boardItems(boardFolder, tree->rules), candidates);
    changes.localFolder = localFolder;
    changes.boardFolder = boardFolder;
    changes.skipped = tree->skipped;
    changes.connection = connection;
    qint64 total = 0;
    for (const CopyItem &item : candidates)
        total += item.size;
    running.setTotal(total);
    const auto board = co_await m_files.profile().capabilities();
    if (!board)
        co_return board.error();
    if (!life)
        co_return DeviceError::closed();
    const auto onBoard = co_await boardDigests(candidates, boardFolder, running.observer());
    if (!onBoard)
        co_return onBoard.error();
    if (!life)
        co_return DeviceError::closed();
    const std::function<QList<QByteArray>()> hash = [localFolder, candidates, board = *board] {
        QList<QByteArray> digests;
        for (const CopyItem &item : candidates)
            digests << localDigest(localFolder + u'/' + item.relativePath, board);
        return digests;
    };
    const auto here = co_await m_background.run(hash);
    if (!here)
        co_return DeviceError::closed();
    for (qsizetype i = 0; i < candidates.size(); ++i) {
        if (here->at(i).isEmpty() || here->at(i) != onBoard->at(i))
            changes.entries.append(
                {candidates[i].relativePath, FolderChanges::Kind::Changed, candidates[i].size});
        else
            ++changes.unchangedCount;
    }
    std::stable_sort(changes.entries.begin(), changes.entries.end(),
                     [](const FolderChanges::Entry &a, const FolderChanges::Entry &b) {
                         return a.kind < b.kind;
                     });
    co_return changes;
}

Async<QList<QByteArray>> FolderSync::boardDigests(QList<CopyItem> files, QString folder,
                                                  PieceTransfer::Observer observer)
{
    const auto life = m_life.watch();
    const auto board = co_await m_files.profile().capabilities();
    if (!board)
        co_return board.error();
    const bool hasDigest = board->hasSha256 || board->hasCrc32();
    QList<QByteArray> digests;
    qint64 done = 0;
    while (digests.size() < files.size()) {
        if (!life)
            co_return DeviceError::closed();
        if (observer.isCanceled())
            co_return Error{ErrorCode::Canceled, u"Comparing was canceled; nothing was sent."_s};
        QStringList paths;
        qint64 bytes = 0;
        while (hasDigest && digests.size() + paths.size() < files.size()
               && paths.size() < mostFilesPerCommand) {
            const CopyItem &file = files.at(digests.size() + paths.size());
            if (bytes + file.size > mostBytesPerCommand)
                break;
            bytes += file.size;
            paths << board->nativePath(DeviceListing::join(folder, file.relativePath));
        }
        if (paths.isEmpty()) { // a large file, or a board that computes no digests
            const CopyItem &file = files.at(digests.size());
            const QString path = DeviceListing::join(folder, file.relativePath);
            bytes = file.size;
            const auto digest = co_await m_files.content().digest(path, observer);
            if (!digest)
                co_return digest.error();
            digests << *digest;
        } else {
            const QString code = TransferScripts::hashFiles(paths, *board);
            const auto output = co_await m_link.executeInSequence(code, hashTimeout);
            if (!output)
                co_return output.error();
            const QStringList sums = output->split("__SUM__"_L1).sliced(1);
            if (sums.size() != paths.size())
                co_return DeviceError::invalidAnswer();
            for (const QString &sum : sums)
                digests << sum.trimmed().toLatin1();
        }
        done += bytes;
        observer.moved(done);
    }
    co_return digests;
}

Async<void> FolderSync::send(FolderChanges changes)
{
    if (!m_link.connectionState().isConnected())
        co_return DeviceError::notConnected();
    if (changes.connection != m_link.connectionNumber())
        co_return DeviceError::boardReplaced();
    const auto life = m_life.watch();
    const auto board = co_await m_link.boardIdentity();
    if (!board)
        co_return board.error();
    if (!life)
        co_return DeviceError::closed();
    DeviceFiles::WriteRequest request;
    request.path = changes.boardFolder;
    const auto permit = co_await m_files.requestWrite(std::move(request));
    if (!permit)
        co_return permit.error();
    if (!life)
        co_return DeviceError::closed();
    m_transfer.dropRest();
    const Steps steps = stepsOf(changes.entries);
    const qsizetype removals = steps.removed.size();
    const QList<FolderChanges::Entry> all = steps.removed + steps.sent;
    TransferStatus::Running running(m_transfer);
    running.setStatus(u"Sending files of %1…"_s.arg(QFileInfo(changes.localFolder).fileName()));
    running.setTotal(steps.totalBytes);
    Result<void> result;
    if (!steps.sent.isEmpty()) {
        QStringList folders = foldersOf(steps.sent, changes.boardFolder);
        result = co_await m_files.makeDeviceFolders(std::move(folders), *permit);
    }
    qint64 done = 0;
    qsizetype finished = 0;
    while (life && result && finished < all.size()) {
        const FolderChanges::Entry &entry = all.at(finished);
        const bool isSent = finished >= removals;
        const qsizetype index = isSent ? finished - removals : finished;
        const qsizetype count = isSent ? steps.sent.size() : removals;
        running.setStatus(isSent ? sendingProgress(entry.relativePath, index, count)
                                 : deletingProgress(entry.relativePath, index, count));
        if (running.isCanceled())
            result = DeviceError::canceled();
        else if (changes.connection != m_link.connectionNumber())
            result = DeviceError::boardReplaced();
        else if (isSent)
            result = co_await sendFile(entry, changes.localFolder, *permit, running.observer(done));
        else
            result = co_await m_files.removeEntry(
                DeviceListing::join(changes.boardFolder, entry.relativePath),
                BoardScripts::NodeKind::File);
        if (result) {
            running.setDone(done += isSent ? entry.size : 0);
            ++finished;
        } else {
            const auto stoppedAt = isSent ? &sendingStoppedAt : &deletingStoppedAt;
            result = stoppedAt(entry.relativePath, index, count, result.error());
        }
    }
    if (!life)
        co_return DeviceError::closed();
    if (result) {
        const QString removal =
            removals == 0 ? QString() : u", removed %1"_s.arg(countOfFiles(removals));
        m_shell.appendInfo(u"↑ Sent %1 to %2%3; %4 unchanged."_s.arg(
            countOfFiles(steps.sent.size()), changes.boardFolder, removal,
            countOfFiles(changes.unchangedCount)));
    } else if (result.error().code != ErrorCode::Closed) {
        FolderChanges rest = changes;
        rest.entries = all.mid(finished);
        m_transfer.setRest({rest.entries.first().relativePath,
                            [this, rest, board = *board] { return resume(rest, board); }});
    }
    // After some failures the board is being listed already.
    if (m_link.connectionState().isConnected() && (result || !m_files.isLoadingDeviceFiles()))
        co_await m_files.refreshDeviceFiles();
    co_return result;
}

Async<void> FolderSync::resume(FolderChanges rest, QString board)
{
    const auto life = m_life.watch();
    const auto same = co_await m_files.checkBoard(board);
    if (!same)
        co_return same;
    if (!life)
        co_return DeviceError::closed();
    const int connection = m_link.connectionNumber();
    co_await m_files.refreshDeviceFiles();
    if (!life)
        co_return DeviceError::closed();
    if (connection != m_link.connectionNumber())
        co_return DeviceError::boardReplaced();
    if (const auto error = m_files.listingError())
        co_return *error;
    rest.connection = connection;
    // A deletion may have been carried out although its reply was lost.
    rest.entries.removeIf([this, &rest](const FolderChanges::Entry &entry) {
        return entry.kind == FolderChanges::Kind::OnlyOnBoard
            && !m_files.deviceNode(DeviceListing::join(rest.boardFolder, entry.relativePath));
    });
    co_return co_await send(std::move(rest));
}

Async<void> FolderSync::sendFile(FolderChanges::Entry entry, QString localFolder,
                                 WritePermit permit, PieceTransfer::Observer observer)
{
    QString path = localFolder + u'/' + entry.relativePath;
    QString unreadable = u"Cannot read %1."_s.arg(entry.relativePath);
    const auto reader = co_await m_local.openReader(std::move(path), std::move(unreadable));
    if (!reader)
        co_return reader.error();
    auto source = m_local.sourceOf(*reader);
    co_return co_await m_files.sendFile(std::move(source), permit.forEntry(entry.relativePath),
                                        entry.relativePath, std::move(observer));
}

} // namespace Korvane
