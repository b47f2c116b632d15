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

/// A fixture with a board that is at its prompt.
struct Connection
{
    ScriptedBoard board;
    DebugFixture fixture;

    Connection() { greet(); }

    void greet()
    {
        QVERIFY(fixture.connectTo(board.port(), u">>> "_s));
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
        row("two stops, one behind an end mark of its own",
            "\x1E{\"line\":3}\x1E\r\na\x04\x1E{\"line\":4}\x1E\r\nb", u"OKab"_s,
            u"running paused-3 free ended running paused-4"_s);
        row("an end mark of its own", reply("a\x04-", "c>"), u"OKa-c>>"_s);
        row("no prompt", "a\x04-\x04", u"OKa-"_s); // whole after a second
        row("no end", "abc", u"OKabc"_s, u"running"_s);
    }

    void followsAReply()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, output);
        QFETCH(QStringList, events);
        for (const bool isSplit : {false, true}) {
            Connection c;
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
        Connection c;
        c.board.onProgram = [](const QByteArray &) { return "\x04"_ba; };
        c.start(u"x"_s);
        QTRY_COMPARE(c.fixture.events, wholeRun.first(3));
        QElapsedTimer timer;
        timer.start();
        c.board.send("late\x04");
        QTRY_COMPARE(c.fixture.events, wholeRun);
        QVERIFY2(timer.elapsed() > 800, qPrintable(QString::number(timer.elapsed())));
        c.board.send(">");
        QTRY_COMPARE(c.fixture.shell.output(), u"OKlate>"_s);
        QCOMPARE(c.fixture.events, wholeRun);
        // The marks of the next reply are counted anew.
        c.fixture.events.clear();
        c.board.onProgram = [](const QByteArray &) { return "\x04>"_ba; };
        c.start(u"y"_s);
        QTRY_VERIFY(c.fixture.events.size() >= 3);
        QCOMPARE(c.fixture.events, wholeRun.first(3));
    }

    void sendsOnlyTheOrderForWhatIsNoText()
    {
        Connection c;
        c.start(u"a"_s + QChar(0xD800));
        QTRY_COMPARE(c.board.transcript(), u"^A^D"_s);
    }

    void givesUpOnABusyBoard()
    {
        Connection c;
        c.fixture.session.begin({3});
        c.board.setMute(true);
        QElapsedTimer timer;
        timer.start();
        c.start(u"x"_s);
        c.board.send("busy \xFF");
        QTRY_COMPARE(c.board.transcript(), u"^A^A"_s);
        c.board.send("raw REP");
        QTRY_COMPARE(c.fixture.events, QStringList{u"gave up"_s});
        QVERIFY2(timer.elapsed() >= 1700 && timer.elapsed() < 3000,
                 qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(c.board.transcript(), u"^A^A^A^A^A^A"_s);
        QCOMPARE(c.fixture.shell.lines(), QStringList{neverEntered});
        QVERIFY(!c.fixture.link.deviceCommandInFlight() && !c.fixture.session.isDebugging());
        c.board.send("seen again");
        QTRY_COMPARE(c.fixture.shell.output(), u"seen again"_s);
        // Half the banner of one run and half of the next make none, but pieces do.
        c.start(u"y"_s);
        c.board.send("L");
        QTRY_COMPARE(c.board.transcript(), u"^A^A^A^A^A^A^A^A"_s);
        c.board.setSplitAtEveryByte(true);
        c.board.send("\xE2\x82\xAC raw REPL; and so on");
        QTRY_VERIFY(c.board.transcript().endsWith(u"^Ay^D"));
    }

    void startsTheLastOfTwoRuns()
    {
        Connection c;
        c.board.setMute(true);
        c.start(u"first"_s);
        QTRY_COMPARE(c.board.transcript(), u"^A^A"_s);
        c.start(u"second"_s);
        // More than the first run was given.
        QTRY_COMPARE(c.board.transcript(), u"^A^A^A^A^A^A^A"_s);
        c.board.setMute(false);
        QTRY_COMPARE(c.fixture.events, wholeRun);
        QVERIFY(c.board.transcript().endsWith(u"^Asecond^D"));
        QVERIFY(!c.board.received().contains("first"));
        QCOMPARE(c.fixture.shell.lines().filter(u"error"_s), QStringList());
    }

    void forgetsAnEndedRunWhenTheNextStarts()
    {
        Connection c;
        c.board.onProgram = [](const QByteArray &) { return "\x04"_ba; };
        c.start(u"first"_s);
        QTRY_COMPARE(c.fixture.events, wholeRun.first(3));
        c.board.setMute(true);
        c.start(u"second"_s);
        QTRY_COMPARE(c.fixture.events.last(), u"gave up"_s);
        QVERIFY(!c.fixture.events.contains(u"whole"_s));
    }

    void keepsARunningProgramWhenTheNextGivesUp()
    {
        Connection c;
        c.board.onProgram = [](const QByteArray &) { return "a\xC3"_ba; };
        c.start(u"first"_s);
        QTRY_COMPARE(c.fixture.shell.output(), u"OKa"_s);
        c.board.setMute(true);
        // The half character can't be completed by what comes for the second.
        c.start(u"second"_s);
        QTRY_COMPARE(c.fixture.shell.output(), u"OKa\uFFFD"_s);
        QTRY_COMPARE(c.fixture.events.last(), u"gave up"_s);
        c.board.send("\xA9\x04\x04>");
        QTRY_COMPARE(c.fixture.events.last(), u"whole"_s);
        QCOMPARE(c.fixture.shell.output(), u"OKa\uFFFD\uFFFD>"_s);
    }

    void takesTheLineFromACommand()
    {
        Connection c;
        c.board.on("command\x04", "OK");
        auto command = c.fixture.link.executeOnDeviceRaw(u"command"_s, 1s);
        QTRY_VERIFY(c.board.received().endsWith("command\x04"));
        c.start(u"program"_s);
        QTRY_COMPARE(c.fixture.events, wholeRun);
        QCOMPARE(awaited(std::move(command)).error().code, ErrorCode::TimedOut);
        QCOMPARE(c.board.transcript(), u"^Acommand^D^Aprogram^D"_s);
        QVERIFY(!c.fixture.link.deviceCommandInFlight());
    }

    void losesTheBoard_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("shown"); // before the board goes
        QTest::addColumn<QString>("rest");  // when it goes
        QTest::addColumn<QStringList>("events");
        QTest::addColumn<int>("longestTimer"); // of those that could still run, in milliseconds
        const QStringList broken{u"running"_s, u"free"_s};
        QTest::newRow("entering") << ""_ba << u""_s << u""_s << QStringList() << 1900;
        QTest::newRow("sent") << ""_ba << u"OK"_s << u""_s << broken << 0;
        QTest::newRow("in a character") << "a\xE2"_ba << u"OKa"_s << u"\uFFFD"_s << broken << 0;
        QTest::newRow("in a record") << "a\x1E{"_ba << u"OKa"_s << u"\u001E{"_s << broken << 0;
        QTest::newRow("before the reply is whole")
            << "a\x04"_ba << u"OKa"_s << u""_s << wholeRun.first(3) << 1100;
    }

    void losesTheBoard()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, shown);
        QFETCH(QString, rest);
        QFETCH(QStringList, events);
        QFETCH(int, longestTimer);
        const bool isEntering = events.isEmpty();
        for (const bool isDisconnected : {false, true}) {
            Connection c;
            c.fixture.session.begin({1});
            c.board.setMute(isEntering);
            c.board.onProgram = [&reply](const QByteArray &) { return reply; };
            c.start(u"program"_s);
            QTRY_VERIFY(c.board.received().endsWith(isEntering ? "\1\1" : "program\4"));
            QTRY_VERIFY(isEntering || c.fixture.data.endsWith("OK" + reply));
            QCOMPARE(c.fixture.shell.output(), shown);
            if (isDisconnected)
                c.fixture.link.disconnectDevice();
            else
                c.board.vanish();
            QTRY_COMPARE(c.fixture.shell.lines().join(u'\n').section(u'\n', -1),
                         isDisconnected ? u"info: Disconnected."_s
                                        : u"info: Device disconnected."_s);
            QCOMPARE(c.fixture.shell.output(), isDisconnected ? shown : shown + rest);
            QVERIFY(!QTest::qWaitFor([&] { return c.fixture.events != events; }, longestTimer));
            QVERIFY(!c.fixture.link.deviceCommandInFlight() && !c.fixture.session.isDebugging());

            // Nothing of the old run shows up in a new one.
            c.board.setMute(false);
            c.board.plugIn();
            c.greet();
            c.board.onProgram = [](const QByteArray &) { return ScriptedBoard::reply("new\r\n"); };
            c.start(u"again"_s);
            QTRY_COMPARE(c.fixture.events, wholeRun);
            QCOMPARE(c.board.transcript(), u"^Aagain^D"_s);
            QVERIFY(c.fixture.shell.output().endsWith(u"OKnew\r\n>"));
        }
    }
};

QTEST_GUILESS_MAIN(tst_ProgramRun)
#include "tst_ProgramRun.moc"
