#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"

namespace Korvane {

/// A pipe to or from a child process. Owns both ends.
class PipePair final
{
public:
    enum class Direction { ToChild, FromChild };

    /// Both ends are closed on exec, since another child that inherited one would keep the pipe
    /// open; the child's end must be passed on with dup2. Our end doesn't block.
    [[nodiscard]] Result<void> open(Direction direction);
    /// -1 when closed.
    [[nodiscard]] int ourEnd() const { return m_ourEnd.get(); }
    [[nodiscard]] int childEnd() const { return m_childEnd.get(); }
    /// To be called once the child is started: while this copy is open, reading our end reports no
    /// end of file after the child has ended, and writing no error.
    void closeChildEnd() { m_childEnd.reset(); }
    void close();

private:
    FileDescriptor m_ourEnd;
    FileDescriptor m_childEnd;
};

} // namespace Korvane
