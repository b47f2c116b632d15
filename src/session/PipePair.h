#pragma once

#include "base/Result.h"

namespace Korvane {

/// A pipe to or from a child process. Owns both descriptors: they are closed by close() and by the
/// destructor.
class PipePair final
{
public:
    enum class Direction { ToChild, FromChild };

    PipePair() = default;
    ~PipePair();
    PipePair(const PipePair &) = delete;
    PipePair &operator=(const PipePair &) = delete;

    /// Both ends are closed on exec, since another child that inherited one would keep the pipe
    /// open; the child's end must be passed on with dup2. Our end doesn't block.
    [[nodiscard]] Result<void> open(Direction direction);
    /// -1 when closed.
    [[nodiscard]] int ourEnd() const { return m_ourEnd; }
    [[nodiscard]] int childEnd() const { return m_childEnd; }
    /// To be called once the child is started: while this copy is open, reading our end reports no
    /// end of file after the child has ended, and writing no error.
    void closeChildEnd();
    void close();

private:
    int m_ourEnd = -1;
    int m_childEnd = -1;
};

} // namespace Korvane
