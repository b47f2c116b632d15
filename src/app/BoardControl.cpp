#include "app/BoardControl.h"

#include "app/ErrorReporter.h"
#include "app/PortAdvice.h"
#include "app/Preferences.h"
#include "app/VirtualBoardProcess.h"
#include "base/DisplayPath.h"
#include "base/PythonResource.h"
#include "base/ShellSink.h"
#include "board/DeviceError.h"
#include "board/DeviceLink.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>

#include <chrono>
#include <utility>

#include <unistd.h>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr auto commandTimeout = 10s;
// udev sets the owner and the mode of a port after it has appeared.
constexpr auto retryInterval = 300ms;
constexpr int mostAttempts = 10;
// In milliseconds. The clock is set again when the command had to wait longer for the link.
constexpr qint64 longestClockDelay = 1'000;
constexpr int mostClockAttempts = 3;

QString clockScript(const QDateTime &time)
{
    return QStringLiteral("import machine\nmachine.RTC().datetime((%1,%2,%3,%4,%5,%6,%7,0))")
        .arg(time.date().year())
        .arg(time.date().month())
        .arg(time.date().day())
        .arg(time.date().dayOfWeek() - 1)
        .arg(time.time().hour())
        .arg(time.time().minute())
        .arg(time.time().second());
}

QString size(const QString &bytes)
{
    bool isNumber = false;
    const qint64 number = bytes.toLongLong(&isNumber);
    return isNumber ? displaySize(number) : QString();
}

} // namespace

BoardControl::BoardControl(DeviceLink &link, ErrorReporter &errors, ShellSink &shell,
                           const Preferences &preferences, QString virtualBoardFolder,
                           QObject *parent)
    : QObject(parent)
    , m_link(link)
    , m_errors(errors)
    , m_shell(shell)
    , m_preferences(preferences)
    , m_virtualBoardFolder(std::move(virtualBoardFolder))
{
    m_reconnectTimer.setSingleShot(true);
    m_reconnectTimer.setInterval(retryInterval);
    connect(&m_reconnectTimer, &QTimer::timeout, this, &BoardControl::reconnect);
    connect(&link, &DeviceLink::connected, this, [this] {
        m_reconnectTimer.stop();
        m_isLost = false;
        m_port = m_link.connectionState().port();
        m_identity = m_link.portIdentity(m_port);
    });
    // Another start of the virtual board has another port.
    connect(&link, &DeviceLink::lost, this, [this] { m_isLost = m_port != m_virtualPort; });
    connect(&link, &DeviceLink::availablePortsChanged, this, [this] {
        m_attempts = 0;
        reconnect();
    });
}

BoardControl::~BoardControl() = default;

void BoardControl::connectTo(const QString &port)
{
    m_isLost = false; // the user has chosen
    m_reconnectTimer.stop();
    const Result<void> connected = m_link.connectDevice(port);
    if (connected)
        return;
    m_errors.report(connected.error());
    advise(connected.error(), port);
}

void BoardControl::connectToVirtualBoard()
{
    if (!m_virtualBoard) {
        m_virtualBoard = std::make_unique<VirtualBoardProcess>(m_virtualBoardFolder);
        connect(m_virtualBoard.get(), &VirtualBoardProcess::started, this,
                [this](const QString &port) {
                    m_virtualPort = port;
                    m_link.addExtraPort(port);
                    connectTo(port);
                });
        connect(m_virtualBoard.get(), &VirtualBoardProcess::ended, this,
                [this](const QString &port) { m_link.removeExtraPort(port); });
        connect(m_virtualBoard.get(), &VirtualBoardProcess::startFailed, this,
                [this](const Error &error) { m_errors.report(error); });
    }
    if (!m_virtualBoard->isRunning())
        m_shell.appendInfo(QStringLiteral("Starting the virtual board…"));
    m_virtualBoard->start();
}

