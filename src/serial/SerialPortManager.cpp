#include "serial/SerialPortManager.h"

#include "serial/SerialReader.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

// How much is delivered before the rest of the program gets its turn.
constexpr qsizetype maxBatchBytes = qsizetype(256) << 10;
constexpr auto maxBatchTime = 5ms;
constexpr auto breath = 1ms;

/// The system's constant for a speed in baud; the number itself where it has none, which the
/// driver then refuses.
speed_t speedConstant(int baudRate)
{
    switch (baudRate) {
    case 9600:
        return B9600;
    case 19200:
        return B19200;
    case 38400:
        return B38400;
    case 57600:
        return B57600;
    case 115200:
        return B115200;
    case 230400:
        return B230400;
    case 460800:
        return B460800;
    case 921600:
        return B921600;
    default:
        return static_cast<speed_t>(baudRate);
    }
}

/// Failures are not reported: some drivers refuse single settings and work all the same.
void makeRaw(int descriptor, int baudRate)
{
    termios settings{};
    ::tcgetattr(descriptor, &settings);
    ::cfsetispeed(&settings, speedConstant(baudRate));
    ::cfsetospeed(&settings, speedConstant(baudRate));
    settings.c_cflag &= ~static_cast<tcflag_t>(PARENB | CSTOPB | CSIZE);
    settings.c_cflag |= CS8 | CREAD | CLOCAL;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ISIG | ECHO | ECHOE);
    settings.c_iflag &= ~static_cast<tcflag_t>(INLCR | ICRNL | IXON | IXOFF | IXANY);
    settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = 0;
    ::tcsetattr(descriptor, TCSANOW, &settings);
}

/// Whether a tty of sysfs stands for a port that exists: it has a driver, and is none of the
/// placeholders that the 8250 driver keeps for ports which the machine may not have.
bool isRealPort(const QString &ttyFolder)
{
    const QFileInfo driver(ttyFolder + QStringLiteral("/device/driver"));
    if (!driver.exists())
        return false;
    QFile typeFile(ttyFolder + QStringLiteral("/type"));
    if (typeFile.open(QIODevice::ReadOnly))
        return typeFile.readAll().trimmed() != "0"; // 0: no chip was found there
    return QFileInfo(driver.symLinkTarget()).fileName() != QLatin1String("serial8250");
}

} // namespace

SerialPortManager::SerialPortManager(QObject *parent)
    : QObject(parent)
{
    m_breather.setSingleShot(true);
    m_breather.setTimerType(Qt::PreciseTimer);
    connect(&m_breather, &QTimer::timeout, this, [this] {
        if (m_notifier)
            m_notifier->setEnabled(true);
        deliverWaiting();
    });
}

SerialPortManager::~SerialPortManager()
{
    close();
}

QStringList SerialPortManager::listPorts(const Roots &roots)
{
    QStringList ports;
    const QDir ttys(roots.sysfs + QStringLiteral("/class/tty"));
    for (const QString &entry : ttys.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        // sysfs writes "!" where the device's name has a slash.
        const QString device = roots.dev + u'/' + QString(entry).replace(u'!', u'/');
        if (isRealPort(ttys.filePath(entry)) && QFileInfo::exists(device))
            ports << device;
    }
    for (const QString &extra : roots.extraPorts.split(u':', Qt::SkipEmptyParts)) {
        if (QFileInfo::exists(extra))
            ports << extra;
    }
    ports.sort();
    ports.removeDuplicates();
    return ports;
}

Result<void> SerialPortManager::open(const QString &path, int baudRate)
{
    // Children must not inherit the port: a Python program left behind would keep it busy.
    FileDescriptor port(
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!port.isValid()) {
        const int code = errno;
        return Error{ErrorCode::SerialPort, QString::fromLocal8Bit(std::strerror(code)), {}, code};
    }
    makeRaw(port.get(), baudRate);
    close();
    m_port = std::move(port);
    return {};
}

