#include "board/PieceSize.h"

#include <algorithm>

namespace Korvane {

namespace {

constexpr qsizetype firstPiece = 2048;
constexpr qsizetype limitWithoutHeapSize = 4096;
constexpr int heapShare = 16;

} // namespace

PieceSize::PieceSize(qint64 freeHeapBytes)
    : m_limit(freeHeapBytes > 0
                  ? std::clamp<qsizetype>(freeHeapBytes / heapShare, smallest, largest)
                  : limitWithoutHeapSize)
    , m_bytes(std::min(firstPiece, m_limit))
{
}

void PieceSize::adapt(qsizetype sentBytes, std::chrono::milliseconds elapsed)
{
    const qint64 milliseconds = std::max<qint64>(1, elapsed.count());
    const qint64 wanted = sentBytes * target.count() / milliseconds;
    // The last piece of a file is short, and a single reply may be late for other reasons: the size
    // changes by a factor of two at most.
    m_bytes = std::clamp<qsizetype>(wanted, m_bytes / 2, m_bytes * 2);
    m_bytes = std::clamp(m_bytes, smallest, m_limit);
}

bool PieceSize::shrink()
{
    if (m_bytes <= smallest)
        return false;
    m_limit = std::max(smallest, m_bytes / 2);
    m_bytes = m_limit;
    return true;
}

} // namespace Korvane
