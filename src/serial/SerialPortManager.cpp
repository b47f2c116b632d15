#include "serial/SerialPortManager.h"

#include "base/SystemError.h"
#include "serial/SerialReader.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

// Limits of one batch of deliveries, and the pause after it for the other events of the program.
constexpr qsizetype maxBatchBytes = qsizetype(256) << 10;
constexpr auto maxBatchTime = 5ms;
constexpr auto batchPause = 1ms;

/// The termios constant for a speed in baud; for a speed without one the number itself, which
/// cfsetispeed() and cfsetospeed() refuse.
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

/// Failures are not reported: some drivers refuse single settings and work without them.
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

/// Makes this program the only user of the port; returns 0, or the errno of the failure. TIOCEXCL
/// keeps out later openers except those with CAP_SYS_ADMIN. The lock is the one that other serial
/// programs take; it finds a program that opened the port earlier.
int acquire(int descriptor)
{
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? EBUSY : errno;
    ::ioctl(descriptor, TIOCEXCL);
    return 0;
}

/// Undoes acquire(): its settings outlast the descriptor while another one of the same terminal is
/// open. Discards what the driver has not sent, since closing a port waits until that is sent or
/// for as long as the driver's limit, often 30 s.
void release(int descriptor)
{
    int unsentBytes = 0;
    // Not unconditionally: a pseudo-terminal would lose what it has already delivered.
    if (::ioctl(descriptor, TIOCOUTQ, &unsentBytes) == 0 && unsentBytes > 0)
        ::tcflush(descriptor, TCOFLUSH);
    ::ioctl(descriptor, TIOCNXCL);
    ::flock(descriptor, LOCK_UN);
}

Error openError(int code, const QString &text)
{
    return {ErrorCode::SerialPort, text, {}, code};
}

QString firstLine(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readLine()).trimmed()
                                          : QString();
}

/// The kernel's virtual consoles, of which there are more than 60.
bool isConsole(const QString &tty)
{
    const auto isDigit = [](QChar c) { return c.isDigit(); };
    return tty.startsWith(QLatin1String("tty")) && std::all_of(tty.begin() + 3, tty.end(), isDigit);
}

/// Whether a tty in sysfs is a port that exists: it has a driver, and is not one of the
/// placeholders that the 8250 driver registers for ports which the machine may not have.
bool isRealPort(const QString &ttyFolder)
{
    const QFileInfo driver(ttyFolder + QStringLiteral("/device/driver"));
    if (!driver.exists())
        return false;
    const QString type = firstLine(ttyFolder + QStringLiteral("/type"));
    if (!type.isEmpty())
        return type != u'0'; // 0: no chip was found there
    return QFileInfo(driver.symLinkTarget()).fileName() != QLatin1String("serial8250");
}

} // namespace

SerialPortManager::SerialPortManager(QObject *parent)
    : QObject(parent)
{
    connect(&m_writer, &SerialWriter::failed, this, &SerialPortManager::writeFailed);
    m_batchPause.setSingleShot(true);
    m_batchPause.setTimerType(Qt::PreciseTimer);
    connect(&m_batchPause, &QTimer::timeout, this, [this] {
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
    // Entries of all kinds: with QDir::Dirs alone, Qt would stat each of about 70 consoles.
    const auto all = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;
    for (const QString &entry : ttys.entryList(all, QDir::Unsorted)) {
        // sysfs writes "!" where the device's name has a slash.
        const QString device = roots.dev + u'/' + QString(entry).replace(u'!', u'/');
        if (!isConsole(entry) && isRealPort(ttys.filePath(entry)) && QFileInfo::exists(device))
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

bool SerialPortManager::isSerialPort(const QString &path, const Roots &roots)
{
    const QString device = QFileInfo(path).canonicalFilePath();
    const QStringList ports = listPorts(roots);
    return std::any_of(ports.begin(), ports.end(), [&](const QString &port) {
        return QFileInfo(port).canonicalFilePath() == device;
    });
}

QString SerialPortManager::serialNumber(const QString &port, const Roots &roots)
{
    return identity(port, roots).serialNumber;
}

SerialPortManager::Identity SerialPortManager::identity(const QString &port, const Roots &roots)
{
    const QString root = QFileInfo(roots.sysfs).canonicalFilePath();
    // The port may be a link such as those in /dev/serial/by-id.
    const QString device = QFileInfo(port).canonicalFilePath();
    const QString dev = QFileInfo(roots.dev).canonicalFilePath() + u'/';
    if (root.isEmpty() || !device.startsWith(dev))
        return {};
    const QString entry = device.mid(dev.size()).replace(u'/', u'!');
    // From the tty's device up to the USB device, which has the texts and `idVendor`.
    QDir folder(
        QFileInfo(roots.sysfs + QStringLiteral("/class/tty/") + entry + QStringLiteral("/device"))
            .canonicalFilePath());
    while (folder.path().startsWith(root + u'/')) {
        if (folder.exists(QStringLiteral("idVendor")))
            return {firstLine(folder.filePath(QStringLiteral("manufacturer"))),
                    firstLine(folder.filePath(QStringLiteral("product"))),
                    firstLine(folder.filePath(QStringLiteral("serial")))};
        folder.setPath(QFileInfo(folder.path()).path());
    }
    return {};
}

Result<void> SerialPortManager::open(const QString &path, int baudRate, const Roots &roots)
{
    const QString notASerialPort = QStringLiteral("Not a serial port");
    // Before opening: that alone has effects on some devices.
    if (QFileInfo::exists(path) && !isSerialPort(path, roots))
        return openError(ENOTTY, notASerialPort);
    // Children must not inherit the port: a Python program left behind would keep it busy.
    FileDescriptor port(
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!port.isValid()) {
        const int code = errno;
        return openError(code, systemErrorText(code));
    }
    if (::isatty(port.get()) == 0) // an extra port may be any file
        return openError(ENOTTY, notASerialPort);
    if (const int code = acquire(port.get()); code != 0)
        return openError(code, systemErrorText(code));
    makeRaw(port.get(), baudRate);
    close();
    m_port = std::move(port);
    m_writer.start(m_port.get());
    return {};
}

void SerialPortManager::startReading(DataCallback onData, std::function<void()> onDisconnect)
{
    SerialReader::Chunks undelivered;
    if (const auto previous = std::exchange(m_reader, nullptr))
        undelivered = previous->stop();
    m_batchPause.stop();
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
        m_batchPause.start(0ms); // deliverWaiting() then reports the port as lost
}

void SerialPortManager::close()
{
    m_batchPause.stop();
    if (const auto reader = std::exchange(m_reader, nullptr))
        reader->stop();
    m_onData = {};
    m_onDisconnect = {};
    if (!m_port.isValid())
        return;
    m_writer.stop();
    release(m_port.get());
    m_port.reset();
}

void SerialPortManager::setDataInterceptor(DataCallback interceptor)
{
    m_dataInterceptor = std::move(interceptor);
}

void SerialPortManager::deliverWaiting()
{
    const auto life = m_life.watch();
    const auto reader = m_reader; // a callback may replace or release m_reader
    if (!reader) {
        // Signaled by a reader that has been stopped since.
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
            // Reading pauses, because the event loop would otherwise never reach the events of
            // lower priority while the descriptor is readable.
            if (m_notifier)
                m_notifier->setEnabled(false);
            m_batchPause.start(batchPause);
            return;
        }
    }
    if (reader->isAtEnd())
        losePort();
}

void SerialPortManager::deliver(const QByteArray &chunk)
{
    // A copy: the callback may replace or clear the member that holds it.
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

} // namespace Korvane
