#include "board/LinkFixture.h"

#include "board/DeviceError.h"
#include "support/Awaited.h"
#include "support/ScriptedBoard.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString lost = u"error: "_s + DeviceError::connectionLost().message;
const QString noRawREPL = u"error: "_s + DeviceError::noRawREPL().message;

QString timedOut(int seconds)
{
    return u"error: "_s + DeviceError::timedOut(seconds).message;
}

/// A fixture that is connected to a board which has received the two Ctrl-C.
struct ConnectedFixture
{
    ScriptedBoard board;
    LinkFixture fixture;

    explicit ConnectedFixture(bool isMute = false)
    {
        board.setMute(isMute);
        fixture.connectTo(board.port());
        (void)QTest::qWaitFor([&] { return board.received() == "\3\3"; });
        board.forget();
    }
};

} // namespace

class tst_DeviceLink final : public QObject
{
    Q_OBJECT

private slots:
    void emitsSignalsInOrderWhenConnectingAndDisconnecting()
    {
        ScriptedBoard board;
        LinkFixture fixture;
        QStringList states;
        connect(fixture.link.get(), &DeviceLink::connectionStateChanged, this, [&] {
            static const QStringList names{u"disconnected"_s, u"connecting"_s, u"connected"_s};
            states << names[int(fixture.link->connectionState().kind())];
        });
        connect(fixture.link.get(), &DeviceLink::connected, this,
                [&] { fixture.link->serial().write("a"); });
        QCOMPARE(awaited(fixture.link->softReset()).error().code, ErrorCode::NotConnected);
        QVERIFY(fixture.connectTo(board.port()));
        QCOMPARE(fixture.link->connectDevice(board.port()).error().code, ErrorCode::Canceled);
        QCOMPARE(fixture.log,
                 QStringList({u"reader starting"_s, u"info: Connected to "_s + board.port(),
                              u"connected"_s}));
        QVERIFY(awaited(fixture.link->softReset()));
        QTRY_COMPARE(board.transcript(), u"^C^Ca^C^C^B^D"_s);
        QTRY_VERIFY(fixture.data.endsWith("soft reboot\r\n>>> "));

        fixture.log.clear();
        fixture.link->disconnectDevice();
        QVERIFY(!fixture.link->serial().isOpen());
        QCOMPARE(fixture.log, QStringList({u"ended"_s, u"info: Disconnected."_s}));

        fixture.log.clear();
        QVERIFY(!fixture.connectTo(u"/no/such/port"_s));
        QCOMPARE(fixture.log,
                 QStringList{u"failed: Connection failed: No such file or directory"_s});
        QCOMPARE(states.join(u' '), u"connecting connected disconnected connecting disconnected"_s);
        QCOMPARE(board.transcript(), u"^C^Ca^C^C^B^D"_s);
    }

    void runsAProgram()
    {
        const QByteArray answer =
            ScriptedBoard::reply("Ä😀\r\n", "Trace\r\n  x\r\nNameError: x\r\n");
        for (const QByteArray &code : {QByteArray("print('Ä😀')\nx"), QByteArray()}) {
            for (const bool isSplit : {false, true}) {
                ConnectedFixture c;
                QByteArray program;
                c.board.setSplitAtEveryByte(isSplit);
                c.board.onProgram = [&](const QByteArray &text) { return program = text, answer; };
                QCOMPARE(toText(awaited(c.fixture.run(code))),
                         u"Ä😀\n|Trace\n  x\nNameError: x\n"_s);
                QCOMPARE(program, code);
                QTRY_VERIFY2(c.board.received() == "\1" + code + "\4\2",
                             qPrintable(c.board.transcript()));
                QVERIFY(c.fixture.isLinkFree());
                // Later bytes are emitted by dataReceived again.
                QTRY_VERIFY(c.fixture.data.endsWith("MicroPython\r\n>>> "));
            }
        }
    }

