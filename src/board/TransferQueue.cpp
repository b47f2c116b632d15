#include "board/TransferQueue.h"

#include "board/DeviceError.h"
#include "board/DeviceLink.h"
#include "board/TransferScripts.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

constexpr auto quickTimeout = 5s;

} // namespace

TransferQueue::TransferQueue(DeviceLink &link, BoardProfile &profile)
    : m_link(link)
    , m_profile(profile)
{
    connect(&link, &DeviceLink::connected, this, &TransferQueue::removeLeftoversWhenFree);
}

QCoro::Task<TransferQueue::Sent> TransferQueue::send(OpenSource open, QString path,
                                                     PieceTransfer::Target target,
                                                     PieceTransfer::Observer observer)
{
    const auto life = m_life.watch();
    Sent sent;
    const auto begun = co_await begin();
    if (!begun) {
        sent.result = begun.error();
        co_return sent;
    }
    sent.result = co_await removeLeftovers();
    if (!sent.result)
        co_return sent;
    const auto identity = co_await m_link.boardIdentity();
    if (!life) {
        sent.result = DeviceError::closed();
        co_return sent;
    }
    PieceTransfer transfer(m_link, begun->board, std::move(observer));
    sent.result = co_await transfer.send(open(), path, target);
    sent.fileState = transfer.fileState();
    if (life && identity && transfer.leftover() != PieceTransfer::Leftover::None)
        m_leftovers.append({*identity, begun->board.nativePath(path), transfer.leftover()});
    co_return sent;
}

Async<void> TransferQueue::receive(QString path, PieceTransfer::Sink sink,
                                   PieceTransfer::Observer observer)
{
    const auto begun = co_await begin();
    if (!begun)
        co_return begun.error();
    PieceTransfer transfer(m_link, begun->board, std::move(observer));
    co_return co_await transfer.receive(std::move(path), std::move(sink));
}

Async<bool> TransferQueue::holds(QString path, QList<QByteArray> contents)
{
    const auto life = m_life.watch();
    PieceTransfer::Observer unobserved;
    const auto held = co_await digest(std::move(path), std::move(unobserved));
    if (!held)
        co_return held.error();
    if (!life)
        co_return DeviceError::closed();
    const auto board = co_await m_profile.capabilities();
    if (!board)
        co_return board.error();
    co_return std::any_of(contents.cbegin(), contents.cend(), [&](const QByteArray &content) {
        FileDigest digest(*board);
        digest.add(content);
        return digest.hex() == *held;
    });
}

Async<QByteArray> TransferQueue::digest(QString path, PieceTransfer::Observer observer)
{
    const auto begun = co_await begin();
    if (!begun)
        co_return begun.error();
    PieceTransfer transfer(m_link, begun->board, std::move(observer));
    co_return co_await transfer.digest(begun->board.nativePath(path));
}

Async<TransferQueue::Begun> TransferQueue::begin()
{
    const auto life = m_life.watch();
    Begun begun;
    const auto access = co_await acquire();
    if (!access)
        co_return access.error();
    begun.access = *access;
    if (!life)
        co_return DeviceError::closed();
    const auto board = co_await m_profile.capabilities();
    if (!board)
        co_return board.error();
    begun.board = *board;
    co_return std::move(begun);
}

/// Fails when the connection at the time of the call has ended meanwhile.
Async<TransferQueue::Access> TransferQueue::acquire()
{
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    if (m_isTaken) {
        OneShot<bool> &shot = m_waiting.emplace_back();
        const auto position = std::prev(m_waiting.end());
        const std::optional<bool> isGranted = co_await shot.wait();
        if (!isGranted || !life)
            co_return DeviceError::closed();
        m_waiting.erase(position);
    }
    m_isTaken = true;
    const Access access(this, [this, life](const void *) {
        if (life)
            release();
    });
    if (!m_link.connectionState().isConnected())
        co_return DeviceError::notConnected();
    if (connection != m_link.connectionNumber())
        co_return DeviceError::boardReplaced();
    co_return access;
}

void TransferQueue::release()
{
    // Stays taken while it is handed over: the next one is resumed from the event loop.
    m_isTaken = !m_waiting.empty();
    if (m_isTaken)
        m_waiting.front().deliver(true);
}

/// Stops at a failure of the link, to be called again; a file that the board refuses to remove is
/// not tried again.
Async<void> TransferQueue::removeLeftovers()
{
    const auto life = m_life.watch();
    if (m_leftovers.isEmpty())
        co_return Result<void>();
    const auto identity = co_await m_link.boardIdentity();
    if (!life)
        co_return DeviceError::closed();
    if (!identity)
        co_return identity.error();
    for (qsizetype i = 0; i < m_leftovers.size();) {
        const Leftover leftover = m_leftovers.at(i);
        if (leftover.board != *identity) {
            ++i;
            continue;
        }
        const QString temporary = PieceTransfer::temporaryPath(leftover.path);
        const QString code = leftover.kind == PieceTransfer::Leftover::Whole
            ? TransferScripts::settle(temporary, leftover.path)
            : TransferScripts::discard(temporary);
        const auto done = co_await m_link.executeOnDevice(code, quickTimeout);
        if (!life)
            co_return DeviceError::closed();
        if (!done && done.error().code != ErrorCode::Remote)
            co_return done.error();
        m_leftovers.removeAt(i);
    }
    co_return Result<void>();
}

QCoro::Task<void> TransferQueue::removeLeftoversWhenFree()
{
    if (m_leftovers.isEmpty())
        co_return;
    const auto access = co_await acquire();
    if (access)
        static_cast<void>(co_await removeLeftovers()); // tried again before the next transfer
}

} // namespace Korvane
