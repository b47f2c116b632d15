#include "serial/SerialPortManager.h"

#include "serial/PortWatcher.h"
#include "support/Files.h"
#include "support/PtyPair.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>

#include <cerrno>
#include <memory>
#include <thread>
#include <tuple>

using namespace Korvane;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int baudRate = 115200;

QByteArray pattern(qsizetype length)
{
    QByteArray bytes(length, Qt::Uninitialized);
    for (qsizetype i = 0; i < length; ++i)
        bytes[i] = static_cast<char>((i * 31 + i / 251) & 0xFF);
    return bytes;
}

Result<void> openPort(SerialPortManager &manager, const QString &path, const QString &ports)
{
    return manager.open(path, baudRate, {u"/nowhere"_s, u"/nowhere"_s, ports});
}

Result<void> openPort(SerialPortManager &manager, const PtyPair &pty)
{
    return openPort(manager, pty.slavePath(), pty.slavePath());
}

/// A manager that reads from a pty, and a record of what it delivered.
struct PortFixture
{
    PtyPair pty;
    std::unique_ptr<SerialPortManager> manager = std::make_unique<SerialPortManager>();
    QByteArray data;
    QByteArray intercepted;
    int losses = 0;
    QByteArray dataAtLoss;
    bool wasClosedAtLoss = false;

    bool start()
    {
        if (!openPort(*manager, pty))
            return false;
        manager->startReading([this](const QByteArray &chunk) { data += chunk; },
                              [this] {
                                  ++losses;
                                  dataAtLoss = data;
                                  wasClosedAtLoss = !manager->isOpen() && !manager->isReading();
                              });
        return manager->isReading();
    }

    /// Sends, and waits until the thread has read everything, without the event loop. The system
    /// passes bytes on with a delay, so they are all read when no more arrive for 50 ms.
    bool sendAndQueue(const QByteArray &bytes)
    {
        qsizetype sent = 0;
        for (int quietPolls = 0; quietPolls < 50; ++quietPolls) {
            sent += pty.write(QByteArrayView(bytes).sliced(sent));
            if (sent < bytes.size() || pty.unreadBytes() > 0)
                quietPolls = 0;
            std::this_thread::sleep_for(1ms);
        }
        return data.isEmpty();
    }
};

} // namespace

class tst_SerialPortManager final : public QObject
{
    Q_OBJECT

private slots:
    void opensThePortAsARawPipe()
    {
        const PtyPair pty;
        QVERIFY(pty.isValid());
        termios settings = pty.settings(); // what a port may have been left with
        settings.c_iflag |= INLCR | ICRNL | IXON | IXOFF | IXANY;
        settings.c_oflag |= OPOST | ONLCR;
        settings.c_lflag |= ICANON | ISIG | ECHO | ECHOE;
        settings.c_cflag |= CSTOPB | HUPCL;
        settings.c_cflag &= ~static_cast<tcflag_t>(CLOCAL);
        settings.c_cc[VMIN] = 1;
        settings.c_cc[VTIME] = 5;
        pty.setSettings(settings);
        SerialPortManager manager;
        QVERIFY(openPort(manager, pty));
        settings = pty.settings();
        QCOMPARE(settings.c_iflag & (INLCR | ICRNL | IXON | IXOFF | IXANY), 0u);
        QCOMPARE(settings.c_oflag & OPOST, 0u);
        QCOMPARE(settings.c_lflag & (ICANON | ISIG | ECHO | ECHOE), 0u);
        QCOMPARE(settings.c_cflag & (CSTOPB | PARENB | CSIZE | CREAD | CLOCAL),
                 tcflag_t(CS8 | CREAD | CLOCAL));
        QCOMPARE(::cfgetispeed(&settings), speed_t(B115200));
        QCOMPARE(settings.c_cc[VMIN] + settings.c_cc[VTIME], 0);
        QVERIFY2(::fcntl(manager.fileDescriptor(), F_GETFD) & FD_CLOEXEC, "children inherit it");
    }