    void makesATracebackAnError()
    {
        ConnectedFixture c;
        const auto run = [&](const QByteArray &error) {
            c.board.onProgram = [=](const QByteArray &) {
                return ScriptedBoard::reply("1\r\n", error);
            };
            return awaited(c.fixture.link->executeOnDevice(u"x"_s, 5s));
        };
        const auto failed = run("Trace\r\n \tOSError: 2 \r\n\r\n");
        QVERIFY(!failed);
        QCOMPARE(failed.error().code, ErrorCode::Remote);
        QCOMPARE(failed.error().message, u"No such file or directory"_s);
        QCOMPARE(failed.error().detail, u"Trace\n \tOSError: 2 \n\n"_s);
        QCOMPARE(run("\r\n").error().message, QString());
        const auto fine = run({});
        QVERIFY(fine);
        QCOMPARE(*fine, u"1\n"_s);
    }

    void refusesACommandWithoutWriting()
    {
        ConnectedFixture c;
        // These are refused before the command is queued.
        c.fixture.link->setDeviceCommandInFlight(true);
        const auto refusal = [&] { return awaited(c.fixture.run("x")).error().code; };
        c.fixture.isProgramRunning = true;
        QCOMPARE(refusal(), ErrorCode::ProgramRunning);
        c.fixture.isPaused = true;
        QCOMPARE(refusal(), ErrorCode::PausedAtBreakpoint);
        c.fixture.link->disconnectDevice();
        QCOMPARE(refusal(), ErrorCode::NotConnected);
        QVERIFY(c.fixture.link->deviceCommandInFlight());
        QCoreApplication::processEvents();
        QCOMPARE(c.board.transcript(), QString());
    }

    void asksForTheRawReplSixTimes_data()
    {
        QTest::addColumn<QByteArray>("answered");
        QTest::addColumn<int>("timeout");
        QTest::addColumn<QString>("transcript");
        QTest::addColumn<QString>("result");
        QTest::newRow("never answered") << ""_ba << 5000 << u"^A^A^A^A^A^A^B"_s << noRawREPL;
        QTest::newRow("the third is answered")
            << "\1\1\1"_ba << 9000 << u"^A^A^Ax^D^B"_s << u"hi|"_s;
        QTest::newRow("the time-out comes first")
            << ""_ba << 1100 << u"^A^A^A^A^B"_s << timedOut(1);
        QTest::newRow("no time at all") << ""_ba << 0 << u"^A^B"_s << timedOut(0);
    }

    void asksForTheRawReplSixTimes()
    {
        QFETCH(QByteArray, answered);
        QFETCH(int, timeout);
        ConnectedFixture c(true);
        if (!answered.isEmpty())
            c.board.on(answered, QByteArray("noise ") + ScriptedBoard::banner);
        c.board.on("\4", "OK" + ScriptedBoard::reply("hi"));
        QTEST(toText(awaited(c.fixture.run("x", std::chrono::milliseconds(timeout)))), "result");
        QFETCH(QString, transcript);
        QTRY_COMPARE(c.board.transcript(), transcript);
        QVERIFY(c.fixture.isLinkFree());
    }

    void timesOutWhenTheReplyIsIncomplete()
    {
        for (const char *answer : {"", "no prompt OK\4\4", "ill-formed OK\xC3\x28\4\4>",
                                   "within a character OK\4\4\xE2"}) {
            ConnectedFixture c(true);
            c.board.on("\1", ScriptedBoard::banner);
            c.board.on("x\4", answer);
            c.board.on("y\4", "OK" + ScriptedBoard::reply("y"));
            QCOMPARE(toText(awaited(c.fixture.run("x", 600ms))),
                     timedOut(0) + u" — its program was stopped"_s);
            QVERIFY2(c.fixture.isLinkFree(), answer);
            c.board.send("late\4\4>");
            QTRY_COMPARE(c.fixture.data.right(7), "late\4\4>");
            QCOMPARE(toText(awaited(c.fixture.run("y"))), u"y|"_s);
            QTRY_COMPARE(c.board.transcript(), u"^Ax^D^C^B^Ay^D^B"_s);
        }
    }

