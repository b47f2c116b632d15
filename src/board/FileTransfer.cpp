#include "board/FileTransfer.h"

#include "base/DisplayPath.h"
#include "base/ShellSink.h"
#include "board/DeviceError.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/DeviceListing.h"
#include "board/TransferStatus.h"

#include <QFileInfo>

#include <filesystem>
#include <numeric>
#include <utility>

namespace Korvane {

using namespace Qt::StringLiterals;
namespace {

QString countOfFiles(qsizetype count)
{
    return u"%1 file%2"_s.arg(count).arg(count == 1 ? QString() : u"s"_s);
}

qint64 sizeOf(const QList<CopyItem> &files)
{
    return std::accumulate(files.begin(), files.end(), qint64(0),
                           [](qint64 sum, const CopyItem &file) { return sum + file.size; });
}

Error notConnected(const QString &name)
{
    return {ErrorCode::NotConnected, u"Connect a device before copying "_s + name + u'.'};
}

/// Makes the folders, parents included; those that exist are fine. Blocks.
Result<void> makeLocalFolders(const QStringList &paths)
{
    for (const QString &path : paths) {
        std::error_code error;
        std::filesystem::create_directories(path.toStdU16String(), error);
        if (!error && !QFileInfo(path).isDir())
            error = std::make_error_code(std::errc::not_a_directory);
        if (error)
            return Error{ErrorCode::File, QString::fromLocal8Bit(error.message().c_str())};
    }
    return {};
}

} // namespace

FileTransfer::FileTransfer(DeviceLink &link, DeviceFiles &files, TransferStatus &transfer,
                           ShellSink &shell, QObject *parent)
    : QObject(parent)
    , m_link(link)
    , m_files(files)
    , m_transfer(transfer)
    , m_shell(shell)
    , m_receiver(files, m_local, transfer)
{
}

Async<void> FileTransfer::copyFileToDevice(QString localFile)
{
    const QString name = QFileInfo(localFile).fileName();
    if (!m_link.connectionState().isConnected())
        co_return notConnected(name);
    const auto life = m_life.watch();
    const QString target = DeviceListing::join(m_files.deviceWorkingDir(), name);
    auto request = m_files.replaceRequest(
        name, target, u"Copy cancelled — "_s + target + u" on the device is unchanged."_s);
    const auto permit = co_await m_files.requestWrite(std::move(request));
    if (!permit)
        co_return permit.error();
    if (!life)
        co_return DeviceError::closed();

    const auto reader = co_await m_local.openReader(localFile);
    if (!reader && reader.error().code == ErrorCode::Closed)
        co_return reader.error();
    if (!reader)
        co_return Error{ErrorCode::File, u"Cannot read "_s + localFile + u'.'};
    TransferStatus::Running running(m_transfer);
    running.setStatus(copyProgress(name, 0, 1));
    running.setTotal((*reader)->size());
    const auto written =
        co_await m_files.sendFile(m_local.sourceOf(*reader), *permit, name, running.observer());
    if (!written)
        co_return written.error();
    if (!life)
        co_return DeviceError::closed();
    m_shell.appendInfo(u"↑ Copied %1 to %2."_s.arg(name, target));
    co_await m_files.refreshDeviceFiles();
    co_return Result<void>();
}

Async<void> FileTransfer::copyFolderToDevice(QString localFolder)
{
    const QString name = QFileInfo(localFolder).fileName();
    if (!m_link.connectionState().isConnected())
        co_return notConnected(name);
    const auto life = m_life.watch();
    const QString target = DeviceListing::join(m_files.deviceWorkingDir(), name);
    const std::function<CopyPlan()> readTree = [localFolder] {
        return planLocalFolder(localFolder);
    };
    auto plan = co_await m_background.run(readTree);
    if (!plan)
        co_return DeviceError::closed();
    if (plan->items.isEmpty()) {
        reportSkipped(*plan);
        co_return Error{ErrorCode::File, name + u" is empty — nothing to copy."_s};
    }

    const qsizetype fileCount = plan->files().size();
    UserPrompts::Confirmation question;
    question.title = u"Copy “%1” to the device?"_s.arg(name);
    question.message = countOfFiles(fileCount) + u" ("_s + displaySize(plan->totalSize())
        + u") will be written to "_s + target + u" on "_s + m_files.portLabel()
        + u", replacing any file already there with the same name. Large folders take "
          "a while over serial."_s;
    question.confirmTitle = u"Copy"_s;
    DeviceFiles::WriteRequest request;
    request.path = target;
    request.question = [question](bool) { return std::optional(question); };
    request.looksForPath = false;
    const auto permit = co_await m_files.requestWrite(std::move(request));
    if (!permit)
        co_return permit.error();
    if (!life)
        co_return DeviceError::closed();

    m_shell.appendInfo(u"↑ Copying %1 → %2…"_s.arg(name, target));
    reportSkipped(*plan);
    Folders folders{localFolder, target};
    co_return co_await sendFolder(*std::move(plan), std::move(folders), *permit);
}

Async<void> FileTransfer::sendFolder(CopyPlan plan, Folders folders, WritePermit permit)
{
    const auto life = m_life.watch();
    TransferStatus::Running running(m_transfer);
    running.setStatus(u"Copying %1…"_s.arg(QFileInfo(folders.source).fileName()));
    const auto board = co_await m_link.boardIdentity();
    if (!life)
        co_return DeviceError::closed();
    if (!board)
        co_return board.error();
    m_transfer.dropRest();
    QStringList made{folders.target};
    for (const CopyItem &item : std::as_const(plan.items)) {
        if (item.isDirectory)
            made << folders.target + u'/' + item.relativePath;
    }
    const auto making = co_await m_files.makeDeviceFolders(std::move(made), permit);
    if (!making)
        co_return making.error();
    if (!life)
        co_return DeviceError::closed();

    const QList<CopyItem> files = plan.files();
    const auto count = std::make_shared<qsizetype>(0);
    const auto sent = co_await sendFiles(files, folders.source, permit, count);
    if (!life)
        co_return DeviceError::closed();
    if (!sent) {
        plan.dropFiles(*count);
        m_transfer.setRest(
            {files.value(*count).relativePath, [this, plan, folders, board = *board] {
                 return resumeSending(plan, folders, board);
             }});
        co_return sent;
    }
    m_shell.appendInfo(u"↑ Copied %1 to %2."_s.arg(countOfFiles(files.size()), folders.target));
    co_await m_files.refreshDeviceFiles();
    co_return Result<void>();
}

Async<void> FileTransfer::resumeSending(CopyPlan rest, Folders folders, QString board)
{
    const auto life = m_life.watch();
    const auto same = co_await m_files.checkBoard(board);
    if (!same)
        co_return same;
    if (!life)
        co_return DeviceError::closed();
    DeviceFiles::WriteRequest request;
    request.path = folders.target;
    const auto permit = co_await m_files.requestWrite(std::move(request));
    if (!permit)
        co_return permit.error();
    if (!life)
        co_return DeviceError::closed();
    co_return co_await sendFolder(std::move(rest), std::move(folders), *permit);
}

Async<void> FileTransfer::sendFiles(QList<CopyItem> files, QString localFolder, WritePermit permit,
                                    Count count)
{
    const auto life = m_life.watch();
    TransferStatus::Running running(m_transfer);
    running.setTotal(sizeOf(files));
    qint64 doneBytes = 0;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString relative = files[i].relativePath;
        running.setStatus(copyProgress(relative, i, files.size()));
        if (running.isCanceled()) {
            m_files.refreshDeviceFiles(); // shows the files before this one
            co_return copyStoppedAt(relative, i, files.size(), DeviceError::cancelled());
        }
        const auto reader = co_await m_local.openReader(localFolder + u'/' + relative);
        if (!reader && reader.error().code == ErrorCode::Closed)
            co_return reader.error();
        if (!reader) {
            m_files.refreshDeviceFiles();
            co_return Error{ErrorCode::File, u"Copy stopped — cannot read "_s + relative + u'.'};
        }
        const auto written =
            co_await m_files.sendFile(m_local.sourceOf(*reader), permit.forEntry(relative),
                                      relative, running.observer(doneBytes));
        if (!life)
            co_return DeviceError::closed();
        if (!written) {
            const ErrorCode code = written.error().code;
            if (code == ErrorCode::File || code == ErrorCode::Cancelled)
                m_files.refreshDeviceFiles();
            co_return copyStoppedAt(relative, i, files.size(), written.error());
        }
        doneBytes += files[i].size;
        running.setDone(doneBytes);
        ++*count;
    }
    co_return Result<void>();
}

