#include "session/PipePair.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace Korvane {

namespace {

void closeDescriptor(int &descriptor)
{
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

} // namespace

PipePair::~PipePair()
{
    close();
}

Result<void> PipePair::open(Direction direction)
{
    close();
    int ends[2] = {-1, -1}; // to read from, to write to
    const bool isOpen = ::pipe2(ends, O_CLOEXEC) == 0;
    m_ourEnd = ends[direction == Direction::ToChild ? 1 : 0];
    m_childEnd = ends[direction == Direction::ToChild ? 0 : 1];
    if (isOpen && ::fcntl(m_ourEnd, F_SETFL, O_NONBLOCK) == 0)
        return {};
    const int code = errno;
    close();
    return Error{ErrorCode::File, qt_error_string(code), {}, code};
}

void PipePair::closeChildEnd()
{
    closeDescriptor(m_childEnd);
}

void PipePair::close()
{
    closeDescriptor(m_childEnd);
    closeDescriptor(m_ourEnd);
}

} // namespace Korvane
