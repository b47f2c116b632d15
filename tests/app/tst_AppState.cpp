#include "Workshop.h"
#include "app/AssistantServer.h"
#include "support/ScriptedBoard.h"

#include <QDir>
#include <QSignalSpy>

#include <functional>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

const QString welcome = u"info: Korvane — connect a device or run Python locally."_s;
const QByteArray boardVariables = R"(__VARS__[{"n":"a","t":"int","v":"1"}])"_ba;

class RecordedServer final : public AssistantServer
{
public:
    explicit RecordedServer(AppState &state)
        : m_state(state)
    {
    }
    void start() override { m_state.shell().appendInfo(u"listening"_s); }
    void stop() override { }
    bool isRunning() const override { return false; }

private:
    AppState &m_state;
};

/// A workshop with a board that knows one variable, and runs all other programs as told.
struct BoardWorkshop : Workshop
{
    BoardWorkshop()
    {
        board.onProgram = [this](const QByteArray &program) {
            if (program.contains("__LS__"))
                return ScriptedBoard::answerWithoutFiles(program);
            return program.contains("__VARS__") ? ScriptedBoard::reply(boardVariables) : answer;
        };
    }
    void connectBoard() { connectTo(board); }
    void runOnBoard()
    {
        if (!isConnected())
            connectBoard();
        write(u"work()"_s);
        run();
    }
    bool isConnected() const { return state->link().connectionState().isConnected(); }

    ScriptedBoard board;
    QByteArray answer = ScriptedBoard::reply("done\r\n");
};

using Step = std::function<void(BoardWorkshop &)>;

} // namespace

Q_DECLARE_METATYPE(Step)

class tst_AppState final : public QObject
{
    Q_OBJECT

private slots:
    void startsWithOneDocumentAndAWelcome_data()
    {
        QTest::addColumn<QStringList>("interpreters");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("with Python")
            << QStringList{u"/nowhere"_s, u"/usr/bin/python3"_s} << QStringList{welcome};
        QTest::newRow("without")
            << QStringList{u"/nowhere"_s}
            << QStringList{
                   welcome,
                   u"info: ⚠️  Python 3 not found. Install Python from python.org or via "
                   "Homebrew."_s};
    }

    void startsWithOneDocumentAndAWelcome()
    {
        QFETCH(QStringList, interpreters);
        Workshop shop(interpreters);
        QTEST(shop.lines(0), "lines");
        QCOMPARE(shop.state->documents().openFiles().size(), 1);
        QCOMPARE(shop.state->documents().selectedFile()->name, u"untitled.py"_s);
        QCOMPARE(shop.state->localFiles().localWorkingDir(), QDir::homePath());
        QCOMPARE(shop.state->variablesCaption(), u"local Python"_s);
        QVERIFY(!shop.state->assistantServer());
    }

    void startsTheServerWhenThePersonWantsIt()
    {
        for (const bool enabled : {false, true}) {
            MemorySettings settings;
            settings.setFlag(Settings::serverEnabled, enabled);
            ScriptedQuestions questions;
            AppState state({
                .settings = settings,
                .questions = questions,
                .makeServer = [](AppState &app) { return std::make_unique<RecordedServer>(app); },
            });
            QVERIFY(state.assistantServer());
            QCOMPARE(describe(state.shell().replLines()).mid(1),
                     QStringList(enabled ? 1 : 0, u"info: listening"_s));
        }
    }