    void reportsWhyAPortCannotBeOpened()
    {
        SerialPortManager manager;
        QVERIFY2(!manager.write("x"), "a closed port accepted bytes");
        manager.startReading({}, {});
        QVERIFY(!manager.isReading());
        const PtyPair pty;
        QVERIFY(openPort(manager, pty));
        const int descriptor = manager.fileDescriptor();

        const PtyPair terminal; // of another program
        const QTemporaryDir folder;
        const QString file = folder.filePath(u"file"_s);
        put(file, "text");
        for (const auto &[path, code, text] :
             {std::tuple{u"/no/such/port"_s, ENOENT, "No such file or directory"},
              {terminal.slavePath(), ENOTTY, "Not a serial port"},
              {u"/dev/tty"_s, ENOTTY, "Not a serial port"},
              {u"/dev/zero"_s, ENOTTY, "Not a serial port"}, // though it is named as a port
              {file, ENOTTY, "Not a serial port"}}) {
            const auto refused = openPort(manager, path, u"/dev/zero:"_s + file);
            QVERIFY2(!refused, qPrintable(path));
            QCOMPARE(refused.error().code, ErrorCode::SerialPort);
            QCOMPARE(refused.error().systemCode, code);
            QCOMPARE(refused.error().message, QString::fromLatin1(text));
            QCOMPARE(manager.fileDescriptor(), descriptor);
        }

        // Only one program can open the port, also again after the first has closed it.
        SerialPortManager other;
        for (int round = 0; round < 2; ++round) {
            const auto busy = openPort(other, pty);
            QVERIFY2(!busy, "two programs have one port");
            QCOMPARE(busy.error().systemCode, EBUSY);
            QCOMPARE(busy.error().message, u"Device or resource busy"_s);
            QVERIFY2(pty.isExclusive(), "programs that take no lock can open it");
            manager.close();
            manager.close();
            QVERIFY(!manager.isOpen());
            QVERIFY2(!pty.isExclusive(), "it is still closed to others");
            QVERIFY(openPort(manager, pty));
        }
    }

