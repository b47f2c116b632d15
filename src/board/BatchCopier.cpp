#include "board/BatchCopier.h"

#include "base/DisplayPath.h"
#include "base/ShellSink.h"
#include "base/SystemError.h"
#include "board/CopyMessages.h"
#include "board/DeviceError.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/TransferStatus.h"

#include <QFileInfo>

#include <filesystem>
#include <functional>
#include <utility>

namespace Korvane {

using namespace Qt::StringLiterals;

namespace {

/// Creates the folders and their parents; those that exist are left alone. Blocks.
Result<void> makeFolders(const QStringList &paths)
{
    for (const QString &path : paths) {
        std::error_code error;
        std::filesystem::create_directories(path.toStdU16String(), error);
        if (!error && !QFileInfo(path).isDir())
            error = std::make_error_code(std::errc::not_a_directory);
        if (error) {
            return Error{ErrorCode::File, u"%1: %2"_s.arg(path, systemErrorText(error.value()))};
        }
    }
    return {};
}

/// The permit for the file at \p path, which is the path of \p permit or below it.
WritePermit permitFor(const QString &path, const WritePermit &permit)
{
    const qsizetype length = permit.path().size();
    return path.size() == length ? permit : permit.forEntry(path.sliced(length + 1));
}

} // namespace

void BatchCopier::Batch::add(const CopyItem &item, const QString &source, const QString &target,
                             qsizetype permitIndex)
{
    if (item.isDirectory)
        folders << target;
    else
        files.append({source, target, item.relativePath, item.size, permitIndex});
}

BatchCopier::BatchCopier(DeviceLink &link, DeviceFiles &files, TransferStatus &transfer,
                         ShellSink &shell)
    : m_link(link)
    , m_files(files)
    , m_transfer(transfer)
    , m_shell(shell)
{
}

Async<QList<WritePermit>> BatchCopier::permits(QStringList paths)
{
    const auto life = m_life.watch();
    QList<WritePermit> permits;
    for (const QString &path : std::as_const(paths)) {
        DeviceFiles::WriteRequest request;
        request.path = path;
        const auto permit = co_await m_files.requestWrite(std::move(request));
        if (!life)
            co_return DeviceError::closed();
        if (!permit)
            co_return permit.error();
        permits << *permit;
    }
    co_return std::move(permits);
}

Async<void> BatchCopier::send(Batch batch, QList<WritePermit> permits)
{
    co_return co_await copy(std::move(batch), Direction::ToBoard, std::move(permits));
}

Async<void> BatchCopier::receive(Batch batch)
{
    QList<WritePermit> none;
    co_return co_await copy(std::move(batch), Direction::FromBoard, std::move(none));
}

Async<void> BatchCopier::copy(Batch batch, Direction direction, QList<WritePermit> permits)
{
    const auto life = m_life.watch();
    const bool isToBoard = direction == Direction::ToBoard;
    const qsizetype count = batch.files.size();
    // The user was asked about the board of the permits.
    const WritePermit boardPermit =
        permits.isEmpty() ? m_files.permitWrite(u"/"_s) : permits.first();
    TransferStatus::Running running(m_transfer);
    if (count > 0)
        running.setStatus(copyProgress(batch.files.first().label, 0, count));
    const auto board = co_await m_link.boardIdentity();
    if (!life)
        co_return DeviceError::closed();
    if (!board)
        co_return board.error();
    if (const auto same = m_files.check(boardPermit); !same)
        co_return same.error();
    m_transfer.dropRest();
    QStringList permitted;
    for (const WritePermit &permit : std::as_const(permits))
        permitted << permit.path();
    qint64 totalBytes = 0;
    for (const File &file : std::as_const(batch.files))
        totalBytes += file.sizeBytes;
    running.setTotal(totalBytes);

    Result<void> result;
    if (isToBoard && !batch.folders.isEmpty())
        result = co_await m_files.makeDeviceFolders(batch.folders, permits.first());
    else if (!isToBoard)
        result = co_await makeLocalFolders(batch.folders);
    qint64 doneBytes = 0;
    qsizetype finished = 0;
    while (life && result && finished < count) {
        Step step{batch.files[finished], finished, count};
        running.setStatus(copyProgress(step.file.label, finished, count));
        const qint64 fileBytes = step.file.sizeBytes;
        if (running.isCanceled()) {
            result = stoppedAt(step, DeviceError::canceled());
        } else if (const auto same = m_files.check(boardPermit); !same) {
            result = stoppedAt(step, same.error());
        } else if (isToBoard) {
            const WritePermit permit =
                permitFor(step.file.target, permits.at(step.file.permitIndex));
            result = co_await sendOne(std::move(step), permit, running.observer(doneBytes));
        } else {
            result = co_await receiveOne(std::move(step), running.observer(doneBytes));
        }
        if (result) {
            running.setDone(doneBytes += fileBytes);
            ++finished;
        }
    }
    if (!life)
        co_return DeviceError::closed();

    running.setTotal(TransferStatus::Running::notCancelable);
    if (result) {
        m_shell.appendInfo(u"%1 Copied %2 to %3."_s.arg(isToBoard ? u"↑"_s : u"↓"_s,
                                                        countOfFiles(count), batch.targetName));
    }
    if (isToBoard && result)
        co_await m_files.refreshDeviceFiles();
    else if (isToBoard && !m_files.isLoadingDeviceFiles()) // as after some failures
        m_files.refreshDeviceFiles();                      // without waiting for it
    else if (!isToBoard)
        emit localFilesChanged();
    if (life && !result && finished < count) {
        batch.files.remove(0, finished);
        m_transfer.setRest(
            {batch.files.first().label, [this, batch, direction, permitted, board = *board] {
                 return resume(batch, direction, permitted, board);
             }});
    }
    co_return result;
}

Async<void> BatchCopier::resume(Batch rest, Direction direction, QStringList permitted,
                                QString board)
{
    const auto life = m_life.watch();
    const auto same = co_await m_files.checkBoard(std::move(board));
    if (!same)
        co_return same;
    if (!life)
        co_return DeviceError::closed();
    const auto permits = co_await this->permits(std::move(permitted));
    if (!permits)
        co_return permits.error();
    if (!life)
        co_return DeviceError::closed();
    co_return co_await copy(std::move(rest), direction, *permits);
}

Async<void> BatchCopier::makeLocalFolders(QStringList paths)
{
    const std::function<Result<void>()> make = [paths] { return makeFolders(paths); };
    const auto made = co_await m_background.run(make);
    if (!made)
        co_return DeviceError::closed();
    if (!*made)
        co_return Error{ErrorCode::File, u"Copy failed: "_s + made->error().message};
    co_return Result<void>();
}

Async<void> BatchCopier::sendOne(Step step, WritePermit permit, PieceTransfer::Observer observer)
{
    QString unreadable = u"Copy stopped — cannot read "_s + step.file.label + u'.';
    const auto reader = co_await m_local.openReader(step.file.source, std::move(unreadable));
    if (!reader)
        co_return reader.error();
    const auto sent = co_await m_files.sendFile(m_local.sourceOf(*reader), permit, step.file.label,
                                                std::move(observer));
    if (!sent)
        co_return stoppedAt(step, sent.error());
    co_return Result<void>();
}

Async<void> BatchCopier::receiveOne(Step step, PieceTransfer::Observer observer)
{
    const auto received = co_await receiveFile(step.file, std::move(observer));
    if (received)
        co_return received;
    if (received.error().code != ErrorCode::File)
        co_return stoppedAt(step, received.error());
    co_return Error{
        ErrorCode::File,
        u"Copy stopped — cannot write %1: %2"_s.arg(step.file.target, received.error().message)};
}

Error BatchCopier::stoppedAt(const Step &step, const Error &cause)
{
    return copyStoppedAt(step.file.label, step.index, step.count, cause);
}

Async<void> BatchCopier::receiveFile(File file, PieceTransfer::Observer observer)
{
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    const auto writer = co_await m_local.openWriter(file.target);
    if (!writer)
        co_return writer.error();
    if (!life)
        co_return DeviceError::closed();
    Result<void> received = DeviceError::connectionLost();
    if (connection == m_link.connectionNumber()) {
        auto sink = m_local.sinkOf(*writer);
        received = co_await m_files.receiveFile(file.source, file.label, std::move(sink),
                                                std::move(observer));
    }
    if (!life)
        co_return DeviceError::closed();
    if (received)
        co_return co_await m_local.commit(*writer);
    Error error = received.error();
    co_await m_local.discard(*writer);
    if (!life)
        co_return DeviceError::closed();
    if (error.code == ErrorCode::Canceled)
        error.message = u"Transfer canceled — %1 is unchanged."_s.arg(file.target);
    co_return error;
}

} // namespace Korvane
