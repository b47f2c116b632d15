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

/// The user's commands for the board as a whole. Their outcome is written to the Shell. Reconnects
/// a board that was unplugged when it is plugged in again, while Preferences::ReconnectBoards is
/// on. Main thread only.
class BoardControl final : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this. \p virtualBoardFolder is as for VirtualBoardProcess.
    BoardControl(DeviceLink &link, ErrorReporter &errors, ShellSink &shell,
                 const Preferences &preferences, QString virtualBoardFolder,
                 QObject *parent = nullptr);
    ~BoardControl() override;

    /// Connects to the board at \p port. A failure is written to the Shell, followed by advice
    /// (PortAdvice).
    void connectTo(const QString &port);
    /// Starts the virtual board, unless it runs, and connects to it. The Shell names what to
    /// install when something is missing. The process of the board ends when this is destroyed.
    void connectToVirtualBoard();
    /// For example "Pico, ttyACM0": the name of the USB product or else of its manufacturer, and
    /// the name of the port. "Virtual board" for the virtual board; the path of a port that has
    /// neither name.
    [[nodiscard]] QString nameOf(const QString &port) const;
    /// Sends Ctrl-C, ahead of what is queued.
    void interrupt();
    // The tasks may be dropped.
    QCoro::Task<void> softReset();
    /// Writes machine, firmware, free memory and free flash to the Shell.
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
    QTimer m_reconnectTimer;
    QString m_virtualBoardFolder;
    std::unique_ptr<VirtualBoardProcess> m_virtualBoard; // null until connectToVirtualBoard()
    Background m_background{1};
    Lifetime m_life;
};

} // namespace Korvane
