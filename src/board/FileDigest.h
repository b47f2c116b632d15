#pragma once

#include "board/BoardCapabilities.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QCryptographicHash>

namespace Korvane {

/// The digest of a file's content, by the method that the board has too: SHA-256, otherwise CRC-32.
class FileDigest final
{
public:
    explicit FileDigest(const BoardCapabilities &board)
        : m_usesSha256(board.hasSha256 || !board.hasCrc32())
    {
    }

    void add(QByteArrayView bytes);
    /// In lower-case hexadecimal digits, as the board prints it.
    [[nodiscard]] QByteArray hex() const;
    /// Bytes added so far.
    [[nodiscard]] qint64 length() const { return m_length; }

    /// The CRC-32 of ISO 3309, continued from \p start, as binascii.crc32 computes it.
    [[nodiscard]] static quint32 crc32(QByteArrayView bytes, quint32 start = 0);

private:
    bool m_usesSha256;
    QCryptographicHash m_sha256{QCryptographicHash::Sha256};
    quint32 m_crc32 = 0;
    qint64 m_length = 0;
};

} // namespace Korvane
