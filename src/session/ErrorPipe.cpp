#include "session/ErrorPipe.h"

#include <QSocketNotifier>

#include <algorithm>
#include <cerrno>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Korvane {

ErrorPipe::ErrorPipe(QObject *parent)
    : QObject(parent)
{
}

ErrorPipe::~ErrorPipe() = default;

Result<void> ErrorPipe::open()
{
    if (auto opened = m_pipe.open(PipePair::Direction::FromChild); !opened)
        return opened;
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe.ourEnd(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &ErrorPipe::read);
    return {};
}

void ErrorPipe::read()
{
    if (!m_notifier || !m_notifier->isEnabled())
        return;
    int available = 0;
    ::ioctl(m_pipe.ourEnd(), FIONREAD, &available);
    // At least one byte, so that the end of the pipe is found: read() then returns 0.
    QByteArray bytes(std::max(available, 1), Qt::Uninitialized);
    const ssize_t count = ::read(m_pipe.ourEnd(), bytes.data(), static_cast<size_t>(bytes.size()));
    if (count > 0) {
        bytes.truncate(count);
        emit arrived(bytes);
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
        m_notifier->setEnabled(false); // it would be activated again and again
    }
}

} // namespace Korvane
