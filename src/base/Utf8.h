#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

/// UTF-8 from pipes and serial ports: in pieces, and not always well-formed. Unlike
/// QString::fromUtf8 these keep a leading byte-order mark, so that a file keeps it.
namespace Korvane::Utf8 {

/// The text, or nothing when the bytes are not well-formed.
[[nodiscard]] std::optional<QString> decodeStrict(QByteArrayView bytes);

/// The text with U+FFFD in place of what is ill-formed.
[[nodiscard]] QString decodeLossy(QByteArrayView bytes);

/// How many bytes at the end begin a character without finishing it: 0 to 3.
[[nodiscard]] qsizetype unfinishedTailLength(QByteArrayView bytes);

/// Decodes a stream chunk by chunk: a character split over chunks is put together, a chunk that
/// holds ill-formed bytes is dropped whole.
class ChunkDecoder final
{
public:
    /// The text that \p chunk completes, or nothing when it had to be dropped.
    [[nodiscard]] std::optional<QString> feed(QByteArrayView chunk);
    void reset() { m_tail.clear(); }

private:
    QByteArray m_tail;
};

} // namespace Korvane::Utf8
