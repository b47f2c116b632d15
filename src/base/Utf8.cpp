#include "base/Utf8.h"

#include <algorithm>
#include <utility>

namespace Korvane::Utf8 {

namespace {

constexpr QByteArrayView byteOrderMark("\xEF\xBB\xBF");

/// The length of the character that \p lead begins; 1 also for what can't begin one.
qsizetype characterLength(uchar lead)
{
    if (lead >= 0xF0 && lead <= 0xF4)
        return 4;
    if (lead >= 0xE0 && lead < 0xF0)
        return 3;
    if (lead >= 0xC2 && lead < 0xE0)
        return 2;
    return 1;
}

} // namespace

std::optional<QString> decodeStrict(QByteArrayView bytes)
{
    if (!bytes.isValidUtf8())
        return std::nullopt;
    return decodeLossy(bytes);
}

QString decodeLossy(QByteArrayView bytes)
{
    QString text = QString::fromUtf8(bytes);
    if (bytes.startsWith(byteOrderMark))
        text.prepend(QChar(QChar::ByteOrderMark));
    return text;
}

qsizetype unfinishedTailLength(QByteArrayView bytes)
{
    const qsizetype most = std::min<qsizetype>(3, bytes.size());
    for (qsizetype back = 1; back <= most; ++back) {
        const auto byte = static_cast<uchar>(bytes[bytes.size() - back]);
        if ((byte & 0xC0) == 0x80)
            continue;
        return characterLength(byte) > back ? back : 0;
    }
    return 0;
}

std::optional<QString> ChunkDecoder::feed(QByteArrayView chunk)
{
    QByteArray joined = std::exchange(m_tail, {});
    joined.append(chunk);
    const qsizetype tailLength = unfinishedTailLength(joined);
    const auto text = decodeStrict(QByteArrayView(joined).chopped(tailLength));
    if (text) {
        m_tail = joined.right(tailLength);
        return text;
    }
    // The ill-formed bytes may be the tail alone: a character that the chunk does not continue. The
    // chunk is then kept, because it may contain the end of a reply.
    return joined.size() > chunk.size() ? feed(chunk) : std::nullopt;
}

} // namespace Korvane::Utf8