    void runsOneCommandAfterTheOther()
    {
        ConnectedFixture c;
        c.board.setDelay(20ms);
        c.board.onProgram = [](const QByteArray &code) { return ScriptedBoard::reply(code); };
        auto first = c.fixture.run("a");
        auto second = c.fixture.run("b");
        auto third = c.fixture.run("c");
        QVERIFY(c.fixture.link->deviceCommandInFlight());
        QCOMPARE(toText(awaited(std::move(third))), u"c|"_s);
        QCOMPARE(toText(awaited(std::move(second))), u"b|"_s);
        QCOMPARE(toText(awaited(std::move(first))), u"a|"_s);
        const QString transcript = c.board.transcript();
        QVERIFY2(transcript.startsWith(u"^Aa^D^B^A") && transcript.count(u'A') == 3,
                 qPrintable(transcript));
    }

    void staysInTheRawReplWithinASequence()
    {
        ConnectedFixture c;
        const auto next = [&c] { return c.fixture.link->executeInSequence(u"a"_s, 5s); };
        QVERIFY(awaited(next()));
        QVERIFY(awaited(next()));
        QCOMPARE(c.board.transcript(), u"^Aa^Da^D"_s);
        QTRY_COMPARE(c.board.transcript(), u"^Aa^Da^D^B"_s);
        c.board.forget();
        c.board.on("x\r", "x\r\n2\r\n>>> ");
        auto first = next();
        auto second = next();
        c.fixture.link->writeInput("x\r"); // is sent to the prompt after the first command
        QVERIFY(awaited(std::move(first)) && awaited(std::move(second)));
        QTRY_COMPARE(c.board.transcript(), u"^Aa^D^Bx^M^Aa^D^B"_s);
        QVERIFY(c.fixture.data.contains("\n2\r\n"));
        auto last = next();
        c.fixture.link->writeInput("y\r");
        c.fixture.link->disconnectDevice();
        QVERIFY(!awaited(std::move(last)));
        QVERIFY(c.fixture.log.contains(u"info: The last input was not sent to the board."_s));
    }

    void showsTheOutputOfATypedProgramUntilOneIsEntered()
    {
        ConnectedFixture c(true);
        c.fixture.link->writeInput("while True: print(1)\r");
        for (const char *output : {"1\r\n", "2\r\n"}) {
            auto command = c.fixture.run("x", 5s);
            c.board.send(output);
            QCOMPARE(awaited(std::move(command)).error().code, ErrorCode::NoRawREPL);
        }
        QVERIFY(c.fixture.data.contains("1\r\n2\r\n"));
    }

    void dropsAProgramThatIsInterruptedBeforeItWasSent()
    {
        ConnectedFixture c;
        std::stop_source source;
        CallStop stop;
        stop.canceled = source.get_token();
        auto command =
            c.fixture.link->executeOnDeviceRaw(QString(RawPaste::smallestProgram, u'x'), 5s, stop);
        QTRY_COMPARE(c.board.transcript(), u"^A^EA^A"_s);
        source.request_stop();
        QCOMPARE(awaited(std::move(command)).error().code, ErrorCode::Canceled);
        QTRY_COMPARE(c.board.transcript(), u"^A^EA^A^C^B"_s);
    }