void SerialPortManager::startReading(DataCallback onData, std::function<void()> onDisconnect)
{
    SerialReader::Chunks undelivered;
    if (const auto previous = std::exchange(m_reader, nullptr))
        undelivered = previous->stop();
    m_breather.stop();
    if (!isOpen())
        return;

    if (!m_wake.isValid()) {
        m_wake.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        if (m_wake.isValid()) {
            m_notifier = std::make_unique<QSocketNotifier>(m_wake.get(), QSocketNotifier::Read);
            connect(m_notifier.get(), &QSocketNotifier::activated, this,
                    [this] { deliverWaiting(); });
        }
    }
    if (m_notifier)
        m_notifier->setEnabled(true);
    m_onData = std::move(onData);
    m_onDisconnect = std::move(onDisconnect);
    m_reader = std::make_shared<SerialReader>(m_port.get(), m_wake.get(), std::move(undelivered));
    if (!m_reader->start())
        m_breather.start(0ms); // finds the port lost
}

bool SerialPortManager::write(QByteArrayView bytes)
{
    if (!isOpen())
        return false;
    while (!bytes.isEmpty()) {
        const ssize_t count =
            ::write(m_port.get(), bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (count > 0) {
            bytes = bytes.sliced(count);
            continue;
        }
        const bool mayGoOn = count < 0 && (errno == EAGAIN || errno == EINTR);
        if (!mayGoOn || !waitUntilWritable())
            return false;
    }
    return true;
}

void SerialPortManager::close()
{
    m_breather.stop();
    if (const auto reader = std::exchange(m_reader, nullptr))
        reader->stop();
    m_onData = {};
    m_onDisconnect = {};
    m_port.reset();
}

void SerialPortManager::setDataInterceptor(DataCallback interceptor)
{
    m_dataInterceptor = std::move(interceptor);
}

void SerialPortManager::deliverWaiting()
{
    const auto life = m_life.watch();
    const auto reader = m_reader; // lives until we are done, whatever the callbacks do
    if (!reader) {
        // The last words of a reader that was stopped.
        eventfd_t count = 0;
        ::eventfd_read(m_wake.get(), &count);
        return;
    }
    reader->acknowledge();

    const QDeadlineTimer batchEnd(maxBatchTime, Qt::PreciseTimer);
    qsizetype deliveredBytes = 0;
    for (QByteArray chunk = reader->takeChunk(); !chunk.isEmpty(); chunk = reader->takeChunk()) {
        deliver(chunk);
        if (!life || m_reader != reader)
            return;
        deliveredBytes += chunk.size();
        if (deliveredBytes >= maxBatchBytes || batchEnd.hasExpired()) {
            // A pause, rather than the next turn of the event loop at once: a descriptor that is
            // always readable would keep out whatever has a lower priority there.
            if (m_notifier)
                m_notifier->setEnabled(false);
            m_breather.start(breath);
            return;
        }
    }
    if (reader->isAtEnd())
        losePort();
}

void SerialPortManager::deliver(const QByteArray &chunk)
{
    // A copy, since the callback may replace or clear the very slot it was called from.
    const DataCallback receive = m_dataInterceptor ? m_dataInterceptor : m_onData;
    if (receive)
        receive(chunk);
}

void SerialPortManager::losePort()
{
    const auto onDisconnect = m_onDisconnect;
    close();
    if (onDisconnect)
        onDisconnect();
}

bool SerialPortManager::waitUntilWritable()
{
    const QDeadlineTimer deadline(m_writeDrainTimeout);
    pollfd wait{m_port.get(), POLLOUT, 0};
    while (true) {
        const int ready = ::poll(&wait, 1, static_cast<int>(deadline.remainingTime()));
        // A signal ends the poll, but says nothing about the port.
        if (ready < 0 && errno == EINTR && !deadline.hasExpired())
            continue;
        return ready > 0;
    }
}

} // namespace Korvane
