#include "app/AppFixture.h"
#include "app/PortAdvice.h"
#include "support/Files.h"

#include <cerrno>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_BoardControl final : public QObject
{
    Q_OBJECT

private slots:
    void connectsALostBoardAgain()
    {
        BoardAppFixture fixture;
        fixture.connectBoard();
        DeviceLink &link = fixture.state->link();
        const auto plugAgain = [&] {
            fixture.board.vanish();
            QTRY_VERIFY(!fixture.isConnected());
            link.refreshPorts();
            fixture.board.plugIn();
            link.refreshPorts();
        };
        plugAgain();
        QTRY_VERIFY(fixture.isConnected());
        QCOMPARE(fixture.lines().filter(u"info: "_s).mid(1),
                 QStringList({u"info: Device disconnected."_s,
                              u"info: Connected to "_s + fixture.board.port()}));
        QTRY_VERIFY(fixture.isBoardIdle());

        link.disconnectDevice(); // by the user
        plugAgain();
        QVERIFY(!fixture.isConnected());
        QVERIFY(link.connectDevice(fixture.board.port()));
        fixture.state->preferences().setFlag(Preferences::ReconnectBoards, false);
        plugAgain();
        QVERIFY(!fixture.isConnected());
    }

    void namesBoardsByTheirDescriptors()
    {
        QTemporaryDir folder;
        const QString dev = folder.filePath(u"dev"_s);
        const QString usb = folder.filePath(u"sys/devices/usb1/1-1"_s);
        for (const char *tty : {"ttyACM0", "ttyACM1"})
            put(dev + u'/' + QString::fromLatin1(tty), {});
        put(usb + u"/idVendor"_s, "2e8a\n");
        put(usb + u"/manufacturer"_s, "MicroPython\n");
        put(usb + u"/product"_s, "Pico\n");
        QVERIFY(QDir().mkpath(usb + u"/1-1:1.0"_s));
        QVERIFY(QDir().mkpath(folder.filePath(u"sys/class/tty/ttyACM0"_s)));
        QVERIFY(
            QFile::link(usb + u"/1-1:1.0"_s, folder.filePath(u"sys/class/tty/ttyACM0/device"_s)));
        const AppFixture fixture({}, {folder.filePath(u"sys"_s), dev, {}});
        const BoardControl &board = fixture.state->board();
        QCOMPARE(board.nameOf(dev + u"/ttyACM0"_s), u"Pico, ttyACM0"_s);
        QVERIFY(QFile::remove(usb + u"/product"_s));
        QCOMPARE(board.nameOf(dev + u"/ttyACM0"_s), u"MicroPython, ttyACM0"_s);
        QCOMPARE(board.nameOf(dev + u"/ttyACM1"_s), dev + u"/ttyACM1"_s);
    }

    void givesAdviceAfterAFailure()
    {
        QTemporaryDir folder;
        const QString port = folder.filePath(u"port"_s);
        const QString proc = folder.filePath(u"proc"_s);
        put(port, {});
        const auto advice = [&](int code) {
            return PortAdvice::lines({ErrorCode::SerialPort, {}, {}, code}, port, proc)
                .join(u'|')
                .remove(port);
        };
        QCOMPARE(advice(ENOENT), u"The board at  is not plugged in any more."_s);
        QCOMPARE(advice(EIO), QString());
        QVERIFY(QFile::setPermissions(port, {})); // a group would not help
        QCOMPARE(advice(EACCES), u"The permissions of  do not let you read and write it."_s);
        QCOMPARE(advice(EBUSY), u"Another program, perhaps of another user, uses ."_s);
        put(proc + u"/7/comm"_s, "ModemManager\n");
        QVERIFY(advice(EBUSY).startsWith(u"ModemManager probes"_s));
        put(proc + u"/12/comm"_s, "minicom\n");
        QVERIFY(QDir().mkpath(proc + u"/12/fd"_s));
        QVERIFY(QFile::link(port, proc + u"/12/fd/3"_s));
        QCOMPARE(advice(EBUSY),
                 u" is in use by minicom (process 12). Close it there, then connect again."_s);
    }

    void asksAndSetsTheBoard()
    {
        BoardAppFixture fixture;
        fixture.state->board().showDetails();
        QCOMPARE(fixture.lines(),
                 QStringList{u"error: Could not read the board’s details: Not connected"_s});
        fixture.connectBoard();
        fixture.answer = ScriptedBoard::reply("__BOARD__\r\nPico with RP2040\r\n"
                                              "micropython v1.22\r\n180000\r\n\r\n");
        fixture.state->board().showDetails();
        QTRY_VERIFY(fixture.lines().contains(
            u"info: %1 — Pico with RP2040 — micropython v1.22 — 180.0 kB of memory free"_s.arg(
                fixture.board.port())));
        fixture.answer = ScriptedBoard::reply("");
        fixture.state->board().setClock();
        QTRY_VERIFY(fixture.text().contains(u"info: The board’s clock was set to 2"_s));
        QVERIFY(fixture.programs.constLast().contains(".datetime((2"));
    }
};

QTEST_GUILESS_MAIN(tst_BoardControl)
#include "tst_BoardControl.moc"