    void leavesTheLinkToAStreamedRun()
    {
        ConnectedFixture c(true);
        c.board.on("\1", ScriptedBoard::banner);
        auto command = c.fixture.run("x", 1s);
        QTRY_COMPARE(c.board.transcript(), u"^Ax^D"_s);

        QByteArray watched;
        c.fixture.link->setDeviceCommandInFlight(true);
        c.fixture.link->serial().setDataInterceptor(
            [&](const QByteArray &chunk) { watched += chunk; });
        auto queued = c.fixture.run("y");
        c.board.on("\4", "OK" + ScriptedBoard::reply("y"));
        QCOMPARE(toText(awaited(std::move(command))), timedOut(1));
        QVERIFY2(c.fixture.link->deviceCommandInFlight(),
                 "the command cleared the flag of the run");
        c.board.send("for the run");
        QTRY_COMPARE(watched, "for the run");
        QCOMPARE(c.board.transcript(), u"^Ax^D"_s);

        // The program runs now: no command uses the link, but queued ones must still wait.
        c.fixture.link->serial().setDataInterceptor({});
        c.fixture.isProgramRunning = true;
        c.fixture.link->setDeviceCommandInFlight(false);
        c.fixture.data.clear();
        c.board.send("printed");
        QTRY_COMPARE(c.fixture.data, "printed");
        QCOMPARE(c.board.transcript(), u"^Ax^D"_s);
        c.fixture.isEnding = true;
        c.fixture.isProgramRunning = false;
        c.fixture.link->startNextCommand();
        c.board.send("reply");
        QTRY_COMPARE(c.fixture.data, "printedreply");
        c.fixture.isEnding = false;
        c.fixture.link->startNextCommand();
        QCOMPARE(toText(awaited(std::move(queued))), u"y|"_s);
    }

    void endsACommandThatTheBoardDoesNotAccept()
    {
        PtyPair pty;
        const TestPort port;
        port.linkTo(pty.slavePath());
        LinkFixture fixture;
        QVERIFY(fixture.connectTo(port.path()));
        fixture.link->serial().setWriteDrainTimeout(100ms);
        pty.write(ScriptedBoard::banner);
        const QString error = u"error: The board has accepted no data for 0.1 s"_s;
        QCOMPARE(toText(awaited(fixture.run(QByteArray(1 << 20, 'x').constData()))), error);
        QVERIFY(fixture.isLinkFree());
        QVERIFY(!fixture.log.contains(error));
        // Without a command the error is written to the Shell.
        fixture.link->serial().write(QByteArray(1 << 20, 'x'));
        QTRY_VERIFY(fixture.log.contains(error));
    }

    void recoversFromALossAtEveryByte()
    {
        constexpr qsizetype most = 27 + 2 + 9 + 19; // banner, OK, reply, answer to ^B
        ConnectedFixture c;
        c.board.onProgram = [](const QByteArray &) { return ScriptedBoard::reply("a\r\n", "€"); };
        for (qsizetype bytes = -10; bytes <= most; ++bytes) {
            QTRY_VERIFY(c.fixture.data.endsWith(">>> ")); // the reply to the two Ctrl-C
            c.fixture.data.clear();
            c.fixture.log.clear();
            if (bytes >= 0)
                c.board.vanishAfterSending(bytes);
            else
                c.board.vanishAfterReceiving(bytes + 10); // of ^A print() ^D ^B
            const QString result = toText(awaited(c.fixture.run("print()", 150ms)));
            QVERIFY2(result == lost || result.startsWith(timedOut(0)) || result == u"a\n|€",
                     qPrintable(result));
            QVERIFY(c.fixture.isLinkFree());
            QTRY_COMPARE(c.fixture.log,
                         QStringList({u"lost"_s, u"ended"_s, u"info: Device disconnected."_s}));
            c.board.plugIn();
            QVERIFY(c.fixture.connectTo(c.board.port()));
            QCOMPARE(toText(awaited(c.fixture.run("x"))), u"a\n|€"_s);
        }
    }

    void endsEveryCommandWithItsConnection_data()
    {
        QTest::addColumn<bool>("isUnplugged");
        QTest::addColumn<bool>("isEntered");
        QTest::newRow("unplugged while running") << true << true;
        QTest::newRow("unplugged before the banner") << true << false;
        QTest::newRow("disconnected while running") << false << true;
    }

