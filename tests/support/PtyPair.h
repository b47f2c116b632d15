#pragma once

#include "base/FileDescriptor.h"

#include <QByteArray>
#include <QFile>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>

#include <array>
#include <cstdlib>

namespace Korvane {

/// A pseudo-terminal: the slave side is what the program opens as its serial port, the master side
/// is the board. The slave side is kept open here too, so that the program may close it and open it
/// again, as with a cable that is still plugged in.
class PtyPair final
{
public:
    PtyPair()
    {
        std::array<char, 128> name{};
        if (::grantpt(master()) != 0 || ::unlockpt(master()) != 0
            || ::ptsname_r(master(), name.data(), name.size()) != 0)
            return;
        m_slavePath = QFile::decodeName(name.data());
        m_slave.reset(::open(name.data(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    }

    [[nodiscard]] bool isValid() const { return m_master.isValid() && m_slave.isValid(); }
    [[nodiscard]] QString slavePath() const { return m_slavePath; }
    /// Non-blocking; -1 once closed.
    [[nodiscard]] int master() const { return m_master.get(); }
    [[nodiscard]] termios settings() const
    {
        termios settings{};
        ::tcgetattr(m_slave.get(), &settings);
        return settings;
    }
    void setSettings(const termios &settings) const
    {
        ::tcsetattr(m_slave.get(), TCSANOW, &settings);
    }
    [[nodiscard]] bool isExclusive() const
    {
        int isSet = 0;
        ::ioctl(m_slave.get(), TIOCGEXCL, &isSet);
        return isSet != 0;
    }
    /// How many bytes the program has not read yet.
    [[nodiscard]] int unreadBytes() const
    {
        int count = 0;
        ::ioctl(m_slave.get(), FIONREAD, &count);
        return count;
    }

    /// Returns how many of \p bytes were accepted.
    qsizetype write(QByteArrayView bytes)
    {
        const auto size = static_cast<std::size_t>(bytes.size());
        return std::max<qsizetype>(0, ::write(master(), bytes.data(), size));
    }
    /// What the program has written since the last call.
    [[nodiscard]] QByteArray read()
    {
        QByteArray all;
        std::array<char, 4096> buffer;
        ssize_t count = 0;
        while ((count = ::read(master(), buffer.data(), buffer.size())) > 0)
            all.append(buffer.data(), count);
        return all;
    }
    /// Has the effect of unplugging. The system discards bytes that were not read.
    void closeMaster() { m_master.reset(); }

private:
    FileDescriptor m_master{::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)};
    FileDescriptor m_slave;
    QString m_slavePath;
};

} // namespace Korvane