Async<void> FileTransfer::copyFileFromDevice(DeviceFileNode file, QString destinationFolder)
{
    const auto life = m_life.watch();
    const QString target = DeviceListing::join(destinationFolder, file.name);
    const std::function<bool()> lookFor = [target] { return QFileInfo::exists(target); };
    const auto exists = co_await m_background.run(lookFor);
    if (!exists)
        co_return DeviceError::closed();
    if (*exists) {
        UserPrompts::Confirmation question;
        question.title = u"Replace “%1”?"_s.arg(file.name);
        question.message = file.name + u" already exists in "_s + displayPath(destinationFolder)
            + u". Copying from the device replaces it."_s;
        question.confirmTitle = u"Replace"_s;
        Error declined =
            DeviceError::cancelled(u"Copy cancelled — "_s + target + u" is unchanged."_s);
        const auto confirmed =
            co_await m_files.confirmAction(std::move(question), std::move(declined));
        if (!confirmed)
            co_return confirmed.error();
        if (!life)
            co_return DeviceError::closed();
    }

    TransferStatus::Running running(m_transfer);
    running.setStatus(copyProgress(file.name, 0, 1));
    running.setTotal(file.size);
    const FileReceiver::Item item{file.path, target, file.name, file.size};
    const auto received = co_await m_receiver.receive(item, running.observer());
    if (!received && received.error().code == ErrorCode::File) {
        co_return Error{ErrorCode::File,
                        u"Cannot write %1: %2"_s.arg(target, received.error().message)};
    }
    if (!received)
        co_return received.error();
    if (!life)
        co_return DeviceError::closed();
    emit localFilesChanged();
    m_shell.appendInfo(u"↓ Copied %1 to %2."_s.arg(file.name, target));
    co_return Result<void>();
}

