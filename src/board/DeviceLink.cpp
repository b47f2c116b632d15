#include "board/DeviceLink.h"

#include "base/ShellSink.h"
#include "board/BoardScripts.h"
#include "board/DeviceError.h"
#include "board/RawReplExchange.h"
#include "board/SoftReset.h"

#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr int defaultBaudRate = 115200;
constexpr auto identityTimeout = 5s;
/// How long the board is left in the raw REPL for the next command of a sequence.
constexpr auto longestPause = 100ms;

/// A traceback is an error.
Result<QString> outputOf(Result<DeviceExecution> execution)
{
    if (!execution)
        return execution.error();
    if (!execution->stderr.isEmpty())
        return DeviceError::remote(execution->stderr);
    return std::move(execution->stdout);
}

} // namespace

DeviceLink::DeviceLink(ShellSink &shell, SerialPortManager::Roots roots, QObject *parent)
    : QObject(parent)
    , m_shell(shell)
    , m_roots(std::move(roots))
    , m_portWatcher(m_roots)
{
    connect(&m_portWatcher, &PortWatcher::changed, this, &DeviceLink::refreshPorts);
    connect(&m_serial, &SerialPortManager::writeFailed, this, &DeviceLink::handleWriteFailure);
    m_rawReplTimer.setSingleShot(true);
    m_rawReplTimer.setInterval(longestPause);
    connect(&m_rawReplTimer, &QTimer::timeout, this, &DeviceLink::leaveRawRepl);
}

DeviceLink::~DeviceLink()
{
    // No callback may be called for a command that has been destroyed.
    m_serial.close();
    m_serial.setDataInterceptor({});
}

void DeviceLink::setDeviceCommandInFlight(bool isInFlight)
{
    if (isInFlight)
        dropInput(); // typed for the prompt, not for the program that is to be sent
    if (m_current) {
        std::exchange(m_current, nullptr)->leaveLink();
        m_serial.discardPendingOutput();
        m_serial.setDataInterceptor({});
    }
    m_rawReplTimer.stop(); // what uses the link next begins with Ctrl-A or Ctrl-B
    m_isInputSent = false;
    if (m_softReset)
        m_softReset->abort(DeviceError::programRunning());
    setInFlight(isInFlight);
}

void DeviceLink::setInFlight(bool isInFlight)
{
    if (std::exchange(m_deviceCommandInFlight, isInFlight) == isInFlight)
        return;
    // From the event loop: the code that frees the link may still be using it.
    if (!isInFlight)
        QMetaObject::invokeMethod(this, &DeviceLink::startNextCommand, Qt::QueuedConnection);
    emit deviceCommandInFlightChanged();
}

void DeviceLink::startNextCommand()
{
    if (m_waiting.empty() || m_deviceCommandInFlight || m_client->deviceProgramRunning()
        || m_client->isReplyEnding())
        return;
    m_current = m_waiting.front();
    m_waiting.pop_front();
    setInFlight(true);
    const bool isInRawRepl = m_rawReplTimer.isActive();
    m_rawReplTimer.stop();
    if (m_isInputSent)
        m_current->setShowsOldOutput();
    m_current->start(isInRawRepl ? RawReplExchange::Prompt::Raw
                                 : RawReplExchange::Prompt::Friendly);
}

void DeviceLink::addExtraPort(const QString &port)
{
    if (!m_roots.extraPorts.split(u':').contains(port))
        m_roots.extraPorts += u':' + port;
    refreshPorts();
}

void DeviceLink::removeExtraPort(const QString &port)
{
    QStringList ports = m_roots.extraPorts.split(u':');
    ports.removeAll(port);
    m_roots.extraPorts = ports.join(u':');
    refreshPorts();
}

void DeviceLink::refreshPorts()
{
    QStringList ports = SerialPortManager::listPorts(m_roots);
    if (ports == m_availablePorts)
        return;
    m_availablePorts = std::move(ports);
    emit availablePortsChanged();
}

