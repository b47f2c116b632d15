#include "debugger/DebugSession.h"

#include "debugger/DebugFixture.h"
#include "debugger/DebugHelper.h"
#include "debugger/InstrumentedRun.h"
#include "support/Awaited.h"
#include "support/ScriptedBoard.h"

#include <QRegularExpression>

using namespace Korvane;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

const QString program = u"x = 1\nif x:\n    x = 2\n"_s;
const QString couldNot = u"error: Could not install the breakpoint helper: "_s;
const QString sent = u"info: ▶ Sent to device."_s;
const QByteArray pauseAt3 = "\x1E{\"line\": 3, \"vars\": []}\x1E\r\n"_ba;

/// A session with a board; `answer` is its reply to the program.
struct ConnectedFixture
{
    ScriptedBoard board;
    DebugFixture fixture;
    QByteArray answer = ScriptedBoard::reply("");
    QByteArray helperAnswer = ScriptedBoard::reply("");
    QByteArrayList programs;

    ConnectedFixture()
    {
        connectBoard();
        board.onProgram = [this](const QByteArray &code) {
            programs << code;
            return code.contains("def _bp") ? helperAnswer : answer;
        };
    }
    void connectBoard()
    {
        QVERIFY(fixture.connectTo(board.port(), u">>> \r\n>>> "_s));
        board.forget();
    }
    DebugSession &session() { return fixture.session; }
    QStringList lines() const { return fixture.shell.lines(); }
    QString lastLine() const { return lines().isEmpty() ? QString() : lines().constLast(); }
    void start(const QString &source = program, const QSet<int> &breakpoints = {3})
    {
        session().startDebugRun(u"main.py"_s, source, breakpoints);
    }
    /// "debugging 3 [3]": whether it debugs, the paused line or 0, and the armed lines.
    QString state()
    {
        QStringList armedLines;
        for (const int line : session().activeBreakpointLines())
            armedLines << QString::number(line);
        armedLines.sort();
        return (session().isDebugging() ? u"debugging "_s : u"idle "_s)
            + QString::number(session().pausedAt().value_or(0)) + u" ["_s + armedLines.join(u',')
            + u']';
    }
    /// Continues until the program is at the line of the test; true when it was reached.
    bool reach(const QString &phase)
    {
        helperAnswer = phase == u"installing" ? QByteArray() : helperAnswer;
        answer = phase == u"paused" ? pauseAt3 : QByteArray("on");
        if (phase == u"entering") {
            // The board replies to nothing after the helper.
            board.onProgram = [this](const QByteArray &) {
                QTimer::singleShot(0, &board, [this] { board.setMute(true); });
                return ScriptedBoard::reply("");
            };
        }
        start();
        return QTest::qWaitFor([&] {
            if (phase == u"installing")
                return board.received().endsWith("\n\x04");
            if (phase == u"entering")
                return fixture.run->isEntering();
            return phase == u"paused" ? session().pausedAt().has_value()
                                      : fixture.shell.output().endsWith(u"on");
        });
    }
};

const QString idle = u"idle 0 []"_s;

} // namespace

class tst_DebugSession final : public QObject
{
    Q_OBJECT

private slots:
    void refusesToStart_data()
    {
        QTest::addColumn<QString>("phase");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QStringList>("lines");
        const QStringList unconnected{u"error: Connect a device to debug on it."_s};
        const QStringList already{u"error: A debug run is already in progress."_s};
        const auto row = [](const char *phase, const QString &source, const QStringList &lines) {
            QTest::addRow("%s, %lld bytes", phase, source.size())
                << QString::fromLatin1(phase) << source << lines;
        };
        row("unplugged", program, unconnected);
        row("unplugged", {}, unconnected);
        row("at the prompt", {}, {});
        row("at the prompt", u"# 1\n"_s,
            {u"info: Breakpoint on line 3 ignored: line 3 is outside the file."_s,
             u"info: Nothing to run: the file has no statements."_s,
             u"error: Nothing to debug in main.py."_s});
        row("entering", program, already);
        row("running", program, already);
        row("paused", program, already);
        row("ignoring the interrupt", program,
            {couldNot + u"The device is running a program — stop it first"_s});
        row("raising", program, {couldNot + u"MemoryError: no room"_s});
        row("mute", program,
            {couldNot
             + u"The board never entered the raw REPL — try disconnecting and reconnecting"_s});
    }

    void refusesToStart()
    {
        QFETCH(QString, phase);
        QFETCH(QString, source);
        QFETCH(QStringList, lines);
        ConnectedFixture c;
        if (phase == u"unplugged")
            c.fixture.link.disconnectDevice();
        else if (phase == u"ignoring the interrupt") // of a program that isn't debugged
            QVERIFY(c.reach(u"running"_s));
        else if (phase.endsWith(u"ing") || phase == u"paused")
            QVERIFY(phase == u"raising" || c.reach(phase));
        if (phase == u"ignoring the interrupt")
            c.session().reset();
        c.helperAnswer = ScriptedBoard::reply("", "Traceback\r\nMemoryError: no room\r\n");
        c.board.setMute(phase == u"mute");
        c.fixture.shell.clear();
        c.programs.clear();
        const QString before = c.state();
        c.start(source);
        QTRY_COMPARE(c.lines().filter(QRegularExpression(u"^(info|error)"_s)), lines);
        QCOMPARE(c.state(), before);
        QCOMPARE(c.programs.size(), phase == u"raising" ? 1 : 0);
    }