QCoro::Task<void> BoardControl::advise(Error error, QString port)
{
    const auto life = m_life.watch();
    std::function<QStringList()> work = [error, port] { return PortAdvice::lines(error, port); };
    const auto lines = co_await m_background.run(std::move(work));
    if (!lines || !life)
        co_return;
    for (const QString &line : *lines)
        m_shell.appendInfo(line);
}

QString BoardControl::nameOf(const QString &port) const
{
    if (m_virtualBoard && m_virtualBoard->port() == port)
        return QStringLiteral("Virtual board");
    const SerialPortManager::Identity identity = m_link.portIdentity(port);
    const QString name = identity.product.isEmpty() ? identity.manufacturer : identity.product;
    return name.isEmpty() ? port : name + QStringLiteral(", ") + QFileInfo(port).fileName();
}

/// Connects the board that was lost, when it is plugged in. Its port may be another one now: the
/// kernel numbers ports as they appear.
void BoardControl::reconnect()
{
    if (!m_isLost || m_link.connectionState() != DeviceConnectionState::disconnected()
        || !m_preferences.flag(Preferences::ReconnectBoards))
        return;
    QStringList ports = m_link.availablePorts();
    // Two ports of one board have the same identity.
    if (ports.removeOne(m_port))
        ports.prepend(m_port);
    for (const QString &port : std::as_const(ports)) {
        if (m_identity.serialNumber.isEmpty() && port != m_port)
            continue;
        if (m_link.portIdentity(port) != m_identity)
            continue;
        const bool isUsable = ::access(QFile::encodeName(port).constData(), R_OK | W_OK) == 0;
        if (isUsable && m_link.connectDevice(port))
            return;
        if (++m_attempts < mostAttempts)
            m_reconnectTimer.start();
        return;
    }
}

void BoardControl::interrupt()
{
    if (m_link.connectionState().isConnected())
        m_link.serial().writeUrgent("\x03");
    else
        m_errors.report(DeviceError::notConnected());
}

QCoro::Task<void> BoardControl::softReset()
{
    return m_errors.reportFailureOf(m_link.softReset());
}

void BoardControl::reportFailure(const QString &what, Error error)
{
    if (!error.message.isEmpty())
        error.message.prepend(what);
    m_errors.report(error);
}

QCoro::Task<void> BoardControl::showDetails()
{
    const auto life = m_life.watch();
    const QString script = pythonResource(QLatin1StringView("app/board-details.py"));
    const auto output = co_await m_link.executeOnDevice(script, commandTimeout);
    if (!life)
        co_return;
    if (!output) {
        reportFailure(QStringLiteral("Could not read the board’s details: "), output.error());
        co_return;
    }
    const QStringList lines =
        output->section(QStringLiteral("__BOARD__"), 1).remove(u'\r').split(u'\n').mid(1);
    QStringList details{nameOf(m_link.connectionState().port())};
    for (const QString &text : lines.mid(0, 2)) {
        if (!text.isEmpty())
            details << text;
    }
    if (const QString memory = size(lines.value(2)); !memory.isEmpty())
        details << QStringLiteral("%1 of memory free").arg(memory);
    if (const QString flash = size(lines.value(3)); !flash.isEmpty())
        details << QStringLiteral("%1 of flash free").arg(flash);
    m_shell.appendInfo(details.join(QStringLiteral(" — ")));
}

QCoro::Task<void> BoardControl::setClock()
{
    const auto life = m_life.watch();
    bool isLate = true;
    for (int attempt = 1; isLate; ++attempt) {
        QElapsedTimer elapsed;
        elapsed.start();
        const QDateTime time = QDateTime::currentDateTime();
        const QString script = clockScript(time);
        const auto done = co_await m_link.executeOnDevice(script, commandTimeout);
        if (!life)
            co_return;
        if (!done) {
            reportFailure(QStringLiteral("Could not set the board’s clock: "), done.error());
            co_return;
        }
        isLate = elapsed.elapsed() > longestClockDelay && attempt < mostClockAttempts;
        if (!isLate)
            m_shell.appendInfo(QStringLiteral("The board’s clock was set to %1.")
                                   .arg(time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))));
    }
}

} // namespace Korvane
