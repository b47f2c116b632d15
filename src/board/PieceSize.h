#pragma once

#include <QtGlobal>

#include <chrono>

namespace Korvane {

/// How many bytes of a file the next command of a transfer moves: as many as the link transfers in
/// `target`, bounded by the free heap of the board.
class PieceSize final
{
public:
    /// Long compared with the overhead of a command (about 10 ms at 115200 baud), short enough that
    /// progress, Cancel and other commands are not delayed noticeably.
    static constexpr std::chrono::milliseconds target{450};
    static constexpr qsizetype smallest = 256;
    static constexpr qsizetype largest = 16 * 1024;

    /// \p freeHeapBytes is 0 when unknown. A piece has at most a sixteenth of it: a board holds a
    /// piece up to five times while it compiles, encodes or decodes it. The raw REPL also needs
    /// memory for the text of the command, and some ports do not recover when it runs out of
    /// memory.
    explicit PieceSize(qint64 freeHeapBytes);

    [[nodiscard]] qsizetype bytes() const { return m_bytes; }
    /// A piece of \p sentBytes took \p elapsed from the command to its reply.
    void adapt(qsizetype sentBytes, std::chrono::milliseconds elapsed);
    /// Makes the pieces smaller, after the board had no memory for one. False when they already
    /// have the smallest size.
    [[nodiscard]] bool shrink();

private:
    qsizetype m_limit;
    qsizetype m_bytes;
};

} // namespace Korvane
