#include "board/FileTransfer.h"

#include "base/DisplayPath.h"
#include "base/ShellSink.h"
#include "board/CopyMessages.h"
#include "board/DeviceError.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/DeviceListing.h"
#include "board/TransferStatus.h"

#include <QFileInfo>

#include <utility>

namespace Korvane {

using namespace Qt::StringLiterals;

namespace {

Error notConnected(const QString &name)
{
    return {ErrorCode::NotConnected, u"Connect a device before copying "_s + name + u'.'};
}

} // namespace

FileTransfer::FileTransfer(DeviceLink &link, DeviceFiles &files, TransferStatus &transfer,
                           ShellSink &shell, QObject *parent)
    : QObject(parent)
    , m_link(link)
    , m_files(files)
    , m_transfer(transfer)
    , m_shell(shell)
    , m_copier(link, files, transfer, shell)
{
    connect(&m_copier, &BatchCopier::localFilesChanged, this, &FileTransfer::localFilesChanged);
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

    QString unreadable = u"Cannot read "_s + localFile + u'.';
    const auto reader = co_await m_local.openReader(localFile, std::move(unreadable));
    if (!reader)
        co_return reader.error();
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
    BatchCopier::Batch batch;
    batch.targetName = target;
    batch.folders << target;
    for (const CopyItem &item : std::as_const(plan->items)) {
        const QString below = u'/' + item.relativePath;
        batch.add(item, localFolder + below, target + below);
    }
    QList<WritePermit> permits{*permit};
    co_return co_await m_copier.send(std::move(batch), std::move(permits));
}

Async<void> FileTransfer::copyFileFromDevice(DeviceFileNode file, QString destinationFolder)
{
    const auto life = m_life.watch();
    const QString target = DeviceListing::join(destinationFolder, file.name);
    const int connection = m_link.connectionNumber();
    const std::function<bool()> lookFor = [target] { return QFileInfo::exists(target); };
    const auto exists = co_await m_background.run(lookFor);
    if (!exists)
        co_return DeviceError::closed();
    if (!m_link.connectionState().isConnected())
        co_return notConnected(file.name);
    if (connection != m_link.connectionNumber())
        co_return DeviceError::boardReplaced();
    if (*exists) {
        UserPrompts::Confirmation question;
        question.title = u"Replace “%1”?"_s.arg(file.name);
        question.message = file.name + u" already exists in "_s + displayPath(destinationFolder)
            + u". Copying from the device replaces it."_s;
        question.confirmTitle = u"Replace"_s;
        Error declined =
            DeviceError::canceled(u"Copy cancelled — "_s + target + u" is unchanged."_s);
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
    const BatchCopier::File source{file.path, target, file.name, file.size};
    const auto received = co_await m_copier.receiveFile(source, running.observer());
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

    UserPrompts::Confirmation question;
    question.title = u"Copy “%1” to %2?"_s.arg(folder.name, displayPath(destinationFolder));
    question.message = countOfFiles(plan.files().size()) + u" ("_s + displaySize(plan.totalSize())
        + u") will be written to "_s + target
        + u", replacing any file already there with the same name."_s;
    question.confirmTitle = u"Copy"_s;
    const auto confirmed = co_await m_files.confirmAction(std::move(question));
    if (!confirmed)
        co_return confirmed.error();
    if (!life)
        co_return DeviceError::closed();

    m_shell.appendInfo(u"↓ Copying %1 → %2…"_s.arg(folder.name, target));
    BatchCopier::Batch batch;
    batch.targetName = target;
    batch.folders << target;
    for (const CopyItem &item : plan.items) {
        const QString below = u'/' + item.relativePath;
        batch.add(item, folder.path + below, target + below);
    }
    co_return co_await m_copier.receive(std::move(batch));
}

void FileTransfer::reportSkipped(const CopyPlan &plan)
{
    for (const QString &line : plan.skippedLines())
        m_shell.appendInfo(line);
}

} // namespace Korvane