    void startsInOrder_data()
    {
        QTest::addColumn<QSet<int>>("breakpoints");
        QTest::addColumn<QString>("note");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<QString>("begun");
        QTest::newRow("none") << QSet<int>() << QString() << u"stopping at the first statement"_s
                              << u"debugging 0 []"_s;
        QTest::newRow("one, moved")
            << QSet<int>{2}
            << u"Breakpoint on line 2 moved to line 3 — a statement can't be placed before a "
               "block header."_s
            << u"1 breakpoint armed"_s << u"debugging 0 [3]"_s;
        QTest::newRow("two") << QSet<int>{3, 1} << QString() << u"2 breakpoints armed"_s
                             << u"debugging 0 [1,3]"_s;
    }

    void startsInOrder()
    {
        QFETCH(QSet<int>, breakpoints);
        QFETCH(QString, note);
        QFETCH(QString, summary);
        ConnectedFixture c;
        QStringList expected = note.isEmpty() ? QStringList() : QStringList{u"info: "_s + note};
        QString whenBegun;
        connect(&c.session(), &DebugSession::started, this, [&] {
            whenBegun = c.state();
            QVERIFY(c.fixture.link.deviceCommandInFlight());
        });
        c.start(program, breakpoints);
        QCOMPARE(c.lines(), expected);
        QCOMPARE(c.state(), idle); // until the helper is installed
        QTRY_COMPARE(c.fixture.events, u"running free ended whole"_s.split(u' '));
        QTEST(whenBegun, "begun");
        const InstrumentedRun run(program, breakpoints);
        expected << u"info: ▶ Debugging main.py — %1."_s.arg(summary)
                 << u"info:    2 steppable lines; %1 → %2 bytes to compile."_s.arg(program.size())
                        .arg(run.source.size())
                 << sent << u"info: ▶ Program finished."_s;
        QCOMPARE(c.lines().filter(u"info: "_s), expected);
        QCOMPARE(c.fixture.shell.output(), u"OK>"_s);
        QCOMPARE(c.state(), idle);
        const QByteArrayList programs{DebugHelper::installCode(run.activeLines).toUtf8(),
                                      run.source.toUtf8()};
        QCOMPARE(c.programs, programs);
    }

    void refusesTheSecondOfTwoStarts()
    {
        ConnectedFixture c;
        c.answer = "on";
        c.start();
        c.start();
        QTRY_COMPARE(c.lines().filter(u"error"_s),
                     QStringList{couldNot + u"The device is running a program — stop it first"_s});
        QCOMPARE(c.board.received().count('\x01'), 2);
        QCOMPARE(c.state(), u"debugging 0 [3]"_s);
    }

    void stopsBeforeTheProgramIsSent()
    {
        ConnectedFixture c;
        QVERIFY(c.reach(u"entering"_s));
        QTRY_VERIFY(c.board.received().endsWith("\x02\x01")); // after the helper
        c.board.forget();
        c.session().debugStop();
        QCOMPARE(c.state(), idle);
        QVERIFY(!c.fixture.run->deviceProgramRunning() && !c.fixture.link.deviceCommandInFlight());
        c.session().debugStop();
        QTRY_COMPARE(c.board.received(), "\x03\x02"_ba);
        // Nothing more is sent, though the banner arrives in time.
        c.board.send(ScriptedBoard::banner);
        QVERIFY(!QTest::qWaitFor([&] { return c.board.received() != "\x03\x02"; }, 2000));
        QCOMPARE(c.lines().filter(u"error"_s), QStringList());
    }

    // The program pauses at the time of the stop: it is shown as paused, and can be stopped again.
    void debugsAgainWhenAPauseArrivesAfterStop()
    {
        ConnectedFixture c;
        QVERIFY(c.reach(u"running"_s));
        c.session().debugStop();
        QTRY_VERIFY(c.board.received().endsWith("\x03"));
        c.board.send(pauseAt3);
        QTRY_COMPARE(c.state(), u"debugging 3 []"_s);
        QCOMPARE(awaited(c.fixture.link.executeOnDevice(u"x"_s, 1s)).error().code,
                 ErrorCode::PausedAtBreakpoint);
        c.fixture.events.clear();
        c.session().debugStop();
        QTRY_VERIFY(c.board.received().endsWith("q\n"));
        // Debugging has ended already, so nothing is written about its end, but the board is free.
        c.board.send("\x04KeyboardInterrupt\r\n\x04>");
        QTRY_COMPARE(c.fixture.events, u"free ended whole"_s.split(u' '));
        QCOMPARE(c.lines().filter(u"finished"_s), QStringList());
        QCOMPARE(c.state(), idle);
    }

    // A start that lost its board neither delays nor ends the next one.
    void startsAgainOnABoardThatWasLostMeanwhile()
    {
        ConnectedFixture c;
        QVERIFY(c.reach(u"installing"_s));
        c.board.vanish();
        QTRY_COMPARE(c.lastLine(),
                     couldNot + u"The board was disconnected before the command ended"_s);
        QCOMPARE(c.state(), idle);
        c.board.plugIn();
        c.connectBoard();
        c.helperAnswer = ScriptedBoard::reply("");
        c.answer = pauseAt3;
        c.start();
        QTRY_COMPARE(c.state(), u"debugging 3 [3]"_s);
    }

    void sendsNoProgramToABoardThatWasConnectedAfterItsHelper()
    {
        ConnectedFixture c;
        connect(&c.fixture.link, &DeviceLink::deviceCommandInFlightChanged, this, [&] {
            if (c.fixture.link.deviceCommandInFlight() || c.programs.isEmpty())
                return;
            c.fixture.link.disconnectDevice();
            QVERIFY(c.fixture.link.connectDevice(c.board.port()));
        });
        c.start();
        QTRY_COMPARE(c.lines().filter(u"error"_s), QStringList{couldNot + u"Not connected"_s});
        QCOMPARE(c.programs.size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_DebugSession)
#include "tst_DebugSession.moc"
