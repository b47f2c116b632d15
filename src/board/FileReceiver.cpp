#include "board/FileReceiver.h"

#include "board/DeviceError.h"
#include "board/DeviceFiles.h"
#include "board/LocalPieces.h"
#include "board/TransferStatus.h"

#include <utility>

namespace Korvane {

using namespace Qt::StringLiterals;

QString copyProgress(const QString &path, qsizetype index, qsizetype count)
{
    return u"Copying %1 (%2 of %3)…"_s.arg(path, QString::number(index + 1),
                                           QString::number(count));
}

Error copyStoppedAt(const QString &path, qsizetype index, qsizetype count, const Error &cause)
{
    Error error = cause;
    if (cause.code == ErrorCode::Closed)
        return error;
    if (cause.code != ErrorCode::Cancelled) {
        error.cause = cause.message;
        error.message = u"Copy stopped at "_s + path + u'.';
        return error;
    }
    error.message = u"Copy cancelled at %1 (%2 of %3); the files before it were copied."_s.arg(
        path, QString::number(index + 1), QString::number(count));
    const QString state = cause.message.section(u" — "_s, 1);
    if (!state.isEmpty())
        error.message += u' ' + state;
    return error;
}

FileReceiver::FileReceiver(DeviceFiles &files, LocalPieces &local, TransferStatus &transfer)
    : m_files(files)
    , m_local(local)
    , m_transfer(transfer)
{
}

Async<void> FileReceiver::receive(Item item, PieceTransfer::Observer observer)
{
    const auto life = m_life.watch();
    const auto writer = co_await m_local.openWriter(item.target);
    if (!writer)
        co_return writer.error();
    if (!life)
        co_return DeviceError::closed();
    auto sink = m_local.sinkOf(*writer);
    const auto received =
        co_await m_files.receiveFile(item.source, item.label, std::move(sink), std::move(observer));
    if (!life)
        co_return DeviceError::closed();
    if (received)
        co_return co_await m_local.commit(*writer);
    Error error = received.error();
    if (error.code == ErrorCode::Cancelled)
        error.message = u"Transfer cancelled — %1 is as it was."_s.arg(item.target);
    co_return error;
}

Async<void> FileReceiver::receiveAll(QList<Item> items, std::shared_ptr<qsizetype> finished)
{
    const auto life = m_life.watch();
    TransferStatus::Running running(m_transfer);
    qint64 totalBytes = 0;
    for (const Item &item : std::as_const(items))
        totalBytes += item.sizeBytes;
    running.setTotal(totalBytes);
    qint64 doneBytes = 0;
    for (qsizetype i = 0; i < items.size(); ++i) {
        const Item item = items[i];
        running.setStatus(copyProgress(item.label, i, items.size()));
        if (running.isCanceled())
            co_return copyStoppedAt(item.label, i, items.size(), DeviceError::cancelled());
        const auto received = co_await receive(item, running.observer(doneBytes));
        if (!life)
            co_return DeviceError::closed();
        if (!received && received.error().code == ErrorCode::File) {
            co_return Error{
                ErrorCode::File,
                u"Copy stopped — cannot write %1: %2"_s.arg(item.target, received.error().message)};
        }
        if (!received)
            co_return copyStoppedAt(item.label, i, items.size(), received.error());
        doneBytes += item.sizeBytes;
        running.setDone(doneBytes);
        ++*finished;
    }
    co_return Result<void>();
}

} // namespace Korvane
