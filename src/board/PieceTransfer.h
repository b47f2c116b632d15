#pragma once

#include "base/Async.h"
#include "board/BoardCapabilities.h"
#include "board/FileDigest.h"
#include "board/PieceSize.h"
#include "board/TransferScripts.h"

#include <QByteArray>
#include <QString>

#include <functional>

namespace Korvane {

class DeviceLink;

/// Moves one file between this computer and the board as a sequence of short commands, each with a
/// time-out of its own (docs/formats/file-transfer.md). Other commands of the link run in between.
///
/// A file is written at a temporary name in the same folder, is checked by its length and digest,
/// and replaces the old file by a rename: until then the old file is unchanged. A piece
/// that was damaged on the link is sent again, up to three times. A piece that is too large for the
/// board's memory is sent in smaller ones.
///
/// The object must outlive the operation, which it does as a local variable of the coroutine that
/// awaits it. One operation at a time on one board. Main thread only.
class PieceTransfer final
{
public:
    /// Yields the next bytes of the file, \p maxBytes at most; empty at the end.
    using Source = std::function<Async<QByteArray>(qsizetype maxBytes)>;
    /// Takes the next bytes of the file.
    using Sink = std::function<Async<void>(QByteArray bytes)>;
    struct Observer
    {
        /// Called after each piece with the bytes moved so far.
        std::function<void(qint64 doneBytes)> moved = [](qint64) {};
        /// Asked before each piece: true ends the operation with an error of code `Canceled`.
        std::function<bool()> isCanceled = [] { return false; };
    };
    enum class Target {
        /// Write to a temporary name; needs room for the old and the new file.
        Beside,
        /// Write over the old file, which is lost when the transfer fails.
        InPlace,
    };

    /// What a path holds on the board after `send`.
    enum class FileState {
        /// What it held before.
        Old,
        New,
        /// The old or the new file, whole: the link was lost during the rename.
        OldOrNew,
        /// Part of the new file.
        Incomplete,
        Missing,
    };

    /// Borrows \p link. It may be destroyed during an operation, which then ends with `Closed`.
    PieceTransfer(DeviceLink &link, const BoardCapabilities &board, Observer observer);

    /// Writes the file at \p path. On failure the old file is unchanged with Target::Beside, and
    /// the temporary file is removed unless the link was lost. Errors: those of DeviceLink,
    /// `Canceled`, `Damaged` (the check failed), and what \p next yields. Fails with `Remote`
    /// (EISDIR) when \p path is a folder.
    [[nodiscard]] Async<void> send(Source next, QString path, Target target = Target::Beside);
    [[nodiscard]] FileState fileState() const { return m_fileState; }
    /// What `send` could not remove at the temporary name on the board: nothing, a part of a file,
    /// or a whole file whose rename may have been interrupted.
    enum class Leftover { None, Part, Whole };
    [[nodiscard]] Leftover leftover() const { return m_leftover; }
    /// Reads the file at \p path into \p sink and checks what was read. The board has closed the
    /// file at the end, unless the link was lost. Errors as above.
    [[nodiscard]] Async<void> receive(QString path, Sink sink);
    /// The digest of the board's file at \p path, in hexadecimal digits. \p path is as the board's
    /// functions expect it (BoardCapabilities::nativePath).
    [[nodiscard]] Async<QByteArray> digest(QString path);

    /// Where the content of \p path is written until it is whole: "/lib/.a.py.part".
    [[nodiscard]] static QString temporaryPath(const QString &path);

private:
    [[nodiscard]] Async<void> sendPieces(Source next, QString path, QString target);
    [[nodiscard]] Async<void> sendPiece(QByteArray piece, qint64 offset);
    [[nodiscard]] Async<void> replace(QString temporary, QString path);
    [[nodiscard]] Async<void> receivePieces(QString path, Sink sink);
    [[nodiscard]] Async<QByteArray> receivePiece(qint64 offset);
    [[nodiscard]] Async<void> check(QString path);
    [[nodiscard]] Async<QByteArray> readDigest(QString path);
    [[nodiscard]] QCoro::Task<void> closeAfter(Error failure);
    [[nodiscard]] Async<QString> execute(QString code);
    [[nodiscard]] Async<void> expectOk(QString code);

    DeviceLink &m_link;
    const int m_connection; // of the board that the file is sent to or read from
    const BoardCapabilities m_board;
    const Observer m_observer;
    PieceSize m_pieceSize;
    FileDigest m_digest;
    TransferScripts::Encoding m_encoding; // of the next piece to read
    FileState m_fileState = FileState::Old;
    Leftover m_leftover = Leftover::None;
};

} // namespace Korvane
