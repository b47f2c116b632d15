#pragma once

#include <QtGlobal>

#include <chrono>

namespace Korvane {

/// How many bytes of a file go into the next command of a transfer: as many as are sent within
/// `target`, bounded by the free heap of the board.
class PieceSize final
{
public:
    /// Long compared with the overhead of a command (about 10 ms at 115200 baud), short enough that
    /// progress, Cancel and other commands are not delayed noticeably.
    static constexpr std::chrono::milliseconds target{450};
    static constexpr qsizetype smallest = 256;
    static constexpr qsizetype largest = 16 * 1024;

    /// \p freeHeapBytes is 0 when unknown. A board holds a piece up to five times while it
    /// compiles, encodes or decodes it, and its text grows in the raw REPL, which some ports cannot
    /// recover from running out of memory in: a sixteenth of the heap leaves room for that.
    explicit PieceSize(qint64 freeHeapBytes);

    [[nodiscard]] qsizetype bytes() const { return m_bytes; }
    /// A piece of \p sentBytes took \p elapsed from the command to its reply.
    void adapt(qsizetype sentBytes, std::chrono::milliseconds elapsed);
    /// The board had no memory for a piece. False when it can't get smaller.
    [[nodiscard]] bool shrink();

private:
    qsizetype m_limit;
    qsizetype m_bytes;
};

} // namespace Korvane