Result<void> DeviceLink::connectDevice(const QString &port)
{
    if (m_connectionState != DeviceConnectionState::disconnected())
        return DeviceError::canceled();
    m_connectionState = DeviceConnectionState::connecting();
    emit connectionStateChanged();
    const int baudRate = m_baudRateOf ? m_baudRateOf(port) : defaultBaudRate;
    if (const auto opened = m_serial.open(port, baudRate, m_roots); !opened) {
        m_connectionState = DeviceConnectionState::disconnected();
        emit connectionStateChanged();
        return DeviceError::notOpened(opened.error());
    }
    m_connectionState = DeviceConnectionState::connected(port);
    ++m_connectionNumber;
    m_rawPaste = RawPaste::Support::Unknown;
    startDeviceReader();
    m_shell.appendInfo(QStringLiteral("Connected to ") + port);
    // Interrupts what the board is running. The signals follow: a command that a slot sends must
    // reach the board after this.
    m_serial.write("\x03\x03");
    emit connectionStateChanged();
    emit connected();
    return {};
}

void DeviceLink::disconnectDevice()
{
    m_serial.close();
    endLink(QStringLiteral("Disconnected."));
}

Async<void> DeviceLink::softReset()
{
    if (!m_connectionState.isConnected())
        co_return DeviceError::notConnected();
    dropInput();
    if (m_current)
        m_current->abort(DeviceError::boardReset());
    if (m_deviceCommandInFlight || m_softReset)
        co_return DeviceError::programRunning();
    const auto life = m_life.watch();
    m_rawReplTimer.stop(); // a reset begins with Ctrl-B
    setInFlight(true);
    m_softReset = std::make_unique<SoftReset>(
        m_serial, [this](const QByteArray &chunk) { emit dataReceived(chunk); });
    connect(m_softReset.get(), &SoftReset::finished, this, [this] { setInFlight(false); });
    m_softReset->start();
    m_shell.appendInfo(QStringLiteral("↻ Soft reset."));
    emit softResetStarted();
    const auto result = co_await m_softReset->result();
    if (!result || !life)
        co_return DeviceError::closed();
    m_softReset.reset();
    co_return *result;
}

void DeviceLink::startDeviceReader()
{
    emit readerStarting();
    m_serial.startReading([this](const QByteArray &chunk) { emit dataReceived(chunk); },
                          [this] { handleDeviceLost(); });
}

void DeviceLink::handleWriteFailure(const Error &error)
{
    dropInput();
    if (m_current)
        m_current->abort(error); // writes nothing more to a board that accepts nothing
    else
        m_shell.appendError(error.message);
}

void DeviceLink::handleDeviceLost()
{
    emit lost();
    endLink(QStringLiteral("Device disconnected."));
}

void DeviceLink::endLink(const QString &notice)
{
    m_connectionState = DeviceConnectionState::disconnected();
    ++m_connectionNumber;
    m_boardIdentity.clear();
    m_rawReplTimer.stop();
    dropInput();
    m_isInputSent = false;
    endCommands();
    emit ended();
    m_shell.appendInfo(notice);
    emit connectionStateChanged();
}

void DeviceLink::endCommands()
{
    m_waiting.clear();
    for (const auto &command : m_commands) {
        command->abort(command->isStarted() ? DeviceError::connectionLost()
                                            : DeviceError::notConnected());
    }
    if (m_softReset && !m_softReset->isDone()) {
        m_softReset->abort(DeviceError::connectionLost());
        m_serial.setDataInterceptor({});
        setInFlight(false);
    }
}

Async<DeviceExecution> DeviceLink::executeOnDeviceRaw(QString code,
                                                      std::chrono::duration<double> timeout,
                                                      CallStop stop, WhenBusy whenBusy)
{
    auto exchange =
        std::make_unique<RawReplExchange>(m_serial, m_rawPaste, code, timeout, whenBusy);
    // Uses no member after the wait, so that the lifetime need not be tested.
    co_return co_await execute(std::move(exchange), std::move(stop));
}

