#include "support/PtyPair.h"

#include <QFile>

#include <fcntl.h>
#include <sys/ioctl.h>

#include <array>
#include <cstdlib>

namespace Korvane {

PtyPair::PtyPair()
    : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
{
    std::array<char, 128> name{};
    if (::grantpt(master()) != 0 || ::unlockpt(master()) != 0
        || ::ptsname_r(master(), name.data(), name.size()) != 0)
        return;
    m_slavePath = QFile::decodeName(name.data());
    m_slave.reset(::open(name.data(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
}

termios PtyPair::settings() const
{
    termios settings{};
    ::tcgetattr(m_slave.get(), &settings);
    return settings;
}

int PtyPair::unreadBytes() const
{
    int count = 0;
    ::ioctl(m_slave.get(), FIONREAD, &count);
    return count;
}

qsizetype PtyPair::write(QByteArrayView bytes)
{
    const ssize_t count = ::write(master(), bytes.data(), static_cast<std::size_t>(bytes.size()));
    return count > 0 ? count : 0;
}

QByteArray PtyPair::read()
{
    QByteArray all;
    std::array<char, 4096> buffer;
    ssize_t count = 0;
    while ((count = ::read(master(), buffer.data(), buffer.size())) > 0)
        all.append(buffer.data(), count);
    return all;
}

} // namespace Korvane
