#include "session/PipePair.h"

#include "base/SystemError.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace Korvane {

Result<void> PipePair::open(Direction direction)
{
    close();
    int ends[2] = {-1, -1}; // to read from, to write to
    const bool isOpen = ::pipe2(ends, O_CLOEXEC) == 0;
    m_ourEnd.reset(ends[direction == Direction::ToChild ? 1 : 0]);
    m_childEnd.reset(ends[direction == Direction::ToChild ? 0 : 1]);
    if (isOpen && ::fcntl(ourEnd(), F_SETFL, O_NONBLOCK) == 0)
        return {};
    const int code = errno;
    close();
    return Error{ErrorCode::File, systemErrorText(code), {}, code};
}

void PipePair::close()
{
    m_childEnd.reset();
    m_ourEnd.reset();
}

} // namespace Korvane