Async<void> FileTransfer::copyFolderFromDevice(DeviceFileNode folder, QString destinationFolder)
{
    const auto life = m_life.watch();
    const QString target = DeviceListing::join(destinationFolder, folder.name);
    const CopyPlan plan = planDeviceFolder(folder.children.value_or(QList<DeviceFileNode>()));
    const QList<CopyItem> files = plan.files();

    UserPrompts::Confirmation question;
    question.title = u"Copy “%1” to %2?"_s.arg(folder.name, displayPath(destinationFolder));
    question.message = countOfFiles(files.size()) + u" ("_s + displaySize(plan.totalSize())
        + u") will be written to "_s + target
        + u", replacing any file already there with the same name."_s;
    question.confirmTitle = u"Copy"_s;
    const auto confirmed = co_await m_files.confirmAction(std::move(question));
    if (!confirmed)
        co_return confirmed.error();
    if (!life)
        co_return DeviceError::closed();

    m_shell.appendInfo(u"↓ Copying %1 → %2…"_s.arg(folder.name, target));
    QStringList made{target};
    for (const CopyItem &item : plan.items) {
        if (item.isDirectory)
            made << target + u'/' + item.relativePath;
    }
    const std::function<Result<void>()> makeFolders = [made] { return makeLocalFolders(made); };
    const auto making = co_await m_background.run(makeFolders);
    if (!making)
        co_return DeviceError::closed();
    if (!*making)
        co_return Error{ErrorCode::File, u"Copy failed: "_s + making->error().message};
    Folders folders{folder.path, target};
    co_return co_await receiveFolder(files, std::move(folders));
}

Async<void> FileTransfer::receiveFolder(QList<CopyItem> files, Folders folders)
{
    const auto life = m_life.watch();
    const auto board = co_await m_link.boardIdentity();
    if (!life)
        co_return DeviceError::closed();
    if (!board)
        co_return board.error();
    m_transfer.dropRest();
    const auto count = std::make_shared<qsizetype>(0);
    QList<FileReceiver::Item> items;
    for (const CopyItem &file : std::as_const(files)) {
        const QString below = u'/' + file.relativePath;
        items.append(
            {folders.source + below, folders.target + below, file.relativePath, file.size});
    }
    const auto received = co_await m_receiver.receiveAll(std::move(items), count);
    if (!life)
        co_return DeviceError::closed();
    emit localFilesChanged(); // also by a copy that stopped
    if (!received) {
        m_transfer.setRest({files.value(*count).relativePath,
                            [this, rest = files.mid(*count), folders, board = *board] {
                                return resumeReceiving(rest, folders, board);
                            }});
        co_return received;
    }
    m_shell.appendInfo(u"↓ Copied %1 to %2."_s.arg(countOfFiles(files.size()), folders.target));
    co_return Result<void>();
}

Async<void> FileTransfer::resumeReceiving(QList<CopyItem> rest, Folders folders, QString board)
{
    const auto life = m_life.watch();
    const auto same = co_await m_files.checkBoard(board);
    if (!same)
        co_return same;
    if (!life)
        co_return DeviceError::closed();
    co_return co_await receiveFolder(std::move(rest), std::move(folders));
}

void FileTransfer::reportSkipped(const CopyPlan &plan)
{
    for (const QString &line : plan.skippedLines())
        m_shell.appendInfo(line);
}

} // namespace Korvane
