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

namespace Korvane {

using namespace Qt::StringLiterals;
namespace {

QString countOfFiles(qsizetype count)
{
    return u"%1 file%2"_s.arg(count).arg(count == 1 ? QString() : u"s"_s);
}

QString progress(const QString &path, qsizetype index, qsizetype count)
{
    return u"Copying %1 (%2 of %3)…"_s.arg(path, QString::number(index + 1),
                                           QString::number(count));
}

Error notConnected(const QString &name)
{
    return {ErrorCode::NotConnected, u"Connect a device before copying "_s + name + u'.'};
}

/// A folder copy that ended at \p relativePath, after the failure of a step of its own.
Error stoppedAt(const QString &relativePath, qsizetype index, qsizetype count, const Error &cause)
{
    Error error = cause;
    if (cause.code != ErrorCode::Cancelled) {
        error.cause = cause.message;
        error.message = u"Copy stopped at "_s + relativePath + u'.';
        return error;
    }
    error.message = u"Copy cancelled at %1 (%2 of %3); the files before it were copied."_s.arg(
        relativePath, QString::number(index + 1), QString::number(count));
    const QString state = cause.message.section(u" — "_s, 1);
    if (!state.isEmpty())
        error.message += u' ' + state;
    return error;
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
    running.setStatus(progress(name, 0, 1));
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

    TransferStatus::Running running(m_transfer);
    m_shell.appendInfo(u"↑ Copying %1 → %2…"_s.arg(name, target));
    reportSkipped(*plan);
    running.setStatus(u"Copying %1…"_s.arg(name));
    running.setTotal(plan->totalSize());
    QStringList folders{target};
    for (const CopyItem &item : std::as_const(plan->items)) {
        if (item.isDirectory)
            folders << target + u'/' + item.relativePath;
    }
    const auto made = co_await m_files.makeDeviceFolders(std::move(folders), *permit);
    if (!made)
        co_return made.error();
    if (!life)
        co_return DeviceError::closed();

    const QList<CopyItem> files = plan->files();
    qint64 doneBytes = 0;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString relative = files[i].relativePath;
        running.setStatus(progress(relative, i, files.size()));
        if (running.isCanceled())
            co_return stoppedAt(relative, i, files.size(), DeviceError::cancelled());
        const auto reader = co_await m_local.openReader(localFolder + u'/' + relative);
        if (!reader && reader.error().code == ErrorCode::Closed)
            co_return reader.error();
        if (!reader) {
            m_files.refreshDeviceFiles(); // shows the files before this one
            co_return Error{ErrorCode::File, u"Copy stopped — cannot read "_s + relative + u'.'};
        }
        const auto written =
            co_await m_files.sendFile(m_local.sourceOf(*reader), permit->forEntry(relative),
                                      relative, running.observer(doneBytes));
        if (!life)
            co_return DeviceError::closed();
        if (!written) {
            const ErrorCode code = written.error().code;
            if (code == ErrorCode::File || code == ErrorCode::Cancelled)
                m_files.refreshDeviceFiles();
            co_return stoppedAt(relative, i, files.size(), written.error());
        }
        doneBytes += files[i].size;
        running.setDone(doneBytes);
    }
    m_shell.appendInfo(u"↑ Copied %1 to %2."_s.arg(countOfFiles(fileCount), target));
    co_await m_files.refreshDeviceFiles();
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
    running.setStatus(progress(file.name, 0, 1));
    running.setTotal(file.size);
    const auto received = co_await receiveFile(file.path, target, file.name, running.observer());
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

    TransferStatus::Running running(m_transfer);
    m_shell.appendInfo(u"↓ Copying %1 → %2…"_s.arg(folder.name, target));
    QStringList folders{target};
    for (const CopyItem &item : plan.items) {
        if (item.isDirectory)
            folders << target + u'/' + item.relativePath;
    }
    const std::function<Result<void>()> makeFolders = [folders] {
        return makeLocalFolders(folders);
    };
    const auto made = co_await m_background.run(makeFolders);
    if (!made)
        co_return DeviceError::closed();
    if (!*made)
        co_return Error{ErrorCode::File, u"Copy failed: "_s + made->error().message};

    const auto received = co_await receiveFiles(files, folder.path, target);
    if (!life)
        co_return DeviceError::closed();
    emit localFilesChanged(); // also by a copy that stopped
    if (!received)
        co_return received.error();
    m_shell.appendInfo(u"↓ Copied %1 to %2."_s.arg(countOfFiles(files.size()), target));
    co_return Result<void>();
}

Async<void> FileTransfer::receiveFiles(QList<CopyItem> files, QString sourceFolder,
                                       QString targetFolder)
{
    const auto life = m_life.watch();
    TransferStatus::Running running(m_transfer);
    qint64 doneBytes = 0;
    running.setTotal(
        std::accumulate(files.begin(), files.end(), qint64(0),
                        [](qint64 sum, const CopyItem &file) { return sum + file.size; }));
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString relative = files[i].relativePath;
        running.setStatus(progress(relative, i, files.size()));
        if (running.isCanceled())
            co_return stoppedAt(relative, i, files.size(), DeviceError::cancelled());
        const QString path = targetFolder + u'/' + relative;
        const auto received = co_await receiveFile(sourceFolder + u'/' + relative, path, relative,
                                                   running.observer(doneBytes));
        if (!life)
            co_return DeviceError::closed();
        if (!received && received.error().code == ErrorCode::File) {
            co_return Error{
                ErrorCode::File,
                u"Copy stopped — cannot write %1: %2"_s.arg(path, received.error().message)};
        }
        if (!received)
            co_return stoppedAt(relative, i, files.size(), received.error());
        doneBytes += files[i].size;
        running.setDone(doneBytes);
    }
    co_return Result<void>();
}

Async<void> FileTransfer::receiveFile(QString source, QString path, QString label,
                                      PieceTransfer::Observer observer)
{
    const auto life = m_life.watch();
    const auto writer = co_await m_local.openWriter(path);
    if (!writer)
        co_return writer.error();
    auto sink = m_local.sinkOf(*writer);
    const auto received =
        co_await m_files.receiveFile(source, label, std::move(sink), std::move(observer));
    if (!life)
        co_return DeviceError::closed();
    if (received)
        co_return co_await m_local.commit(*writer);
    Error error = received.error();
    if (error.code == ErrorCode::Cancelled)
        error.message = u"Transfer cancelled — %1 is as it was."_s.arg(path);
    co_return error;
}

void FileTransfer::reportSkipped(const CopyPlan &plan)
{
    for (const QString &line : plan.skippedLines())
        m_shell.appendInfo(line);
}

} // namespace Korvane
