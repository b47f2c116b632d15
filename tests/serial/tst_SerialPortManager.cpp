#include "serial/SerialPortManager.h"

#include "serial/PortWatcher.h"
#include "support/Files.h"
#include "support/PtyPair.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>

#include <algorithm>
#include <array>
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

Result<void> openPort(SerialPortManager &manager, const PtyPair &line)
{
    return openPort(manager, line.slavePath(), line.slavePath());
}

/// A manager that reads from a pty, and what it has delivered.
struct Reading
{
    PtyPair line;
    std::unique_ptr<SerialPortManager> manager = std::make_unique<SerialPortManager>();
    QByteArray data;
    QByteArray intercepted;
    int losses = 0;
    QByteArray dataAtLoss;
    bool wasClosedAtLoss = false;

    bool start()
    {
        if (!openPort(*manager, line))
            return false;
        manager->startReading([this](const QByteArray &chunk) { data += chunk; },
                              [this] {
                                  ++losses;
                                  dataAtLoss = data;
                                  wasClosedAtLoss = !manager->isOpen() && !manager->isReading();
                              });
        return manager->isReading();
    }

    /// Until the thread has read everything, without letting it be delivered. The system passes
    /// bytes on in its own time, so nothing to read means the end only when it stays so.
    bool sendAndQueue(const QByteArray &bytes)
    {
        qsizetype sent = 0;
        for (int quietPolls = 0; quietPolls < 50; ++quietPolls) {
            sent += line.write(QByteArrayView(bytes).sliced(sent));
            if (sent < bytes.size() || line.unreadBytes() > 0)
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
        const PtyPair line;
        QVERIFY(line.isValid());
        {
            // What a port may have been left with.
            termios settings = line.settings();
            settings.c_iflag |= INLCR | ICRNL | IXON | IXOFF | IXANY | IGNCR | ISTRIP | BRKINT;
            settings.c_oflag |= OPOST | ONLCR;
            settings.c_lflag |= ICANON | ISIG | ECHO | ECHOE | IEXTEN | NOFLSH;
            settings.c_cflag |= CSTOPB | HUPCL | CRTSCTS;
            settings.c_cflag &= ~static_cast<tcflag_t>(CLOCAL);
            settings.c_cc[VMIN] = 1;
            settings.c_cc[VTIME] = 5;
            line.setSettings(settings);
        }
        const termios before = line.settings();
        SerialPortManager manager;
        QVERIFY(openPort(manager, line));

        const termios settings = line.settings();
        QCOMPARE(settings.c_iflag,
                 before.c_iflag & ~tcflag_t(INLCR | ICRNL | IXON | IXOFF | IXANY));
        QCOMPARE(settings.c_oflag, before.c_oflag & ~tcflag_t(OPOST));
        QCOMPARE(settings.c_lflag, before.c_lflag & ~tcflag_t(ICANON | ISIG | ECHO | ECHOE));
        QCOMPARE(settings.c_cflag & ~tcflag_t(CBAUD | CBAUDEX),
                 ((before.c_cflag & ~tcflag_t(CSTOPB | PARENB | CSIZE)) | CS8 | CREAD | CLOCAL)
                     & ~tcflag_t(CBAUD | CBAUDEX));
        QCOMPARE(::cfgetispeed(&settings), speed_t(B115200));
        QCOMPARE(::cfgetospeed(&settings), speed_t(B115200));
        QCOMPARE(settings.c_cc[VMIN], cc_t(0));
        QCOMPARE(settings.c_cc[VTIME], cc_t(0));
        QVERIFY(::fcntl(manager.fileDescriptor(), F_GETFL) & O_NONBLOCK);
        QVERIFY2(::fcntl(manager.fileDescriptor(), F_GETFD) & FD_CLOEXEC, "children inherit it");
    }

    void saysWhyAPortCannotBeOpened()
    {
        SerialPortManager manager;
        QVERIFY2(!manager.write("x"), "a closed port took bytes");
        manager.startReading({}, {});
        QVERIFY(!manager.isReading());
        const PtyPair line;
        QVERIFY(openPort(manager, line));
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

        // One program at a time, whichever was first; also again after the first has closed it.
        SerialPortManager other;
        for (int round = 0; round < 2; ++round) {
            const auto busy = openPort(other, line);
            QVERIFY2(!busy, "two programs have one port");
            QCOMPARE(busy.error().systemCode, EBUSY);
            QCOMPARE(busy.error().message, u"Device or resource busy"_s);
            QVERIFY2(line.isExclusive(), "programs that take no lock can open it");
            manager.close();
            manager.close();
            QVERIFY(!manager.isOpen());
            QVERIFY2(!line.isExclusive(), "it stays closed to others");
            QVERIFY(openPort(manager, line));
        }
    }

    void takesAReadOfNothingForNoLoss()
    {
        Reading reading;
        QVERIFY(reading.start());
        // Ctrl-D ends a file in this mode: poll() reports it, and a read returns 0 bytes.
        termios settings = reading.line.settings();
        settings.c_lflag |= ICANON;
        reading.line.setSettings(settings);
        reading.line.write("\x04");
        QTest::qWait(50);
        settings.c_lflag &= ~tcflag_t(ICANON);
        reading.line.setSettings(settings);
        reading.line.write("on");
        QTRY_COMPARE(reading.data, "on");
        QCOMPARE(reading.losses, 0);
    }

    void takesAFloodWithoutStarvingTheEventLoop()
    {
        const QByteArray bytes = pattern(qsizetype(4) << 20);
        qsizetype sent = 0;
        Reading reading;
        QVERIFY(reading.start());
        const auto sendOn = [&] { sent += reading.line.write(QByteArrayView(bytes).sliced(sent)); };
        // Nothing is delivered meanwhile: when the queue is full, the board has to wait.
        for (int quietPolls = 0; quietPolls < 200; ++quietPolls) {
            const qsizetype before = sent;
            sendOn();
            quietPolls = sent == before ? quietPolls : 0;
            std::this_thread::sleep_for(1ms);
        }
        QVERIFY2(sent < (qsizetype(3) << 19), qPrintable(QString::number(sent)));

        // The busiest of listeners: it posts an event per chunk, as a text view may.
        qsizetype sinceTick = 0;
        qsizetype mostBetweenTicks = 0;
        qsizetype largestChunk = 0;
        reading.manager->setDataInterceptor([&](const QByteArray &chunk) {
            reading.data += chunk;
            largestChunk = std::max(largestChunk, chunk.size());
            mostBetweenTicks = std::max(mostBetweenTicks, sinceTick += chunk.size());
            QMetaObject::invokeMethod(
                this, [] {}, Qt::QueuedConnection);
        });
        QTimer tick; // of the lowest priority that the event loop knows
        connect(&tick, &QTimer::timeout, this, [&] {
            sinceTick = 0;
            sendOn();
        });
        tick.start(0);
        QTRY_COMPARE_WITH_TIMEOUT(reading.data.size(), bytes.size(), 30'000);
        QVERIFY2(reading.data == bytes, "bytes were damaged or out of order");
        QVERIFY(largestChunk <= 4096);
        QVERIFY2(mostBetweenTicks <= (qsizetype(256) << 10) + 4096,
                 qPrintable(QString::number(mostBetweenTicks)));
    }

    void looksTheInterceptorUpForEachChunk()
    {
        Reading reading;
        QVERIFY(reading.start());
        // It holds so much that the slot keeps it elsewhere, where a sanitizer sees it go too
        // early.
        const std::array<qsizetype, 4> largest{1, 16, 256, 4096};
        reading.manager->setDataInterceptor([&reading, largest](const QByteArray &chunk) {
            reading.manager->setDataInterceptor({});
            QVERIFY(chunk.size() <= largest.back());
            reading.intercepted += chunk;
        });
        const QByteArray sent = pattern(20'000);
        QVERIFY(reading.sendAndQueue(sent));
        QTRY_COMPARE(reading.intercepted.size() + reading.data.size(), sent.size());
        QVERIFY2(!reading.intercepted.isEmpty() && reading.intercepted.size() <= 4096,
                 "more than one chunk went to the interceptor that cleared itself");
        QVERIFY(reading.intercepted + reading.data == sent);
    }

    void survivesWhateverACallbackDoes_data()
    {
        using Action = std::function<void(Reading &)>;
        QTest::addColumn<Action>("action");
        QTest::addColumn<bool>("hearsTheRest");
        QTest::addColumn<bool>("isOpenThen");
        QTest::newRow("closes") << Action([](Reading &reading) { reading.manager->close(); })
                                << false << false;
        QTest::newRow("deletes the manager")
            << Action([](Reading &reading) { reading.manager.reset(); }) << false << false;
        QTest::newRow("opens another port") << Action([](Reading &reading) {
            const PtyPair other;
            QVERIFY(openPort(*reading.manager, other));
        }) << false << true;
        QTest::newRow("starts reading anew") << Action([](Reading &reading) {
            const auto again = [&reading](const QByteArray &chunk) { reading.data += chunk; };
            reading.manager->startReading(again, {});
        }) << true << false;
    }

    void survivesWhateverACallbackDoes()
    {
        QFETCH(std::function<void(Reading &)>, action);
        QFETCH(bool, hearsTheRest);
        QFETCH(bool, isOpenThen);
        Reading reading;
        QVERIFY(reading.start());
        bool hasActed = false;
        reading.manager->setDataInterceptor([&](const QByteArray &chunk) {
            reading.intercepted += chunk;
            if (!std::exchange(hasActed, true))
                action(reading);
        });
        const QByteArray sent = pattern(20'000);
        QVERIFY(reading.sendAndQueue(sent));
        reading.line.closeMaster(); // the loss is known too by then, and must hit no other port
        QTRY_VERIFY(hasActed);
        QTest::qWait(20);
        if (hearsTheRest)
            QTRY_COMPARE(reading.intercepted + reading.data, sent);
        else
            QVERIFY2(reading.intercepted.size() <= 4096, "delivered after the end");
        QTRY_COMPARE(reading.manager && reading.manager->isOpen(), isOpenThen);
        QCOMPARE(reading.losses, 0);
    }

    void reportsTheLossOnceAfterAllData()
    {
        Reading reading;
        QVERIFY(reading.start());
        const QByteArray sent = pattern(50'000);
        QVERIFY(reading.sendAndQueue(sent));
        reading.line.closeMaster();
        QTRY_COMPARE(reading.losses, 1);
        QVERIFY2(reading.dataAtLoss == sent,
                 qPrintable(QString::number(reading.dataAtLoss.size())));
        QVERIFY(reading.wasClosedAtLoss);
        QTest::qWait(20);
        QCOMPARE(reading.losses, 1);
    }

    void writesWithoutWaitingForThePort()
    {
        Reading reading;
        QVERIFY(reading.start());
        QElapsedTimer sinceStart;
        sinceStart.start();
        // More than the line takes at once, and an item that overtakes what has not been begun.
        const QByteArray first = pattern(200'000);
        const QByteArray second(100'000, 'b');
        for (const QByteArray &item : {first, second})
            QVERIFY(reading.manager->write(item));
        for (const char *item : {"\3", "\4"})
            QVERIFY(reading.manager->writeUrgent(item));
        QVERIFY2(sinceStart.elapsed() < 100, qPrintable(QString::number(sinceStart.elapsed())));
        QVERIFY(reading.manager->pendingBytes() > second.size());
        QSignalSpy drained(reading.manager.get(), &SerialPortManager::outputDrained);
        QByteArray received;
        QTRY_VERIFY((received += reading.line.read()).size() == first.size() + second.size() + 2);
        QVERIFY2(received == first + "\3\4" + second, "out of order, or an item cut in two");
        QCOMPARE(drained.size(), 1);
        QCOMPARE(reading.manager->pendingBytes(), 0);
    }

    void saysWhenThePortTakesNothing()
    {
        Reading reading;
        QVERIFY(reading.start());
        reading.manager->setWriteDrainTimeout(100ms);
        QSignalSpy failed(reading.manager.get(), &SerialPortManager::writeFailed);
        QElapsedTimer sinceProgress;
        sinceProgress.start();
        QVERIFY(reading.manager->write(pattern(1 << 20)));
        // As long as it takes something, however little, it is not given up.
        QByteArray received;
        for (int round = 0; round < 4; ++round, sinceProgress.start()) {
            QTest::qWait(60);
            received += reading.line.read();
        }
        QVERIFY(failed.isEmpty());
        QTRY_COMPARE(failed.size(), 1);
        QVERIFY(sinceProgress.elapsed() >= 80);
        QCOMPARE(failed[0][0].value<Error>().message,
                 u"The board has accepted no data for 0.1 s"_s);
        QCOMPARE(reading.manager->pendingBytes(), 0);
        QVERIFY(reading.manager->isOpen());
        received += reading.line.read();
        QVERIFY(reading.manager->write("on"));
        QTRY_VERIFY((received += reading.line.read()).endsWith("on"));
        QVERIFY2(received.size() < 1 << 20, "what was dropped has been written");
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

        const char *const ttys[] = {
            // name, driver or "-", type or "-", and whether it is a port
            "ttyUSB1 ftdi_sio - yes", "ttyACM0 cdc_acm - yes", "tty0 - - no",
            "ttyS0 serial8250 0 no", // a placeholder of that driver
            "ttyS1 serial8250 - no",  "ttyS2 port 0 no",       "ttyS3 serial8250 4 yes",
            "ttyS4 serial 4 yes",
            "gone cdc_acm - no", // it has no node
        };
        QStringList expected{dev + u"/board"_s};
        put(expected.first(), {});
        for (const char *line : ttys) {
            const QStringList tty = QString::fromLatin1(line).split(u' ', Qt::SkipEmptyParts);
            const QString entry = root + u"sys/class/tty/"_s + tty[0];
            const QString driver = root + u"sys/bus/drivers/"_s + tty[1];
            QVERIFY(QDir().mkpath(entry + u"/device"_s) && QDir().mkpath(driver));
            if (tty[0] != u"gone")
                put(dev + u'/' + tty[0], {});
            QVERIFY(tty[1] == u"-" || QFile::link(driver, entry + u"/device/driver"_s));
            if (tty[2] != u"-")
                put(entry + u"/type"_s, tty[2].toLatin1() + '\n');
            if (tty[3] == u"yes")
                expected << dev + u'/' + tty[0];
        }
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
};

QTEST_GUILESS_MAIN(tst_SerialPortManager)
#include "tst_SerialPortManager.moc"
