#pragma once

#include "base/Error.h"

#include <QObject>
#include <QProcess>
#include <QString>

namespace Korvane {

/// A MicroPython board without hardware: MicroPython in a process of Node.js with a pseudo-terminal
/// as its serial port. The process ends when this object is destroyed, and when the program
/// crashes. Main thread only.
class VirtualBoardProcess final : public QObject
{
    Q_OBJECT

public:
    /// The folder of the board's own program: installed, or of the source tree that the running
    /// program was built in. Empty when there is none.
    [[nodiscard]] static QString defaultFolder();

    /// \p folder is where virtual_board.py and the npm package of MicroPython are.
    explicit VirtualBoardProcess(QString folder = defaultFolder(), QObject *parent = nullptr);
    /// Ends the process; blocks for up to two seconds.
    ~VirtualBoardProcess() override;

    /// Starts the board; `started` or `startFailed` follows, perhaps inside this call. When it runs
    /// already, `started` is emitted again with the same port.
    void start();
    [[nodiscard]] bool isRunning() const { return !m_port.isEmpty(); }
    /// The path of its serial port; empty while it does not run.
    [[nodiscard]] QString port() const { return m_port; }

signals:
    /// The board has started; its serial port is \p port.
    void started(const QString &port);
    /// The process has ended, and its serial port \p port no longer exists. The system may give the
    /// same path to another terminal.
    void ended(const QString &port);
    /// The message names what to install when something is missing.
    void startFailed(const Korvane::Error &error);

private:
    void readPort();
    void fail(const QString &message);

    QString m_folder;
    QProcess m_process;
    QString m_port; // empty until the board runs
    bool m_isStarting = false;
};

} // namespace Korvane
