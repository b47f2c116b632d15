#pragma once

#include "device/FileDescriptor.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <termios.h>

namespace Korvane {

/// A pseudo-terminal: the slave side is what the program opens as its serial port, the master side
/// is the board. The slave side is kept open here too, so that the program may close it and open
/// it again, as with a cable that stays plugged in.
class PtyPair final
{
public:
    PtyPair();

    [[nodiscard]] bool isValid() const { return m_master.isValid() && m_slave.isValid(); }
    [[nodiscard]] QString slavePath() const { return m_slavePath; }
    /// Non-blocking; -1 once closed.
    [[nodiscard]] int master() const { return m_master.get(); }
    /// The settings in force, whoever made them.
    [[nodiscard]] termios settings() const;
    /// How many bytes wait for the program to read them.
    [[nodiscard]] int unreadBytes() const;

    /// How many of \p bytes the line took.
    qsizetype write(QByteArrayView bytes);
    /// What the program has written until now.
    [[nodiscard]] QByteArray read();
    /// Pulls the cable. The system discards what was not read until then.
    void closeMaster() { m_master.reset(); }

private:
    FileDescriptor m_master;
    FileDescriptor m_slave;
    QString m_slavePath;
};

} // namespace Korvane