    void runsTheDocumentInTheSession_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QStringList>("shown");
        QTest::addColumn<QString>("table");
        QTest::newRow("succeeds") << u"print('hällo')\nx = 5\n"_s
                                  << QStringList{u"output: hällo\n"_s} << u"x:int=5"_s;
        QTest::newRow("fails") << u"print('a')\nx = 6\nraise SystemExit(3)"_s
                               << QStringList{u"output: a\n"_s, u"error: SystemExit: 3\n"_s}
                               << u"x:int=6"_s;
        QTest::newRow("prints nothing") << u"pass"_s << QStringList() << u""_s;
        QTest::newRow("ends with what has to wait")
            << u"print('\\x1b[1m50%', end='\\r\\x1b[')"_s << QStringList{u"output: 50%\n\x1b["_s}
            << u""_s;
    }

    void runsTheDocumentInTheSession()
    {
        QFETCH(QString, source);
        QFETCH(QStringList, shown);
        Workshop shop;
        shop.write(source);
        shop.run();
        QVERIFY(shop.state->isRunning());
        QTRY_VERIFY(!shop.state->isRunning());
        QCOMPARE(shop.lines(),
                 QStringList{u"info: ▶ Running untitled.py…"_s} + shown
                     + QStringList{u"info: ▶ Done."_s});
        QTEST(shop.table(), "table");
    }

    void runsNothingOfAnEmptyDocument()
    {
        BoardWorkshop shop;
        shop.run();
        shop.connectBoard();
        shop.run();
        QVERIFY(!shop.state->isRunning());
        QCOMPARE(shop.lines().size(), 1); // the connection's
    }

    void stopsALocalRun()
    {
        Workshop shop;
        shop.write(u"print('on')\nwhile True: pass"_s);
        shop.run();
        QTRY_VERIFY(shop.text().contains(u"on\n"_s));
        shop.state->stopRun();
        QVERIFY(!shop.state->isRunning());
        QTRY_COMPARE(shop.lines(3),
                     QStringList({u"error: KeyboardInterrupt\n"_s, u"info: ▶ Done."_s}));
    }

    void runsOneAfterTheOther()
    {
        Workshop shop;
        QList<qsizetype> linesAtChanges;
        connect(shop.state.get(), &AppState::isRunningChanged, this,
                [&] { linesAtChanges << shop.lines().size(); });
        shop.write(u"print(1)"_s);
        shop.run();
        shop.run();
        const QStringList each{u"output: 1\n"_s, u"info: ▶ Done."_s};
        QTRY_COMPARE(shop.lines(), QStringList(2, u"info: ▶ Running untitled.py…"_s) + each + each);
        // Of the two ends only the last one is the end of running.
        QCOMPARE(linesAtChanges, QList<qsizetype>({0, 6}));
    }

    void answersTheShellFromTheSession_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("table");
        QTest::newRow("expression") << u"1+1"_s << u"output: 2\n"_s << u""_s;
        QTest::newRow("assignment") << u"x = 5"_s << QString() << u"x:int=5"_s;
        QTest::newRow("waiting line end") << u"print(end='a\\r')"_s << u"output: a\n"_s << u""_s;
        QTest::newRow("exit") << u"exit(2)"_s << u"error: SystemExit: 2\n"_s << u""_s;
    }

    void answersTheShellFromTheSession()
    {
        QFETCH(QString, command);
        QFETCH(QString, answer);
        Workshop shop;
        QSignalSpy changes(&shop.state->variablesFlow(), &VariablesFlow::variablesChanged);
        shop.state->submitShell({});
        QCOMPARE(shop.lines(), QStringList());
        shop.state->submitShell(command);
        QCOMPARE(shop.lines(), QStringList{u"input: >>> "_s + command});
        QTRY_COMPARE(changes.size(), 1);
        QCOMPARE(shop.lines(2), answer.isNull() ? QStringList() : QStringList{answer});
        QTEST(shop.table(), "table");
    }

    void connectsAndGivesShellLinesToTheBoardAsTheyAre()
    {
        BoardWorkshop shop;
        shop.connectBoard();
        QCOMPARE(shop.lines().constFirst(), u"info: Connected to "_s + shop.board.port());
        QCOMPARE(shop.state->sidebarTab(), AppState::SidebarTab::Device);
        QCOMPARE(shop.state->variablesCaption(), shop.board.port());
        shop.board.setMute(true);
        shop.board.forget();
        shop.state->submitShell(QString(QChar(0xd800)));
        shop.state->submitShell(u"print('ä')"_s);
        QTRY_COMPARE(shop.board.received(), "print('ä')\r\n"_ba);
        QCOMPARE(shop.lines().filter(u"input: "_s).size(), 2);
        shop.board.forget();
        shop.state->stopRun();
        QTRY_COMPARE(shop.board.transcript(), u"^C"_s);
    }

    void runsOnTheBoardAndReadsItsVariables()
    {
        BoardWorkshop shop;
        shop.answer = ScriptedBoard::reply("done\r\n", "oops\r\n");
        shop.runOnBoard();
        QVERIFY(!shop.state->isRunning());
        QTRY_COMPARE(shop.table(), u"a:int=1"_s);
        QTRY_VERIFY(shop.text().endsWith(u">>> "_s)); // left the raw REPL
        QVERIFY2(shop.text().contains(u"OKdone\noops\n>"_s), qPrintable(shop.text()));
        QVERIFY(shop.board.transcript().startsWith(u"^Awork()^D^Aimport json"_s));
    }

    void showsAPause()
    {
        BoardWorkshop shop;
        shop.answer = "\x1e{\"line\": 3, \"vars\": [{\"n\":\"i\",\"t\":\"int\",\"v\":\"7\"}]}\x1e";
        shop.runOnBoard();
        QTRY_COMPARE(shop.lines().constLast(), u"info: ⏸ Paused at line 3."_s);
        QCOMPARE(shop.table(), u"i:int=7"_s);
        QCOMPARE(shop.state->bottomTab(), AppState::BottomTab::Variables);
        QCOMPARE(shop.state->variablesCaption(), u"stopped at line 3"_s);
        shop.refresh();
        QVERIFY(!shop.state->link().deviceCommandInFlight());
        shop.board.send("\x04\x04>");
        QTRY_COMPARE(shop.table(), u"a:int=1"_s);
        QVERIFY(shop.text().contains(u"info: ▶ Program finished."_s));
        QCOMPARE(shop.state->variablesCaption(), shop.board.port());
    }

    void endsTheStreamAndThePauseWithTheLink_data()
    {
        QTest::addColumn<bool>("lost");
        QTest::addColumn<QStringList>("shown");
        QTest::newRow("lost: the rest is shown")
            << true << QStringList{u"output: \ufffd"_s, u"info: Device disconnected."_s};
        QTest::newRow("disconnected: the rest is forgotten")
            << false << QStringList{u"info: Disconnected."_s};
    }

    void endsTheStreamAndThePauseWithTheLink()
    {
        QFETCH(bool, lost);
        BoardWorkshop shop;
        shop.connectBoard();
        shop.board.setMute(true);
        shop.board.send("\036{\"line\": 3}\036\303");
        QTRY_COMPARE(shop.lines().constLast(), u"info: ⏸ Paused at line 3."_s);
        const qsizetype before = shop.lines(0).size();
        if (lost)
            shop.board.vanish();
        else
            shop.state->link().disconnectDevice();
        QTRY_VERIFY(!shop.isConnected());
        QTEST(shop.lines(before), "shown");
        QCOMPARE(shop.state->variablesCaption(), u"local Python"_s);
        shop.board.setMute(false);
        shop.board.plugIn();
        shop.connectBoard();
        shop.board.send("b");
        QTRY_VERIFY(shop.lines().constLast().endsWith(u"b"));
    }

    void losesTheBoardAtAnyMomentAndTakesItBack_data()
    {
        QTest::addColumn<int>("bytes"); // that the board takes before its cable is pulled
        QTest::newRow("before the entry") << 0;
        QTest::newRow("entering") << 1;
        QTest::newRow("within the program") << 4;
        QTest::newRow("before the program runs") << 7;
        QTest::newRow("while it runs") << 8;
        QTest::newRow("entering again") << 9;
        QTest::newRow("within the variables script") << 200;
        QTest::newRow("while the script runs") << 10 + 364;
    }

    void losesTheBoardAtAnyMomentAndTakesItBack()
    {
        QFETCH(int, bytes);
        BoardWorkshop shop;
        shop.connectBoard();
        shop.board.vanishAfterReceiving(bytes);
        shop.runOnBoard();
        QTRY_VERIFY(!shop.isConnected());
        QCOMPARE(shop.lines().constLast(), u"info: Device disconnected."_s);
        QVERIFY(!shop.state->programRun().deviceProgramRunning());
        QVERIFY(!shop.state->isRunning());
        const qsizetype before = shop.lines(0).size();

        shop.board.plugIn();
        shop.state->link().connectDevice(shop.board.port());
        QVERIFY(shop.isConnected());
        shop.run();
        QTRY_VERIFY2(shop.lines(before).join(u'\n').contains(u"OKdone\n>"_s),
                     qPrintable(shop.text()));
        QCOMPARE(shop.lines(before).filter(u"error: "_s), QStringList());
        QCOMPARE(shop.lines().count(u"info: Device disconnected."_s), 1);
    }

    void losesTheBoardWhileItIsListed()
    {
        for (const int bytes : {0, 2, 50}) {
            BoardWorkshop shop;
            shop.board.vanishAfterReceiving(bytes);
            shop.state->link().connectDevice(shop.board.port());
            QTRY_VERIFY(!shop.isConnected());
            QCOMPARE(shop.lines().constLast(), u"info: Device disconnected."_s);
        }
    }

    void quitsAtAnyMoment_data()
    {
        QTest::addColumn<Step>("reach");
        const auto row = [](const char *name, Step step) { QTest::newRow(name) << step; };
        row("at once", [](BoardWorkshop &) {});
        row("local run not started", [](BoardWorkshop &shop) {
            shop.write(u"pass"_s);
            shop.run();
        });
        const auto runLocally = [](BoardWorkshop &shop) {
            shop.write(u"print('on')\nimport time\ntime.sleep(1)"_s);
            shop.run();
            QTRY_VERIFY(shop.text().contains(u"on\n"_s));
        };
        row("local run", runLocally);
        row("local run being stopped", [=](BoardWorkshop &shop) {
            runLocally(shop);
            shop.state->stopRun();
        });
        row("others wait for the session", [=](BoardWorkshop &shop) {
            runLocally(shop);
            shop.state->submitShell(u"1"_s);
            shop.refresh();
        });
        row("session restarting", [=](BoardWorkshop &shop) {
            runLocally(shop);
            shop.state->variablesFlow().restartLocalSession();
        });
        row("board entering", [](BoardWorkshop &shop) {
            shop.connectBoard();
            shop.board.setMute(true);
            shop.runOnBoard();
            QTRY_VERIFY(shop.board.received().contains('\x01'));
        });
        row("board running", [](BoardWorkshop &shop) {
            shop.answer = "on\r\n\xc3";
            shop.runOnBoard();
            QTRY_VERIFY(shop.text().contains(u"on\n"_s));
        });
        row("board command waits behind another", [](BoardWorkshop &shop) {
            shop.connectBoard();
            shop.board.setMute(true);
            shop.refresh();
            const auto second = shop.state->link().executeOnDevice(u"1"_s, std::chrono::seconds(9));
            QTRY_VERIFY(shop.board.received().contains('\x01'));
        });
        row("board lost within a command", [](BoardWorkshop &shop) {
            shop.connectBoard();
            shop.board.vanishAfterReceiving(100);
            shop.refresh();
            QTRY_VERIFY(!shop.isConnected());
        });
    }

    /// Nothing is left to look at then: what is wrong shows as a crash, or as a leaked coroutine at
    /// the end of the test.
    void quitsAtAnyMoment()
    {
        QFETCH(Step, reach);
        BoardWorkshop shop;
        reach(shop);
        QVERIFY(!QTest::currentTestFailed());
        shop.state.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
};

QTEST_GUILESS_MAIN(tst_AppState)
#include "tst_AppState.moc"