Async<DeviceExecution> DeviceLink::execute(std::unique_ptr<RawReplExchange> exchange, CallStop stop)
{
    if (!m_connectionState.isConnected())
        co_return DeviceError::notConnected();
    if (m_client->deviceProgramRunning()) {
        co_return m_client->isPausedAtBreakpoint() ? DeviceError::pausedAtBreakpoint()
                                                   : DeviceError::programRunning();
    }
    const auto life = m_life.watch();
    const auto position = m_commands.insert(m_commands.end(), std::move(exchange));
    RawReplExchange *command = position->get();
    connect(command, &RawReplExchange::finished, this,
            [this, command] { releaseCommand(command); });
    connect(command, &RawReplExchange::oldOutputReceived, this, &DeviceLink::dataReceived);
    m_waiting.push_back(command);
    startNextCommand();
    const std::stop_callback dropping(stop.unwanted, [this, command] { dropWaiting(command); });
    const std::stop_callback interrupting(stop.canceled, [command] { command->interrupt(); });
    std::optional<Result<DeviceExecution>> result = co_await command->result();
    if (!result || !life)
        co_return DeviceError::closed();
    m_commands.erase(position);
    co_return *std::move(result);
}

Async<QString> DeviceLink::executeOnDevice(QString code, std::chrono::duration<double> timeout,
                                           WhenBusy whenBusy)
{
    CallStop stop; // named: GCC 12 mishandles temporaries in a co_await expression
    auto result = co_await executeOnDeviceRaw(std::move(code), timeout, std::move(stop), whenBusy);
    co_return outputOf(std::move(result));
}

Async<QString> DeviceLink::executeInSequence(QString code, std::chrono::duration<double> timeout)
{
    auto exchange = std::make_unique<RawReplExchange>(m_serial, m_rawPaste, code, timeout,
                                                      WhenBusy::KeepTrying);
    exchange->setPromptAfterReply(RawReplExchange::Prompt::Raw);
    CallStop stop; // named, as above
    auto result = co_await execute(std::move(exchange), std::move(stop));
    co_return outputOf(std::move(result));
}

void DeviceLink::writeInput(const QByteArray &bytes)
{
    m_input += bytes;
    sendInput();
}

/// Does nothing during a command of a sequence: the board would take the input for a part of it.
void DeviceLink::sendInput()
{
    if (m_input.isEmpty() || (m_current && m_current->isInSequence()))
        return;
    if (m_rawReplTimer.isActive()) {
        m_rawReplTimer.stop();
        leaveRawRepl();
    }
    if (!m_current && !m_client->deviceProgramRunning())
        m_isInputSent = true;
    m_serial.write(std::exchange(m_input, {}));
}

bool DeviceLink::isOutputShown() const
{
    return !m_deviceCommandInFlight || (m_isInputSent && m_current && !m_current->hasEntered());
}

void DeviceLink::dropInput()
{
    if (!std::exchange(m_input, {}).isEmpty())
        m_shell.appendInfo(QStringLiteral("The last input was not sent to the board."));
}

Async<QString> DeviceLink::boardIdentity()
{
    if (!m_connectionState.isConnected())
        co_return DeviceError::notConnected();
    const QString port = m_connectionState.port();
    if (m_boardIdentity.isEmpty())
        m_boardIdentity = SerialPortManager::serialNumber(port, m_roots);
    if (!m_boardIdentity.isEmpty())
        co_return QString(m_boardIdentity); // GCC 12 moves a member in co_return
    const auto life = m_life.watch();
    const int connection = m_connectionNumber;
    const auto output = co_await executeOnDevice(BoardScripts::identity(), identityTimeout);
    if (!life)
        co_return DeviceError::closed();
    if (!output && output.error().code != ErrorCode::Remote)
        co_return output.error();
    const QString id = output ? output->section(QStringLiteral("__ID__"), 1).trimmed() : QString();
    const QString identity = id.isEmpty() ? port : port + u' ' + id;
    if (connection == m_connectionNumber)
        m_boardIdentity = identity;
    co_return identity;
}

void DeviceLink::dropWaiting(RawReplExchange *command)
{
    if (std::erase(m_waiting, command) > 0)
        command->abort(DeviceError::canceled());
}

/// Does nothing for a command that has lost the link.
void DeviceLink::releaseCommand(const RawReplExchange *command)
{
    if (m_current != command)
        return;
    m_current = nullptr;
    if (command->hasEntered())
        m_isInputSent = false;
    if (command->isInRawRepl())
        m_rawReplTimer.start();
    else
        emit rawReplLeft();
    setInFlight(false);
    sendInput();
}

void DeviceLink::leaveRawRepl()
{
    m_serial.write("\x02");
    emit rawReplLeft();
}

} // namespace Korvane
