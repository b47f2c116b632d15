#pragma once

#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "board/BoardProfile.h"
#include "board/PieceTransfer.h"

#include <QList>
#include <QObject>

#include <list>
#include <memory>

namespace Korvane {

/// Runs transfers in pieces one after the other, in the order of the calls: they share globals on
/// the board. Other commands run in between. Removes what an interrupted transfer
/// left on the board when that board is connected again, at the latest before the next transfer to
/// it. Main thread only.
class TransferQueue final : public QObject
{
    Q_OBJECT

public:
    /// Yields a source that begins at the start of the file.
    using OpenSource = std::function<PieceTransfer::Source()>;
    struct Sent
    {
        Result<void> result;
        PieceTransfer::FileState fileState = PieceTransfer::FileState::Old;
    };

    /// Both must outlive this.
    TransferQueue(DeviceLink &link, BoardProfile &profile);

    /// As PieceTransfer::send and receive. Fails with `BoardReplaced` when another connection was
    /// made while the transfer was queued, and with `Closed` when this object is destroyed.
    [[nodiscard]] QCoro::Task<Sent> send(OpenSource open, QString path,
                                         PieceTransfer::Target target,
                                         PieceTransfer::Observer observer);
    [[nodiscard]] Async<void> receive(QString path, PieceTransfer::Sink sink,
                                      PieceTransfer::Observer observer);
    /// Compares the digest of the board's file with those of \p contents.
    [[nodiscard]] Async<bool> holds(QString path, QList<QByteArray> contents);

    /// The digest of the file at \p path, as PieceTransfer::digest.
    [[nodiscard]] Async<QByteArray> digest(QString path, PieceTransfer::Observer observer);

private:
    /// Held while a transfer runs; the next one starts when the last copy is destroyed.
    using Access = std::shared_ptr<const void>;
    struct Leftover
    {
        QString board; // DeviceLink::boardIdentity
        QString path;
        PieceTransfer::Leftover kind;
    };

    struct Begun
    {
        Access access;
        BoardCapabilities board;
    };

    /// Waits until no other transfer runs, then reads the capabilities of the board.
    [[nodiscard]] Async<Begun> begin();
    [[nodiscard]] Async<Access> acquire();
    void release();
    [[nodiscard]] Async<void> removeLeftovers();
    QCoro::Task<void> removeLeftoversWhenFree();

    DeviceLink &m_link;
    BoardProfile &m_profile;
    std::list<OneShot<bool>> m_waiting;
    bool m_isTaken = false;
    QList<Leftover> m_leftovers;
    Lifetime m_life;
};

} // namespace Korvane
