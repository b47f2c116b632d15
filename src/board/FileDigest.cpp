#include "board/FileDigest.h"

#include <zlib.h>

namespace Korvane {

quint32 FileDigest::crc32(QByteArrayView bytes, quint32 start)
{
    const auto *data = reinterpret_cast<const Bytef *>(bytes.data());
    return static_cast<quint32>(::crc32_z(start, data, static_cast<z_size_t>(bytes.size())));
}

void FileDigest::add(QByteArrayView bytes)
{
    m_length += bytes.size();
    if (m_usesSha256)
        m_sha256.addData(bytes);
    else if (!bytes.isEmpty()) // zlib takes a null pointer for the start of a new sum
        m_crc32 = crc32(bytes, m_crc32);
}

QByteArray FileDigest::hex() const
{
    return m_usesSha256 ? m_sha256.result().toHex()
                        : QByteArray::number(m_crc32, 16).rightJustified(8, '0');
}

} // namespace Korvane
