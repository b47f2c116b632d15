#include "board/FileTransfer.h"

#include "base/DisplayPath.h"
#include "base/LocalFile.h"
#include "base/ShellSink.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/DeviceListing.h"
#include "board/TransferStatus.h"

#include <QFileInfo>

#include <filesystem>

namespace Korvane {

namespace {

QString countOfFiles(qsizetype count)
{
    return QStringLiteral("%1 file%2").arg(count).arg(count == 1 ? QString() : QStringLiteral("s"));
}

QString progress(const QString &path, qsizetype index, qsizetype count)
{
    return QStringLiteral("Copying %1 (%2 of %3)…").arg(path).arg(index + 1).arg(count);
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

QCoro::Task<void> FileTransfer::copyFileToDevice(QString localFile)
{
    const QString name = QFileInfo(localFile).fileName();
    if (!m_link.connectionState().isConnected()) {
        m_shell.appendError(QStringLiteral("Connect a device before copying %1.").arg(name));
        co_return;
    }
    const auto life = m_life.watch();
    const QString target = DeviceListing::join(m_files.deviceWorkingDir(), name);
    if (!m_files.isOverwriteConfirmed(target)) {
        const bool exists = co_await m_files.deviceFileExists(target);
        if (!life)
            co_return;
        const bool mayReplace = !exists || co_await m_files.confirmOverwrite(name, target);
        if (!life)
            co_return;
        if (!mayReplace) {
            m_shell.appendInfo(
                QStringLiteral("Copy cancelled — %1 on the device is unchanged.").arg(target));
            co_return;
        }
    }

    const std::function<Result<QByteArray>()> read = [localFile] {
        return LocalFile::read(localFile);
    };
    auto bytes = co_await m_background.run(read);
    if (!bytes)
        co_return;
    if (!*bytes) {
        m_shell.appendError(QStringLiteral("Cannot read %1.").arg(localFile));
        co_return;
    }
    TransferStatus::Running running(m_transfer);
    running.setStatus(progress(name, 0, 1));
    QByteArray content = **std::move(bytes);
    const bool written = co_await m_files.writeDeviceFile(std::move(content), target, name);
    if (!life || !written)
        co_return;
    m_shell.appendInfo(QStringLiteral("↑ Copied %1 to %2.").arg(name, target));
    co_await m_files.refreshDeviceFiles();
}

QCoro::Task<void> FileTransfer::copyFolderToDevice(QString localFolder)
{
    const QString name = QFileInfo(localFolder).fileName();
    if (!m_link.connectionState().isConnected()) {
        m_shell.appendError(QStringLiteral("Connect a device before copying %1.").arg(name));
        co_return;
    }
    const auto life = m_life.watch();
    const QString target = DeviceListing::join(m_files.deviceWorkingDir(), name);
    const std::function<CopyPlan()> readTree = [localFolder] {
        return planLocalFolder(localFolder);
    };
    auto plan = co_await m_background.run(readTree);
    if (!plan)
        co_return;
    if (plan->items.isEmpty()) {
        m_shell.appendError(QStringLiteral("%1 is empty — nothing to copy.").arg(name));
        reportSkipped(plan->skipped);
        co_return;
    }

    const qsizetype fileCount = plan->files().size();
    UserPrompts::Confirmation question;
    question.title = QStringLiteral("Copy “%1” to the device?").arg(name);
    question.message =
        countOfFiles(fileCount) + QStringLiteral(" (") + displaySize(plan->totalSize())
        + QStringLiteral(") will be written to ") + target + QStringLiteral(" on ")
        + m_files.portLabel()
        + QStringLiteral(
            ", replacing any file already there with the same name. Large folders take "
            "a while over serial.");
    question.confirmTitle = QStringLiteral("Copy");
    const bool confirmed = co_await m_files.confirmAction(std::move(question));
    if (!life || !confirmed)
        co_return;

    TransferStatus::Running running(m_transfer);
    m_shell.appendInfo(QStringLiteral("↑ Copying %1 → %2…").arg(name, target));
    reportSkipped(plan->skipped);
    running.setStatus(QStringLiteral("Copying %1…").arg(name));
    QStringList folders{target};
    for (const CopyItem &item : std::as_const(plan->items)) {
        if (item.isDirectory)
            folders << target + u'/' + item.relativePath;
    }
    const bool made = co_await m_files.makeDeviceFolders(std::move(folders));
    if (!life || !made)
        co_return;

    const QList<CopyItem> files = plan->files();
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString relative = files[i].relativePath;
        running.setStatus(progress(relative, i, files.size()));
        const QString path = localFolder + u'/' + relative;
        const std::function<Result<QByteArray>()> read = [path] { return LocalFile::read(path); };
        auto bytes = co_await m_background.run(read);
        if (!bytes)
            co_return;
        if (!*bytes) {
            m_shell.appendError(QStringLiteral("Copy stopped — cannot read %1.").arg(relative));
            co_return;
        }
        QByteArray content = **std::move(bytes);
        const QString destination = target + u'/' + relative;
        const bool written =
            co_await m_files.writeDeviceFile(std::move(content), destination, relative);
        if (!life)
            co_return;
        if (!written) {
            m_shell.appendError(QStringLiteral("Copy stopped at %1.").arg(relative));
            co_return;
        }
    }
    m_shell.appendInfo(QStringLiteral("↑ Copied %1 to %2.").arg(countOfFiles(fileCount), target));
    co_await m_files.refreshDeviceFiles();
}

QCoro::Task<void> FileTransfer::copyFileFromDevice(DeviceFileNode file, QString destinationFolder)
{
    const auto life = m_life.watch();
    const QString target = DeviceListing::join(destinationFolder, file.name);
    const std::function<bool()> lookFor = [target] { return QFileInfo::exists(target); };
    const auto exists = co_await m_background.run(lookFor);
    if (!exists)
        co_return;
    if (*exists) {
        UserPrompts::Confirmation question;
        question.title = QStringLiteral("Replace “%1”?").arg(file.name);
        question.message = file.name + QStringLiteral(" already exists in ")
            + displayPath(destinationFolder)
            + QStringLiteral(". Copying from the device replaces it.");
        question.confirmTitle = QStringLiteral("Replace");
        const bool confirmed = co_await m_files.confirmAction(std::move(question));
        if (!life)
            co_return;
        if (!confirmed) {
            m_shell.appendInfo(QStringLiteral("Copy cancelled — %1 is unchanged.").arg(target));
            co_return;
        }
    }

    TransferStatus::Running running(m_transfer);
    running.setStatus(progress(file.name, 0, 1));
    const auto bytes = co_await m_files.readDeviceFile(file.path, file.name);
    if (!life || !bytes)
        co_return;
    const std::function<Result<void>()> write = [target, content = *bytes] {
        return LocalFile::writeAtomically(target, content);
    };
    const auto written = co_await m_background.run(write);
    if (!written)
        co_return;
    if (!*written) {
        m_shell.appendError(
            QStringLiteral("Cannot write %1: %2").arg(target, written->error().message));
        co_return;
    }
    emit localFilesChanged();
    m_shell.appendInfo(QStringLiteral("↓ Copied %1 to %2.").arg(file.name, target));
}

QCoro::Task<void> FileTransfer::copyFolderFromDevice(DeviceFileNode folder,
                                                     QString destinationFolder)
{
    const auto life = m_life.watch();
    const QString target = DeviceListing::join(destinationFolder, folder.name);
    const CopyPlan plan = planDeviceFolder(folder.children.value_or(QList<DeviceFileNode>()));
    const QList<CopyItem> files = plan.files();

    UserPrompts::Confirmation question;
    question.title =
        QStringLiteral("Copy “%1” to %2?").arg(folder.name, displayPath(destinationFolder));
    question.message = countOfFiles(files.size()) + QStringLiteral(" (")
        + displaySize(plan.totalSize()) + QStringLiteral(") will be written to ") + target
        + QStringLiteral(", replacing any file already there with the same name.");
    question.confirmTitle = QStringLiteral("Copy");
    const bool confirmed = co_await m_files.confirmAction(std::move(question));
    if (!life || !confirmed)
        co_return;

    TransferStatus::Running running(m_transfer);
    m_shell.appendInfo(QStringLiteral("↓ Copying %1 → %2…").arg(folder.name, target));
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
        co_return;
    if (!*made) {
        m_shell.appendError(QStringLiteral("Copy failed: ") + made->error().message);
        co_return;
    }

    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString relative = files[i].relativePath;
        running.setStatus(progress(relative, i, files.size()));
        const QString source = folder.path + u'/' + relative;
        const auto bytes = co_await m_files.readDeviceFile(source, relative);
        if (!life)
            co_return;
        if (!bytes) {
            m_shell.appendError(QStringLiteral("Copy stopped at %1.").arg(relative));
            co_return;
        }
        const QString path = target + u'/' + relative;
        const std::function<Result<void>()> write = [path, content = *bytes] {
            return LocalFile::writeAtomically(path, content);
        };
        const auto written = co_await m_background.run(write);
        if (!written)
            co_return;
        if (!*written) {
            m_shell.appendError(QStringLiteral("Copy stopped — cannot write %1: %2")
                                    .arg(path, written->error().message));
            co_return;
        }
    }
    emit localFilesChanged();
    m_shell.appendInfo(
        QStringLiteral("↓ Copied %1 to %2.").arg(countOfFiles(files.size()), target));
}

void FileTransfer::reportSkipped(const QStringList &skipped)
{
    if (skipped.isEmpty())
        return;
    const QStringList named = skipped.first(std::min<qsizetype>(5, skipped.size()));
    const QString more = skipped.size() > named.size()
        ? QStringLiteral(" and %1 more").arg(skipped.size() - named.size())
        : QString();
    m_shell.appendInfo(QStringLiteral("Not copied (links out of the folder and special files): ")
                       + named.join(QStringLiteral(", ")) + more + u'.');
}

} // namespace Korvane
