#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/Result.h"
#include "serial/SerialPortManager.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>

namespace Korvane {

class DeviceLink;
class ErrorReporter;
class Preferences;
class ShellSink;
class VirtualBoardProcess;

/// What the user does with the board as a whole, with its outcome in the Shell. Connects a board
/// again that was lost and is plugged in again, unless the preference says no. Main thread only.
class BoardControl final : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this. \p virtualBoardFolder is as for VirtualBoardProcess.
    BoardControl(DeviceLink &link, ErrorReporter &errors, ShellSink &shell,
                 const Preferences &preferences, QString virtualBoardFolder,
                 QObject *parent = nullptr);
    ~BoardControl() override;

    /// Connects to the board at \p port. A failure is followed by what helps.
    void connectTo(const QString &port);
    /// Starts the virtual board, unless it runs, and connects to it. The Shell says what to install
    /// when something is missing. The board ends with this.
    void connectToVirtualBoard();
    /// "Pico, ttyACM0": what the board says of itself and the port's name; "Virtual board" for
    /// that; the path of a port that says nothing.
    [[nodiscard]] QString nameOf(const QString &port) const;
    /// Sends Ctrl-C, ahead of what is queued.
    void interrupt();
    // The tasks may be dropped.
    QCoro::Task<void> softReset();
    /// Firmware, machine, free memory and free flash.
    QCoro::Task<void> showDetails();
    /// Sets the board's clock to the local time of this computer.
    QCoro::Task<void> setClock();

private:
    QCoro::Task<void> advise(Error error, QString port);
    void reconnect();
    void reportFailure(const QString &what, Error error);

    DeviceLink &m_link;
    ErrorReporter &m_errors;
    ShellSink &m_shell;
    const Preferences &m_preferences;
    // The board that is connected, or was lost.
    QString m_port;
    SerialPortManager::Identity m_identity;
    bool m_isLost = false;
    QString m_virtualPort; // of the latest virtual board
    int m_attempts = 0;
    QTimer m_retry;
    QString m_virtualBoardFolder;
    std::unique_ptr<VirtualBoardProcess> m_virtualBoard; // null until it is first asked for
    Background m_background{1};
    Lifetime m_life;
};

} // namespace Korvane
