#include "board/ProgramRun.h"

#include "debugger/DebugFixture.h"
#include "support/Awaited.h"
#include "support/ScriptedBoard.h"

#include <QElapsedTimer>

using namespace Korvane;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

const QString sent = u"info: ▶ Sent to device."_s;
const QString neverEntered = u"error: The board never entered the raw REPL, so nothing was run. "
                             "Try disconnecting and reconnecting."_s;
const QStringList wholeRun = u"running free ended whole"_s.split(u' ');

/// A fixture that is connected to a board at its prompt.
struct ConnectedFixture
{
    ScriptedBoard board;
    DebugFixture fixture;

    ConnectedFixture() { greet(); }

    void greet()
    {
        QVERIFY(fixture.connectTo(board.port(), u">>> \r\n>>> "_s));
        board.forget();
    }

    void start(const QString &source) { fixture.run->runOnDeviceStreamed(source); }
};

} // namespace

class tst_ProgramRun final : public QObject
{
    Q_OBJECT

private slots:
    void followsAReply_data()
    {
        QTest::addColumn<QByteArray>("reply"); // after "OK"
        QTest::addColumn<QString>("output");
        QTest::addColumn<QStringList>("events");
        const auto row = [](const char *name, const QByteArray &reply, const QString &output,
                            const QString &events = wholeRun.join(u' ')) {
            QTest::newRow(name) << reply << output << events.split(u' ');
        };
        const auto reply = ScriptedBoard::reply;
        row("a traceback", reply("a", "in <stdin>\r\nE\r\n"), u"OKain <stdin>\r\nE\r\n>"_s);
        row("two stops, one after an end mark of its own",
            "\x1E{\"line\":3}\x1E\r\na\x04\x1E{\"line\":4}\x1E\r\nb", u"OKab"_s,
            u"running paused-3 free ended running paused-4"_s);
        row("an end mark of its own", reply("a\x04-", "c>"), u"OKa-c>>"_s);
        row("bytes that are no text", reply("ab\xff", {}), u"OKab\uFFFD>"_s);
        row("no prompt", "a\x04-\x04", u"OKa-"_s); // complete after a second
        row("a soft reset without an end", "a\r\nMPY: soft reboot\r\nraw REPL; CTRL-B to exit\r\n>",
            u"OKa\r\nMPY: soft reboot\r\nraw REPL; CTRL-B to exit\r\n>"_s);
        row("a restart",
            "rst:0x1\r\nMicroPython v1 on x; y\r\n"
            "Type \"help()\" for more information.\r\n>>> ",
            u"OKrst:0x1\r\nMicroPython v1 on x; y\r\nType \"help()\" for more information."
            "\r\n>>> "_s);
        row("no end", "abc", u"OKabc"_s, u"running"_s);
    }

