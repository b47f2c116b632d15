#pragma once

#include "support/Files.h"
#include "support/PtyPair.h"
#include "support/TestPort.h"

#include <QDir>
#include <QProcess>
#include <QTimer>

namespace Korvane {

/// MicroPython 1.9 on an emulated micro:bit: 16 KiB of memory; no folders, `json`, `binascii`,
/// `hashlib`, `os.stat` or `os.rename`. Needs qemu-system-arm and the firmware, both of Debian.
/// Its port needs the event loop of the test.
class EmulatedMicrobit final
{
public:
    EmulatedMicrobit()
    {
        // The firmware buffers 64 bytes without flow control, so bytes must not be sent faster than
        // at 115200 baud, nor, on a busy machine, before it has read the last ones.
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(1);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { pump(); });
    }
    ~EmulatedMicrobit()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    EmulatedMicrobit(const EmulatedMicrobit &) = delete;
    EmulatedMicrobit &operator=(const EmulatedMicrobit &) = delete;

    /// True when the board has shown its prompt; otherwise errorText() has the reason. Blocks.
    [[nodiscard]] bool start()
    {
        m_port.linkTo(m_pty.slavePath());
        const auto firmware =
            QStringLiteral("/usr/share/firmware-microbit-micropython/firmware.hex");
        m_process.start(QStringLiteral("qemu-system-arm"),
                        {QStringLiteral("-M"), QStringLiteral("microbit"),
                         QStringLiteral("-display"), QStringLiteral("none"),
                         QStringLiteral("-monitor"), QStringLiteral("none"),
                         QStringLiteral("-serial"), QStringLiteral("stdio"),
                         QStringLiteral("-device"), QStringLiteral("loader,file=") + firmware});
        m_timer.start();
        while (!m_fromBoard.contains(">>> ")) {
            if (!m_process.waitForReadyRead(10'000))
                return false;
            m_fromBoard += m_process.readAllStandardOutput();
        }
        return true;
    }
    [[nodiscard]] QString port() const { return m_port.path(); }
    [[nodiscard]] QString errorText()
    {
        return m_process.errorString() + u' '
            + QString::fromLocal8Bit(m_process.readAllStandardError());
    }

private:
    void pump()
    {
        m_toBoard += m_pty.read();
        const bool isSent = m_process.bytesToWrite() == 0;
        if (!m_toBoard.isEmpty() && isSent
            && (isWaiting() || ++m_turnsOfProgram > 20)) { // Ctrl-C is sent to a program that runs
            m_turnsOfProgram = 0;
            m_process.write(m_toBoard.first(std::min<qsizetype>(11, m_toBoard.size())));
            m_toBoard.remove(0, 11);
        }
        m_fromBoard += m_process.readAllStandardOutput();
        m_fromBoard.remove(0, m_pty.write(m_fromBoard));
    }

    /// Whether all threads of the emulator sleep: the firmware has read its input.
    [[nodiscard]] bool isWaiting() const
    {
        const QString tasks = QStringLiteral("/proc/%1/task/").arg(m_process.processId());
        for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (!bytesOf(tasks + task + QStringLiteral("/stat")).contains(") S "))
                return false;
        }
        return true;
    }

    TestPort m_port;
    PtyPair m_pty;
    QProcess m_process;
    QTimer m_timer;
    QByteArray m_toBoard;
    int m_turnsOfProgram = 0;
    QByteArray m_fromBoard;
};

} // namespace Korvane
