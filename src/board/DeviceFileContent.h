#pragma once

#include "base/UserPrompts.h"
#include "board/TransferQueue.h"
#include "board/WritePermit.h"

namespace Korvane {

/// Reads and writes the content of single files on the board: small files by one command, larger
/// ones in pieces. Error messages are the full text for the user, and say what the board holds
/// after a write in pieces. \p label is the name used in them. Main thread only.
class DeviceFileContent final
{
public:
    /// Content of up to this many bytes is moved by one command, which a board with 16 KiB of free
    /// heap can execute.
    static constexpr qint64 smallSize = 2048;

    struct Source
    {
        TransferQueue::OpenSource open;
        qint64 sizeBytes = 0;
    };

    /// All must outlive this.
    DeviceFileContent(DeviceLink &link, UserPrompts &prompts, BoardProfile &profile);

    /// Creates or replaces the file at \p path. When the board has no room for the old and the new
    /// file, the user is asked whether to write over the old one.
    [[nodiscard]] Async<void> write(Source source, WritePermit permit, QString label,
                                    PieceTransfer::Observer observer);
    /// Reads the file into \p sink. \p sizeBytes is its size as last listed, 0 when unknown: then
    /// one command is tried first. On failure \p sink may have received a part of the file.
    [[nodiscard]] Async<void> read(QString path, QString label, qint64 sizeBytes,
                                   PieceTransfer::Sink sink, PieceTransfer::Observer observer);

    /// Whether the file holds one of \p contents. The board computes a digest if it can; otherwise
    /// the file is read.
    [[nodiscard]] Async<bool> holds(QString path, QList<QByteArray> contents)
    {
        return m_queue.holds(std::move(path), std::move(contents));
    }

    /// The digest of the board's file at \p path, as FileDigest writes it.
    [[nodiscard]] Async<QByteArray> digest(QString path, PieceTransfer::Observer observer)
    {
        return m_queue.digest(std::move(path), std::move(observer));
    }

    /// A source of \p bytes.
    [[nodiscard]] static Source sourceOf(const QByteArray &bytes);

private:
    [[nodiscard]] Async<void> writeAtOnce(PieceTransfer::Source next, QString path, QString label);
    [[nodiscard]] Async<QByteArray> readAtOnce(QString path, QString label);
    [[nodiscard]] Async<void> checkNeedsPieces(Error error);
    [[nodiscard]] Async<bool> confirmInPlace(WritePermit permit, QString label);
    [[nodiscard]] Async<bool> confirm(UserPrompts::Confirmation question);

    DeviceLink &m_link;
    UserPrompts &m_prompts;
    BoardProfile &m_profile;
    TransferQueue m_queue;
    Lifetime m_life;
};

} // namespace Korvane
