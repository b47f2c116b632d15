#include "session/CommandPipe.h"

#include "base/SystemError.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>

#include <unistd.h>

namespace Korvane {

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
    // A write to a pipe without a reader must fail instead of ending the program. QProcess and Qt's
    // sockets ignore the signal, too.
    ::signal(SIGPIPE, SIG_IGN);
    if (auto opened = m_pipe.open(PipePair::Direction::ToChild); !opened)
        return opened;
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe.ourEnd(), QSocketNotifier::Write);
    m_notifier->setEnabled(false);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &CommandPipe::flush);
    return {};
}

void CommandPipe::write(const QByteArray &bytes)
{
    if (m_pipe.ourEnd() < 0)
        return;
    m_unwritten.append(bytes);
    flush();
}

void CommandPipe::flush()
{
    while (m_writtenBytes < m_unwritten.size()) {
        const ssize_t written = ::write(m_pipe.ourEnd(), m_unwritten.constData() + m_writtenBytes,
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
        emit writeFailed(systemErrorText(code));
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
    m_pipe.close();
}

} // namespace Korvane