    void followsAReply()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, output);
        QFETCH(QStringList, events);
        for (const bool isSplit : {false, true}) {
            ConnectedFixture c;
            c.board.onProgram = [&reply](const QByteArray &) { return reply; };
            c.start(u"print('ü')\n"_s);
            QVERIFY(c.fixture.link.deviceCommandInFlight());
            QTRY_COMPARE(c.fixture.events.value(0), u"running"_s);
            QVERIFY(!c.fixture.link.deviceCommandInFlight());
            c.board.setSplitAtEveryByte(isSplit);
            QTRY_VERIFY2(c.fixture.shell.output().endsWith(output),
                         qPrintable(c.fixture.shell.output()));
            QTRY_COMPARE(c.fixture.events, events);
            QCOMPARE(c.fixture.run->deviceProgramRunning(), !events.contains(u"whole"_s));
            QCOMPARE(c.board.received(), "\1print('ü')\n\4"_ba);
            QCOMPARE(c.fixture.shell.lines().value(0), sent);
        }
    }

    void waitsASecondForTheRestOfAReply()
    {
        ConnectedFixture c;
        c.board.onProgram = [](const QByteArray &) { return "\x04"_ba; };
        QElapsedTimer timer;
        timer.start();
        c.start(u"x"_s);
        QTRY_COMPARE(c.fixture.events, wholeRun.first(3));
        c.board.send("late\x04");
        QTRY_COMPARE(c.fixture.events, wholeRun);
        QVERIFY2(timer.elapsed() > 900, qPrintable(QString::number(timer.elapsed())));
        c.board.send(">");
        QTRY_COMPARE(c.fixture.shell.output(), u"OKlate>"_s);
        QCOMPARE(c.fixture.events, wholeRun);
    }

    void sendsOnlyCtrlDForALoneSurrogate()
    {
        ConnectedFixture c;
        c.start(u"a"_s + QChar(0xD800));
        QTRY_COMPARE(c.board.transcript(), u"^A^D"_s);
    }

    void failsWhenTheBoardStaysBusy()
    {
        ConnectedFixture c;
        c.fixture.session.begin({3});
        c.board.setMute(true);
        QElapsedTimer timer;
        timer.start();
        c.start(u"x"_s);
        c.board.send("busy");
        QTRY_COMPARE(c.fixture.shell.output() + c.fixture.events.join(u' '), u"busy"_s);
        c.board.send(" \xFF");
        QTRY_VERIFY(c.board.transcript().startsWith(u"^A^C"));
        c.board.send("raw REP");
        QTRY_COMPARE(c.fixture.events, QStringList{u"gave up"_s});
        QVERIFY2(timer.elapsed() >= 1700, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(c.board.transcript(), u"^A^C^A^A^A^A"_s);
        QCOMPARE(c.fixture.shell.lines().filter(u"error"_s), QStringList{neverEntered});
        QVERIFY(!c.fixture.link.deviceCommandInFlight() && !c.fixture.session.isDebugging());
        c.board.send("seen again");
        QTRY_COMPARE(c.fixture.shell.output(), u"busy \uFFFDraw REPseen again"_s);
        // Half a banner in each of two runs is not a banner, but one in pieces is.
        c.start(u"y"_s);
        c.board.send("L");
        QTRY_VERIFY(c.board.transcript().startsWith(u"^A^C^A^A^A^A^A^C"));
        c.board.setSplitAtEveryByte(true);
        c.board.send("\xE2\x82\xAC raw REPL; and so on");
        QTRY_VERIFY(c.board.transcript().endsWith(u"y^D"));
    }

    void startsTheLastOfTwoRuns()
    {
        ConnectedFixture c;
        c.board.setMute(true);
        c.start(u"first"_s);
        QTRY_VERIFY(c.board.transcript().startsWith(u"^A^C"));
        c.start(u"second"_s);
        // The second run is not limited to the remaining attempts of the first.
        QTRY_VERIFY(c.board.transcript().endsWith(u"^C^A^A^A"));
        c.board.setMute(false);
        QTRY_COMPARE(c.fixture.events, wholeRun);
        QVERIFY(c.board.transcript().endsWith(u"^Asecond^D"));
        QVERIFY(!c.board.received().contains("first"));
        QCOMPARE(c.fixture.shell.lines().filter(u"error"_s), QStringList());
    }

    void keepsAProgramThatIgnoresInterrupts()
    {
        ConnectedFixture c;
        c.board.onProgram = [](const QByteArray &) { return "a\xC3"_ba; };
        c.start(u"first"_s);
        QTRY_COMPARE(c.fixture.shell.output(), u"OKa"_s);
        c.board.setMute(true);
        c.start(u"second"_s);
        c.board.send("\xA9\r");
        QTRY_COMPARE(c.fixture.events.last(), u"gave up"_s);
        QCOMPARE(c.fixture.shell.output(), u"OKaé\r"_s);
        QCOMPARE(c.board.transcript(), u"^Afirst^D^C^A^A^A^A^A^A"_s);
        QVERIFY(c.fixture.run->deviceProgramRunning());
        c.board.send("\nb\x04\x04>");
        QTRY_COMPARE(c.fixture.events.last(), u"whole"_s);
        QCOMPARE(c.fixture.shell.output(), u"OKaé\r\nb>"_s);
    }

    void losesTheBoard_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QStringList>("events");
        QTest::addColumn<int>("longestTimer"); // of those that could still run, in milliseconds
        QTest::newRow("entering") << ""_ba << u""_s << QStringList() << 1900;
        QTest::newRow("in a record") << "a\x1E{"_ba << u"OKa\u001E{"_s << wholeRun.first(2) << 0;
        QTest::newRow("before the reply is whole")
            << "a\x04"_ba << u"OKa"_s << wholeRun.first(3) << 1100;
    }

    void losesTheBoard()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QStringList, events);
        QFETCH(int, longestTimer);
        const bool isEntering = events.isEmpty();
        ConnectedFixture c;
        c.fixture.session.begin({1});
        c.board.setMute(isEntering);
        c.board.onProgram = [&reply](const QByteArray &) { return reply; };
        c.start(u"program"_s);
        QTRY_VERIFY(c.board.received().endsWith(isEntering ? "\1\3" : "program\4"));
        QTRY_VERIFY(isEntering || c.fixture.data.endsWith("OK" + reply));
        c.board.vanish();
        QTRY_VERIFY(c.fixture.shell.lines().contains(u"info: Device disconnected."_s));
        QTEST(c.fixture.shell.output(), "shown");
        QVERIFY(!QTest::qWaitFor([&] { return c.fixture.events != events; }, longestTimer));
        QVERIFY(!c.fixture.link.deviceCommandInFlight() && !c.fixture.session.isDebugging());

        // A new run contains nothing of the old one.
        c.board.setMute(false);
        c.board.plugIn();
        c.greet();
        c.board.onProgram = [](const QByteArray &) { return ScriptedBoard::reply("new\r\n"); };
        c.start(u"again"_s);
        QTRY_COMPARE(c.fixture.events, wholeRun);
        QCOMPARE(c.board.transcript(), u"^Aagain^D"_s);
        QCOMPARE(c.fixture.shell.output(), u"OKnew\r\n>"_s);
    }

    void showsTheBeginningOfARestartWhenTheBoardIsLost()
    {
        ConnectedFixture c;
        c.board.setMute(true);
        const auto reset = c.fixture.link.softReset();
        c.board.send("\r\nMPY: soft re");
        QTRY_VERIFY(c.fixture.data.endsWith("re"));
        c.board.vanish();
        QTRY_COMPARE(c.fixture.shell.output(), u"\r\nMPY: soft re"_s);
    }

    void cancelsTheSendingOfAProgram()
    {
        ConnectedFixture c;
        c.start(QString(RawPaste::smallestProgram, u'x'));
        QTRY_COMPARE(c.board.transcript(), u"^A^EA^A"_s);
        c.fixture.run->cancelSending();
        c.fixture.run->cancelSending();
        QTRY_COMPARE(c.fixture.events, wholeRun); // the board has no raw-paste mode
        QCOMPARE(c.board.transcript(), u"^A^EA^A^C^D"_s);
        QCOMPARE(c.fixture.shell.lines().filter(u"info"_s),
                 QStringList{u"info: Sending canceled — the program was not run."_s});
    }
};

QTEST_GUILESS_MAIN(tst_ProgramRun)
#include "tst_ProgramRun.moc"
