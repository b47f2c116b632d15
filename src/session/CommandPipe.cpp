#include "session/CommandPipe.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <utility>

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

CommandPipe::CommandPipe(QObject *parent)
    : QObject(parent)
{
}

CommandPipe::~CommandPipe()
{
    close();
}

Result<void> CommandPipe::open()
{
    // A reader that has gone shall fail the write, not end the program. Qt's own sockets and
    // processes switch the signal off in the same way.
    ::signal(SIGPIPE, SIG_IGN);
    int ends[2] = {-1, -1};
    // Closed in every child but the one that gets it on purpose: another child that held the
    // writing end would keep this one from ever seeing the end of its commands.
    if (::pipe2(ends, O_CLOEXEC) != 0 || ::fcntl(ends[1], F_SETFL, O_NONBLOCK) != 0) {
        const int code = errno;
        closeDescriptor(ends[0]);
        closeDescriptor(ends[1]);
        return Error{ErrorCode::File, qt_error_string(code), {}, code};
    }
    m_childEnd = ends[0];
    m_ourEnd = ends[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_ourEnd, QSocketNotifier::Write);
    m_notifier->setEnabled(false);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &CommandPipe::flush);
    return {};
}

void CommandPipe::closeChildEnd()
{
    closeDescriptor(m_childEnd);
}

void CommandPipe::write(const QByteArray &bytes)
{
    if (m_ourEnd < 0)
        return;
    m_unwritten.append(bytes);
    flush();
}

void CommandPipe::flush()
{
    while (m_writtenBytes < m_unwritten.size()) {
        const ssize_t written = ::write(m_ourEnd, m_unwritten.constData() + m_writtenBytes,
                                        static_cast<size_t>(m_unwritten.size() - m_writtenBytes));
        if (written >= 0) {
            m_writtenBytes += written;
            continue;
        }
        const int code = errno;
        if (code == EINTR)
            continue;
        if (code == EAGAIN) {
            m_notifier->setEnabled(true);
            return;
        }
        m_notifier->setEnabled(false);
        m_unwritten.clear();
        m_writtenBytes = 0;
        emit writeFailed(qt_error_string(code));
        return;
    }
    m_notifier->setEnabled(false);
    m_unwritten.clear();
    m_writtenBytes = 0;
}

void CommandPipe::close()
{
    m_notifier.reset(); // before the descriptor that it watches
    m_unwritten.clear();
    m_writtenBytes = 0;
    closeDescriptor(m_childEnd);
    closeDescriptor(m_ourEnd);
}

} // namespace Korvane