    void stopsReadingABoardThatSendsFasterThanItIsRead()
    {
        const QByteArray bytes = pattern(qsizetype(4) << 20);
        qsizetype sent = 0;
        PortFixture reading;
        QVERIFY(reading.start());
        const auto sendOn = [&] { sent += reading.pty.write(QByteArrayView(bytes).sliced(sent)); };
        // Nothing is delivered meanwhile.
        for (int quietPolls = 0; quietPolls < 200; ++quietPolls) {
            const qsizetype before = sent;
            sendOn();
            quietPolls = sent == before ? quietPolls : 0;
            std::this_thread::sleep_for(1ms);
        }
        QVERIFY2(sent < (qsizetype(3) << 19), qPrintable(QString::number(sent)));
        QTimer tick; // of the lowest priority: it must still fire during the flood
        connect(&tick, &QTimer::timeout, this, sendOn);
        tick.start(0);
        QTRY_COMPARE_WITH_TIMEOUT(reading.data.size(), bytes.size(), 30'000);
        QVERIFY2(reading.data == bytes, "bytes were damaged or out of order");
    }

    void allowsCallbacksToCloseAndRestart()
    {
        for (const bool isDeleted : {false, true}) {
            PortFixture reading;
            QVERIFY(reading.start());
            reading.manager->setDataInterceptor([&](const QByteArray &chunk) {
                reading.intercepted += chunk;
                if (isDeleted)
                    reading.manager.reset();
                else if (reading.manager->isOpen())
                    reading.manager->close();
            });
            const QByteArray sent = pattern(20'000);
            QVERIFY(reading.sendAndQueue(sent));
            reading.pty.closeMaster(); // this loss is queued too, and must not be reported
            QTRY_VERIFY(!reading.intercepted.isEmpty());
            QCoreApplication::processEvents();
            QVERIFY2(reading.intercepted.size() <= 4096, "delivered after the end");
            QVERIFY(!reading.manager || !reading.manager->isOpen());
            QCOMPARE(reading.losses, 0);
        }
    }

    void reportsTheLossOnceAfterAllData()
    {
        PortFixture reading;
        QVERIFY(reading.start());
        const QByteArray sent = pattern(50'000);
        QVERIFY(reading.sendAndQueue(sent));
        reading.pty.closeMaster();
        QTRY_COMPARE(reading.losses, 1);
        QVERIFY2(reading.dataAtLoss == sent,
                 qPrintable(QString::number(reading.dataAtLoss.size())));
        QVERIFY(reading.wasClosedAtLoss);
        QCoreApplication::processEvents();
        QCOMPARE(reading.losses, 1);
    }

    void writesWithoutWaitingForThePort()
    {
        PortFixture reading;
        QVERIFY(reading.start());
        // More than the pty accepts at once, and urgent items, which are written before `second`.
        const QByteArray first = pattern(200'000);
        const QByteArray second(100'000, 'b');
        for (const QByteArray &item : {first, second})
            QVERIFY(reading.manager->write(item));
        for (const char *item : {"\3", "\4"})
            QVERIFY(reading.manager->writeUrgent(item));
        QVERIFY(reading.manager->pendingBytes() > second.size());
        QByteArray received;
        QTRY_VERIFY(received.append(reading.pty.read()).size() == first.size() + second.size() + 2);
        QVERIFY2(received == first + "\3\4" + second, "out of order, or an item cut in two");
        QCOMPARE(reading.manager->pendingBytes(), 0);
        // Bytes that the port has accepted still arrive after close().
        const QByteArray last = pattern(8'000);
        QVERIFY(reading.manager->write(last));
        QTRY_COMPARE(reading.manager->pendingBytes(), 0);
        reading.manager->close();
        QCOMPARE(reading.pty.read(), last);
    }

    void reportsAPortThatAcceptsNothing()
    {
        PortFixture reading;
        QVERIFY(reading.start());
        reading.manager->setWriteDrainTimeout(500ms);
        QSignalSpy failed(reading.manager.get(), &SerialPortManager::writeFailed);
        QVERIFY(reading.manager->write(pattern(1 << 20)));
        // The write does not time out while the port accepts some bytes.
        QByteArray received;
        for (int round = 0; round < 5; ++round) {
            QTest::qWait(150);
            received += reading.pty.read();
        }
        QVERIFY(failed.isEmpty());
        QTRY_COMPARE(failed.size(), 1);
        QCOMPARE(failed[0][0].value<Error>().message,
                 u"The board has accepted no data for 0.5 s"_s);
        QCOMPARE(reading.manager->pendingBytes(), 0);
        QVERIFY(reading.manager->isOpen());
        received += reading.pty.read();
        QVERIFY(reading.manager->write("on"));
        QTRY_VERIFY(received.append(reading.pty.read()).endsWith("on"));
        QVERIFY2(received.size() < 1 << 20, "dropped bytes were written");
        QCOMPARE(failed.size(), 1);
    }

    void reportsPluggingAndUnplugging()
    {
        const QTemporaryDir folder;
        const QString extra = folder.filePath(u"extra/port"_s);
        const QString dev = folder.filePath(u"dev"_s);
        put(folder.filePath(u"extra/other"_s), {});
        QVERIFY(QDir().mkpath(dev));
        PortWatcher watcher({u"/nowhere"_s, dev, extra});
        QSignalSpy changed(&watcher, &PortWatcher::changed);
        for (const QString &port : {dev + u"/ttyACM0"_s, extra}) {
            put(port, {});
            put(port + u'1', {});
            QTRY_COMPARE(changed.size(), 1);
            QFile::remove(port);
            QTRY_COMPARE(changed.size(), 2);
            changed.clear();
        }
        put(folder.filePath(u"extra/other2"_s), {});
        QTest::qWait(200);
        QCOMPARE(changed.size(), 0);
    }

    void listsTheSerialDevicesOfTheSystem()
    {
        const QTemporaryDir folder;
        const QString root = folder.path() + u'/';
        const QString dev = root + u"dev"_s;
        SerialPortManager::Roots roots{root + u"sys"_s, dev, {}};
        QCOMPARE(SerialPortManager::listPorts(roots), QStringList());

        const auto add = [&](const QString &name, const QString &driver, const QByteArray &type) {
            const QString entry = root + u"sys/class/tty/"_s + name;
            const QString driverPath = root + u"sys/bus/drivers/"_s + driver;
            QVERIFY(QDir().mkpath(entry + u"/device"_s) && QDir().mkpath(driverPath));
            QVERIFY(driver.isEmpty() || QFile::link(driverPath, entry + u"/device/driver"_s));
            if (!type.isEmpty())
                put(entry + u"/type"_s, type + '\n');
            put(dev + u'/' + name, {});
        };
        QStringList expected{dev + u"/board"_s};
        put(expected.first(), {});
        for (const QString &name : {u"ttyUSB1"_s, u"ttyACM0"_s, u"ttyS3"_s, u"ttyS4"_s})
            expected << dev + u'/' + name;
        add(u"ttyUSB1"_s, u"ftdi_sio"_s, {});
        add(u"ttyACM0"_s, u"cdc_acm"_s, {});
        add(u"tty0"_s, {}, {});
        add(u"ttyS0"_s, u"serial8250"_s, "0"); // a placeholder of that driver
        add(u"ttyS1"_s, u"serial8250"_s, {});
        add(u"ttyS2"_s, u"port"_s, "0");
        add(u"ttyS3"_s, u"serial8250"_s, "4");
        add(u"ttyS4"_s, u"serial"_s, "4");
        add(u"removed"_s, u"cdc_acm"_s, {});
        QVERIFY(QFile::remove(dev + u"/removed"_s)); // it has no node
        // More ports, of which those that exist are offered, each once.
        roots.extraPorts =
            expected[0] + u':' + dev + u"/absent:"_s + expected[1] + u':' + expected[0];
        expected.sort();
        QCOMPARE(SerialPortManager::listPorts(roots), expected);

        // The number is the USB device's, which is some folders above that of the port.
        const QString usb = root + u"sys/devices/usb1/1-1"_s;
        QVERIFY(QDir().mkpath(usb + u"/1-1:1.0/ttyUSB9"_s)
                && QDir().mkpath(root + u"sys/class/tty/ttyUSB9"_s));
        QVERIFY(QFile::link(usb + u"/1-1:1.0/ttyUSB9"_s, root + u"sys/class/tty/ttyUSB9/device"_s));
        put(dev + u"/ttyUSB9"_s, {});
        put(usb + u"/idVendor"_s, "2e8a\n");
        put(usb + u"/serial"_s, "e6616408432f\n");
        QVERIFY(QFile::link(dev + u"/ttyUSB9"_s, dev + u"/by-id"_s));
        QCOMPARE(SerialPortManager::serialNumber(dev + u"/by-id"_s, roots), u"e6616408432f"_s);
        for (const QString &port : {dev + u"/ttyS4"_s, dev + u"/absent"_s, u"/dev/pts/0"_s})
            QCOMPARE(SerialPortManager::serialNumber(port, roots), QString());
    }

    void doesNotTreatAnEmptyReadAsALoss()
    {
        PortFixture fixture;
        QVERIFY(fixture.start());
        // Ctrl-D ends a file in this mode: poll() reports it, and a read returns 0 bytes.
        termios settings = fixture.pty.settings();
        settings.c_lflag |= ICANON;
        fixture.pty.setSettings(settings);
        fixture.pty.write("\x04");
        QTest::qWait(50);
        settings.c_lflag &= ~tcflag_t(ICANON);
        fixture.pty.setSettings(settings);
        fixture.pty.write("on");
        QTRY_COMPARE(fixture.data, "on");
        QCOMPARE(fixture.losses, 0);
    }
};

QTEST_GUILESS_MAIN(tst_SerialPortManager)
#include "tst_SerialPortManager.moc"