    void endsEveryCommandWithItsConnection()
    {
        QFETCH(bool, isUnplugged);
        QFETCH(bool, isEntered);
        ConnectedFixture c(true);
        if (isEntered)
            c.board.on("\1", ScriptedBoard::banner);
        auto running = c.fixture.run("x", 20s);
        auto waiting = c.fixture.run("y");
        QTRY_COMPARE(c.board.transcript(), isEntered ? u"^Ax^D"_s : u"^A"_s);
        QElapsedTimer sinceLoss;
        sinceLoss.start();
        if (isUnplugged)
            c.board.vanish();
        else
            c.fixture.link->disconnectDevice();
        QCOMPARE(toText(awaited(std::move(running))), lost);
        QCOMPARE(toText(awaited(std::move(waiting))), u"error: Not connected"_s);
        QVERIFY(c.fixture.isLinkFree());

        if (isUnplugged)
            c.board.plugIn();
        c.board.forget();
        QVERIFY(c.fixture.connectTo(c.board.port()));
        if (!isEntered)
            c.board.on("\1", ScriptedBoard::banner);
        c.board.on("z\4", "OK" + ScriptedBoard::reply("z"));
        QCOMPARE(toText(awaited(c.fixture.run("z"))), u"z|"_s);
        QVERIFY2(sinceLoss.elapsed() < 4000, "the next connection was delayed");
        QTRY_COMPARE(c.board.transcript(), u"^C^C^Az^D^B"_s);
    }

    void resetsTheBoardWhateverItRuns()
    {
        ConnectedFixture c(true);
        c.board.on("\1", ScriptedBoard::banner);
        auto running = c.fixture.run("x", 20s);
        auto waiting = c.fixture.run("y", 20s);
        QTRY_COMPARE(c.board.transcript(), u"^Ax^D"_s);
        auto reset = c.fixture.link->softReset();
        QCOMPARE(toText(awaited(std::move(running))),
                 u"error: "_s + DeviceError::boardReset().message);
        QCOMPARE(awaited(c.fixture.link->softReset()).error().code, ErrorCode::ProgramRunning);
        QTRY_COMPARE(c.board.transcript(), u"^Ax^D^C^C^B^D"_s);
        c.board.on("y\4", "OK" + ScriptedBoard::reply("y"));
        c.board.send("MPY: soft re");
        c.board.send("boot\r\n>>> ");
        QVERIFY(awaited(std::move(reset)));
        QTRY_VERIFY(c.fixture.data.startsWith("MPY: soft reboot"));
        QCOMPARE(toText(awaited(std::move(waiting))), u"y|"_s);

        const auto failed = awaited(c.fixture.link->softReset());
        QCOMPARE(failed.error().code, ErrorCode::TimedOut);
        QVERIFY(c.fixture.isLinkFree());
    }

    void identifiesABoardByItsPortAndId()
    {
        ConnectedFixture c;
        int asked = 0;
        c.board.onProgram = [&](const QByteArray &program) {
            asked += program.contains("unique_id") ? 1 : 0;
            return asked == 1 ? ScriptedBoard::reply("noise__ID__\r\n")
                              : ScriptedBoard::reply("__ID__e6614c775b8f\r\n");
        };
        const auto identity = [&] { return *awaited(c.fixture.link->boardIdentity()); };
        QCOMPARE(identity(), c.board.port());
        QCOMPARE(identity(), c.board.port());
        c.fixture.link->disconnectDevice();
        QVERIFY(!awaited(c.fixture.link->boardIdentity()));
        QVERIFY(c.fixture.connectTo(c.board.port()));
        QCOMPARE(identity(), c.board.port() + u" e6614c775b8f"_s);
        QCOMPARE(asked, 2);
    }

    void resumesEveryCallerWhenItIsDestroyed()
    {
        ConnectedFixture c(true);
        auto running = c.fixture.run("x");
        auto waiting = c.fixture.link->executeOnDevice(u"y"_s, 5s);
        c.fixture.link.reset();
        QVERIFY(running.isReady() && waiting.isReady());
        QCOMPARE(awaited(std::move(running)).error().code, ErrorCode::Closed);
        QCOMPARE(awaited(std::move(waiting)).error().code, ErrorCode::Closed);
    }
};

QTEST_GUILESS_MAIN(tst_DeviceLink)
#include "tst_DeviceLink.moc"
