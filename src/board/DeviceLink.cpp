#include "board/DeviceLink.h"

#include "base/ShellSink.h"
#include "board/DeviceError.h"
#include "board/RawReplExchange.h"

#include <QLoggingCategory>

#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(deviceLog, "korvane.device")

namespace {

constexpr int baudRate = 115200;
constexpr auto busyPollInterval = 50ms;

Error closedError()
{
    return {ErrorCode::Closed, QStringLiteral("The link to the board has gone")};
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
}

DeviceLink::~DeviceLink()
{
    // The commands' callbacks must not find their commands gone.
    m_serial.close();
    m_serial.setDataInterceptor({});
}

void DeviceLink::setDeviceCommandInFlight(bool isInFlight)
{
    cutOffCommand();
    m_lineOwner = nullptr;
    if (std::exchange(m_deviceCommandInFlight, isInFlight) != isInFlight)
        emit deviceCommandInFlightChanged();
}

void DeviceLink::refreshPorts()
{
    QStringList ports = SerialPortManager::listPorts(m_roots);
    if (ports == m_availablePorts)
        return;
    m_availablePorts = std::move(ports);
    emit availablePortsChanged();
}

void DeviceLink::connectDevice(const QString &port)
{
    if (m_connectionState != DeviceConnectionState::disconnected()) {
        qCWarning(deviceLog) << "connecting while the link is in use";
        return;
    }
    m_connectionState = DeviceConnectionState::connecting();
    emit connectionStateChanged();
    if (const auto opened = m_serial.open(port, baudRate, m_roots); !opened) {
        m_connectionState = DeviceConnectionState::disconnected();
        m_shell.appendError(QStringLiteral("Connection failed: ") + opened.error().message);
        emit connectionStateChanged();
        return;
    }
    m_connectionState = DeviceConnectionState::connected(port);
    startDeviceReader();
    m_shell.appendInfo(QStringLiteral("Connected to ") + port);
    // Whatever the board is running must give way to the prompt. Told to nobody before: a command
    // of theirs would reach the board ahead of it.
    m_serial.write("\x03\x03");
    emit connectionStateChanged();
    m_client->deviceConnected();
}

void DeviceLink::disconnectDevice()
{
    m_serial.close();
    endLink(QStringLiteral("Disconnected."));
}

void DeviceLink::softReset()
{
    if (!m_connectionState.isConnected())
        return;
    m_serial.write("\x04");
    m_shell.appendInfo(QStringLiteral("↻ Soft reset."));
}

void DeviceLink::startDeviceReader()
{
    // A command of the connection before waits for its time-out still. What comes now is not for
    // it, and its Ctrl-A, program and Ctrl-B are not for this board.
    cutOffCommand();
    m_client->deviceReaderStarting();
    m_serial.startReading([this](const QByteArray &chunk) { m_client->handleDeviceData(chunk); },
                          [this] { handleDeviceLost(); });
}

void DeviceLink::handleWriteFailure(const Error &error)
{
    RawReplExchange *command = m_lineOwner;
    if (!command) {
        m_shell.appendError(error.message);
        return;
    }
    // It writes nothing more to a board that accepts nothing.
    cutOffCommand();
    command->fail(error);
}

void DeviceLink::handleDeviceLost()
{
    m_client->flushDeviceStream();
    endLink(QStringLiteral("Device disconnected."));
}

void DeviceLink::endLink(const QString &notice)
{
    m_connectionState = DeviceConnectionState::disconnected();
    m_client->deviceLinkEnded();
    m_shell.appendInfo(notice);
    emit connectionStateChanged();
}

QCoro::Task<Result<DeviceExecution>> DeviceLink::executeOnDeviceRaw(
    QString code, std::chrono::duration<double> timeout)
{
    const auto life = m_life.watch();
    if (!m_connectionState.isConnected())
        co_return DeviceError::notConnected();
    if (m_client->deviceProgramRunning()) {
        co_return m_client->isPausedAtBreakpoint() ? DeviceError::pausedAtBreakpoint()
                                                   : DeviceError::programRunning();
    }
    // A program that was started while this waited has the line as much as a command would: taking
    // it now would swallow what the program prints, and its end.
    while (m_deviceCommandInFlight || m_client->deviceProgramRunning()) {
        const bool elapsed = co_await m_delay.sleep(busyPollInterval);
        if (!elapsed || !life)
            co_return closedError();
        if (!m_connectionState.isConnected())
            co_return DeviceError::notConnected();
    }

    const auto position = m_exchanges.insert(
        m_exchanges.end(), std::make_unique<RawReplExchange>(m_serial, code, timeout));
    RawReplExchange *exchange = position->get();
    takeLine(exchange);
    exchange->start();
    std::optional<Result<DeviceExecution>> result = co_await exchange->result();
    if (!result || !life)
        co_return closedError();

    const bool hadLine = m_lineOwner == exchange;
    if (hadLine)
        m_lineOwner = nullptr;
    m_exchanges.erase(position);
    if (hadLine)
        setDeviceCommandInFlight(false);
    co_return *std::move(result);
}

QCoro::Task<Result<QString>> DeviceLink::executeOnDevice(QString code,
                                                         std::chrono::duration<double> timeout)
{
    // Touches nothing of this object after the wait, so it need not ask whether it still lives.
    auto result = co_await executeOnDeviceRaw(std::move(code), timeout);
    if (!result)
        co_return result.error();
    if (!result->stderr.isEmpty())
        co_return DeviceError::remote(result->stderr);
    co_return std::move(result->stdout);
}

void DeviceLink::cutOffCommand()
{
    if (!m_lineOwner)
        return;
    m_lineOwner->leaveLine();
    m_serial.discardPendingOutput();
    m_serial.setDataInterceptor({});
}

void DeviceLink::takeLine(RawReplExchange *owner)
{
    m_lineOwner = owner;
    m_deviceCommandInFlight = true;
    emit deviceCommandInFlightChanged();
}

} // namespace Korvane
