#pragma once

#include "board/BoardCapabilities.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QStringList>

#include <optional>

/// The MicroPython programs of a transfer in pieces (docs/formats/file-transfer.md). They share the
/// globals `_kf` (the open file), `_kn` (a position in bytes), `_kd` (the last piece, or a buffer)
/// and `_kh` (the digest so far), and the functions that the opening programs define, so that a
/// piece is one short call. Each prints a
/// marker; what follows the marker is the answer. Paths are absolute paths on the board.
namespace Korvane::TransferScripts {

/// Prints "__CAPS__" and the fields that BoardCapabilities::parse reads.
[[nodiscard]] QString capabilities();

/// Creates or empties the file at \p path, whose content is meant for \p target. Prints "__OK__";
/// raises OSError(EISDIR) when \p target is a folder.
[[nodiscard]] QString openToWrite(const QString &path, const QString &target,
                                  const BoardCapabilities &board);
/// Appends \p piece unless the position is beyond \p offset already, so that a piece whose reply
/// was lost can be sent again. Prints "__OK__"; raises ValueError("__LOST__") before anything is
/// written when the piece did not arrive as it was sent. The bytes are sent as base64 or as a bytes
/// literal, whichever is shorter.
[[nodiscard]] QString writePiece(QByteArrayView piece, qint64 offset,
                                 const BoardCapabilities &board);

/// How the board writes bytes as text.
enum class Encoding { Base64, Literal };

/// Opens the file at \p path for `readPiece`. Prints "__OK__".
[[nodiscard]] QString openToRead(const QString &path, const BoardCapabilities &board);
/// Yields up to \p maxBytes from \p offset on, which is where the previous piece ended or began:
/// a piece can be requested again, also with another size. Prints "__PIECE__", the length in bytes,
/// the CRC-32 (0 without binascii.crc32) and the bytes.
[[nodiscard]] QString readPiece(qint64 offset, qsizetype maxBytes, Encoding encoding);
/// The encoding that is shorter for \p bytes and that the board offers.
[[nodiscard]] Encoding encodingFor(QByteArrayView bytes, const BoardCapabilities &board);
/// One piece as `readPiece` printed it; nothing when bytes were lost or changed on the link.
[[nodiscard]] std::optional<QByteArray> parsePiece(const QString &output,
                                                   const BoardCapabilities &board);

/// Opens the file at \p path and hashes the first \p blocks blocks of 512 bytes. Prints "__HASH__",
/// the bytes hashed so far, 1 at the end of the file (otherwise 0), and the digest as FileDigest
/// writes it. For boards with SHA-256 or CRC-32.
[[nodiscard]] QString hashFile(const QString &path, int blocks, const BoardCapabilities &board);
/// Hashes up to \p blocks more blocks, with the same answer.
[[nodiscard]] QString hashPiece(int blocks);
struct HashState
{
    qint64 length = 0;
    bool isAtEnd = false;
    QByteArray digest;
};
[[nodiscard]] std::optional<HashState> parseHash(const QString &output);

/// Prints for each file "__SUM__" and its digest as FileDigest writes it, or nothing more when it
/// cannot be opened. For boards with SHA-256 or CRC-32.
[[nodiscard]] QString hashFiles(const QStringList &paths, const BoardCapabilities &board);

/// Closes the file that was written; raises OSError when the board cannot store the rest. Prints
/// "__OK__".
[[nodiscard]] QString flush();
/// Closes the file. Prints "__OK__".
[[nodiscard]] QString close();
/// Closes the file and removes \p path, if it exists. Prints "__OK__".
[[nodiscard]] QString discard(const QString &path);
/// Renames \p from to \p to, replacing it. Prints "__OK__".
[[nodiscard]] QString replace(const QString &from, const QString &to);
/// Completes or undoes a `replace` that may have been interrupted anywhere: prints "__NEW__" when
/// \p to is the new file, or "__OLD__" when it is the old one and \p from was removed.
[[nodiscard]] QString settle(const QString &from, const QString &to);

} // namespace Korvane::TransferScripts
