#pragma once

#include "base/Async.h"
#include "base/CallStop.h"
#include "base/Lifetime.h"
#include "board/BoardRecords.h"
#include "board/DeviceLinkClient.h"
#include "board/RawPaste.h"
#include "board/RawReplHandshake.h"
#include "serial/PortWatcher.h"
#include "serial/SerialPortManager.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <deque>
#include <functional>
#include <list>
#include <memory>

namespace Korvane {

class RawReplExchange;
class ShellSink;
class SoftReset;

/// The link to the board: connecting, disconnecting, losing it, and running commands on it in the
/// order of the calls. Main thread only.
///
/// One operation uses the link at a time, and `deviceCommandInFlight` is set meanwhile: a command
/// of executeOnDeviceRaw, the start of a streamed run, which takes the link by force, or a soft
/// reset.
class DeviceLink final : public QObject
{
    Q_OBJECT

public:
    using WhenBusy = RawReplHandshake::WhenBusy;

    /// Borrows \p shell.
    explicit DeviceLink(ShellSink &shell, SerialPortManager::Roots roots = {},
                        QObject *parent = nullptr);
    /// Closes the port. Every unfinished command ends at once, with `Closed`.
    ~DeviceLink() override;
    DeviceLink(const DeviceLink &) = delete;
    DeviceLink &operator=(const DeviceLink &) = delete;

    /// Borrowed; must be set before any other operation is called.
    void setClient(DeviceLinkClient *client) { m_client = client; }
    /// \p rateOf yields the speed in baud for the port at a path, and is called for each
    /// connection. Without it every port is opened at 115200.
    void setBaudRates(std::function<int(const QString &port)> rateOf)
    {
        m_baudRateOf = std::move(rateOf);
    }

    [[nodiscard]] SerialPortManager &serial() { return m_serial; }
    [[nodiscard]] const DeviceConnectionState &connectionState() const { return m_connectionState; }
    [[nodiscard]] const QStringList &availablePorts() const { return m_availablePorts; }
    [[nodiscard]] bool deviceCommandInFlight() const { return m_deviceCommandInFlight; }
    /// Takes the link by force, or frees it. A command that used it loses the interceptor and
    /// writes nothing more; its result arrives at its time-out. So set an interceptor only after
    /// taking the link. When the link is freed, the next queued command starts from the event loop.
    void setDeviceCommandInFlight(bool isInFlight);
    /// Whether what the board sends now is output for the user, and not the reply of a command.
    [[nodiscard]] bool isOutputShown() const;
    /// Starts the first queued command, if neither a command nor a program uses the link. Call it
    /// when the result of a function of the client has changed.
    void startNextCommand();

    /// Lists the ports now. The list also follows boards that are plugged in and unplugged.
    void refreshPorts();
    /// The texts of the USB descriptors of the board at \p port; empty without them.
    [[nodiscard]] SerialPortManager::Identity portIdentity(const QString &port) const
    {
        return SerialPortManager::identity(port, m_roots);
    }
    /// Lists \p port too from now on, as if KORVANE_EXTRA_PORTS named it.
    void addExtraPort(const QString &port);
    void removeExtraPort(const QString &port);
    /// Opens \p port and interrupts what its board is running. Errors: `SerialPort`, with errno and
    /// the text of SerialPortManager::open; `Canceled`, without a text, unless disconnected.
    Result<void> connectDevice(const QString &port);
    /// Unfinished commands end at once, with `NotConnected`. Nothing is sent to the board.
    void disconnectDevice();
    /// Interrupts the program on the board and resets the board; a command that uses the link ends
    /// with `Remote`. Succeeds when the board prints that it restarts. Errors: `NotConnected`,
    /// `ProgramRunning` (a run is being started, or another reset is in progress), `TimedOut`.
    [[nodiscard]] Async<void> softReset();

    /// Waits until the link is free, also of a program that was started meanwhile, then runs
    /// \p code on the board. The code may read what the user types while it runs. Errors:
    /// `NotConnected` (also when the connection ends first), `ProgramRunning`, `PausedAtBreakpoint`
    /// (nothing was written), `NoRawREPL`, `TimedOut` (the program was interrupted, unless the link
    /// was taken by force), `SerialPort` (the port accepted no data), `Remote` (a soft reset ended
    /// the command), `Closed` (this object was destroyed). \p timeout counts from when the link is
    /// free; its whole seconds are named in the error. \p stop ends a command that is queued, with
    /// `Canceled`, and interrupts one that is canceled while it runs: its result is then what the
    /// program printed. With \p whenBusy Interrupt, a program that Korvane did not send, such as
    /// one started at the Shell's prompt, is interrupted, and what it prints until then is in
    /// dataReceived.
    [[nodiscard]] Async<DeviceExecution> executeOnDeviceRaw(
        QString code, std::chrono::duration<double> timeout, CallStop stop = {},
        WhenBusy whenBusy = WhenBusy::KeepTrying);
    /// The same for a command of Korvane, which reads no input, yielding the output alone; a
    /// traceback is an error of code `Remote`.
    [[nodiscard]] Async<QString> executeOnDevice(QString code,
                                                 std::chrono::duration<double> timeout,
                                                 WhenBusy whenBusy = WhenBusy::KeepTrying);

