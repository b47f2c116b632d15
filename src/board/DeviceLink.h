#pragma once

#include "base/Delay.h"
#include "base/Lifetime.h"
#include "base/Result.h"
#include "board/BoardRecords.h"
#include "board/DeviceLinkClient.h"
#include "serial/PortWatcher.h"
#include "serial/SerialPortManager.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QStringList>

#include <chrono>
#include <list>
#include <memory>

namespace Korvane {

class RawReplExchange;
class ShellSink;

/// The link to the board: connecting, disconnecting, losing it, and running one command after the
/// other on it. Main thread only.
///
/// One user at a time has the line, which `deviceCommandInFlight` shows: a command of
/// executeOnDeviceRaw, or the start of a streamed run, which takes the line by force.
class DeviceLink final : public QObject
{
    Q_OBJECT

public:
    /// Borrows \p shell.
    explicit DeviceLink(ShellSink &shell, SerialPortManager::Roots roots = {},
                        QObject *parent = nullptr);
    /// Closes the port. Whoever waits for a command is resumed at once, with `Closed`.
    ~DeviceLink() override;
    DeviceLink(const DeviceLink &) = delete;
    DeviceLink &operator=(const DeviceLink &) = delete;

    /// Borrowed; must be set before anything else is asked of the link.
    void setClient(DeviceLinkClient *client) { m_client = client; }

    [[nodiscard]] SerialPortManager &serial() { return m_serial; }
    [[nodiscard]] const DeviceConnectionState &connectionState() const { return m_connectionState; }
    [[nodiscard]] const QStringList &availablePorts() const { return m_availablePorts; }
    [[nodiscard]] bool deviceCommandInFlight() const { return m_deviceCommandInFlight; }
    /// Takes the line by force, or gives it back. A command that had the line until now loses the
    /// interceptor and writes nothing more; its result comes in its time. So set an interceptor
    /// of your own only after taking the line.
    void setDeviceCommandInFlight(bool isInFlight);

    /// Lists the ports now. The list also follows boards that are plugged in and unplugged.
    void refreshPorts();
    /// The outcome is in the Shell and in connectionState(). Does nothing unless disconnected.
    void connectDevice(const QString &port);
    /// A command under way ends by its own time-out. Nothing is sent to the board.
    void disconnectDevice();
    /// Ctrl-D, whatever the board is doing; nothing while not connected.
    void softReset();

    /// Waits until the line is free, also of a program that was started meanwhile, then runs \p
    /// code on the board. Errors: `NotConnected`, `ProgramRunning`, `PausedAtBreakpoint` (nothing
    /// was written), `NoRawREPL`, `TimedOut` (the board may still be busy), `Closed` (this object
    /// has gone). \p timeout counts from when the line is free; its whole seconds are named in the
    /// error.
    [[nodiscard]] QCoro::Task<Result<DeviceExecution>> executeOnDeviceRaw(
        QString code, std::chrono::duration<double> timeout);
    /// The same, yielding the output alone; a traceback is an error of code `Remote`.
    [[nodiscard]] QCoro::Task<Result<QString>> executeOnDevice(
        QString code, std::chrono::duration<double> timeout);

signals:
    void connectionStateChanged();
    void availablePortsChanged();
    void deviceCommandInFlightChanged();

private:
    void startDeviceReader();
    void handleWriteFailure(const Error &error);
    void handleDeviceLost();
    void endLink(const QString &notice);
    void cutOffCommand();
    void takeLine(RawReplExchange *owner);

    ShellSink &m_shell;
    SerialPortManager::Roots m_roots;
    PortWatcher m_portWatcher;
    DeviceLinkClient *m_client = nullptr;
    SerialPortManager m_serial;
    DeviceConnectionState m_connectionState = DeviceConnectionState::disconnected();
    QStringList m_availablePorts;
    bool m_deviceCommandInFlight = false;
    /// The command that has the line; null when it is free or a streamed run took it.
    RawReplExchange *m_lineOwner = nullptr;
    /// All commands without a result yet: one whose line was taken by force still waits for its
    /// time-out.
    std::list<std::unique_ptr<RawReplExchange>> m_exchanges;
    Delay m_delay;
    Lifetime m_life;
};

} // namespace Korvane