    /// As executeOnDevice, for one of several commands that follow each other: the board is left in
    /// the raw REPL for a moment, so that the next command of this kind needs no handshake.
    [[nodiscard]] Async<QString> executeInSequence(QString code,
                                                   std::chrono::duration<double> timeout);
    /// Writes what the user typed for the program or the prompt of the board, unchanged and at
    /// once. During a command of a sequence it is kept, and written before the next one. A board
    /// that a sequence has left in the raw REPL is first returned to its friendly prompt. Kept
    /// input is dropped, with a line in the Shell, when the link is taken by force, the board is
    /// reset or accepts no data, or the connection ends.
    void writeInput(const QByteArray &bytes);

    /// Changes whenever a connection begins or ends: equal numbers mean the same connection.
    [[nodiscard]] int connectionNumber() const { return m_connectionNumber; }
    /// Whether the connected board offers raw-paste mode, as far as it is known. For callers that
    /// send programs.
    [[nodiscard]] RawPaste::Support &rawPaste() { return m_rawPaste; }
    /// Identifies the board, also after reconnecting: the USB serial number of the connected port,
    /// or the port's path and the board's unique id, or the path alone for a board without one. The
    /// id is read once for each connection. Errors: those of executeOnDevice.
    [[nodiscard]] Async<QString> boardIdentity();

signals:
    void connectionStateChanged();
    void availablePortsChanged();
    void deviceCommandInFlightChanged();
    /// Reading a new connection starts: incomplete data of the previous one must be dropped.
    void readerStarting();
    /// A command has ended and left the raw REPL: the board sends its banner next.
    void rawReplLeft();
    /// A soft reset was sent: the restart follows.
    void softResetStarted();
    /// Bytes that belong to no command.
    void dataReceived(const QByteArray &chunk);
    /// The last step of connecting.
    void connected();
    /// The first step of losing the board: no more bytes will arrive.
    void lost();
    /// The connection has ended, by the user or by a loss; connectionState() is `Disconnected`
    /// already.
    void ended();

private:
    void startDeviceReader();
    void handleWriteFailure(const Error &error);
    void handleDeviceLost();
    void endLink(const QString &notice);
    void setInFlight(bool isInFlight);
    void leaveRawRepl();
    void sendInput();
    void dropInput();
    void releaseCommand(const RawReplExchange *command);
    void dropWaiting(RawReplExchange *command);
    [[nodiscard]] Async<DeviceExecution> execute(std::unique_ptr<RawReplExchange> exchange,
                                                 CallStop stop);
    void endCommands();

    ShellSink &m_shell;
    SerialPortManager::Roots m_roots;
    PortWatcher m_portWatcher;
    DeviceLinkClient *m_client = nullptr;
    std::function<int(const QString &)> m_baudRateOf;
    SerialPortManager m_serial;
    DeviceConnectionState m_connectionState = DeviceConnectionState::disconnected();
    QStringList m_availablePorts;
    bool m_deviceCommandInFlight = false;
    int m_connectionNumber = 0;
    RawPaste::Support m_rawPaste = RawPaste::Support::Unknown;
    QString m_boardIdentity; // of the connected board, once it is known
    /// All commands whose result hasn't been taken: queued, on the board, without the link, ended.
    std::list<std::unique_ptr<RawReplExchange>> m_commands;
    /// Those that are queued for the link, in the order of the calls.
    std::deque<RawReplExchange *> m_waiting;
    /// The command that uses the link; null when the link is free or something else uses it.
    RawReplExchange *m_current = nullptr;
    /// Active while a sequence of commands has left the board in the raw REPL.
    QTimer m_rawReplTimer;
    QByteArray m_input; // typed, and not written yet
    /// Input was written, and the board has not entered the raw REPL since: what it prints is
    /// shown.
    bool m_isInputSent = false;
    std::unique_ptr<SoftReset> m_softReset;
    Lifetime m_life;
};

} // namespace Korvane
