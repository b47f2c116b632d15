#include "app/AppFixture.h"
#include "support/ScriptedBoard.h"

#include <QDir>
#include <QSignalSpy>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

const QString welcome = u"info: Korvane — connect a device or run Python locally."_s;

} // namespace

class tst_AppState final : public QObject
{
    Q_OBJECT

private slots:
    void startsWithOneDocumentAndAWelcome()
    {
        const AppFixture fixture({u"/nowhere"_s, u"/usr/bin/python3"_s});
        QCOMPARE(fixture.lines(0), QStringList{welcome});
        QCOMPARE(fixture.state->documents().openFiles().size(), 1);
        QCOMPARE(fixture.state->documents().selectedFile()->name(), u"untitled.py"_s);
        QCOMPARE(fixture.state->localFiles().localWorkingDir(), QDir::homePath());
        QCOMPARE(fixture.state->variablesCaption(), u"local Python"_s);

        QCOMPARE(
            AppFixture({u"/nowhere"_s}).lines(0),
            QStringList({welcome,
                         u"info: ⚠️  Python 3 not found. Install Python from python.org or "
                         "via Homebrew."_s}));
    }

    void runsTheDocumentInTheSession()
    {
        AppFixture fixture;
        fixture.write(u"x = 6\nprint('h\\x1b[1mällo', end='\\r\\x1b[')\nraise SystemExit(3)"_s);
        fixture.run();
        QVERIFY(fixture.state->isRunning());
        QTRY_VERIFY(!fixture.state->isRunning());
        QCOMPARE(fixture.lines(),
                 QStringList({u"info: ▶ Running untitled.py…"_s, u"output: hällo\n\x1b["_s,
                              u"error: SystemExit: 3\n"_s, u"info: ▶ Done."_s}));
        QCOMPARE(fixture.table(), u"x:int=6"_s);

        QList<qsizetype> linesAtChanges;
        connect(fixture.state.get(), &AppState::isRunningChanged, this,
                [&] { linesAtChanges << fixture.lines(5).size(); });
        fixture.write(u"print(1)"_s);
        fixture.run();
        fixture.run();
        const QStringList each{u"output: 1\n"_s, u"info: ▶ Done."_s};
        QTRY_COMPARE(fixture.lines(5),
                     QStringList(2, u"info: ▶ Running untitled.py…"_s) + each + each);
        // isRunning changes only at the end of the second run.
        QCOMPARE(linesAtChanges, QList<qsizetype>({0, 6}));
    }

    void answersTheShellFromTheSession()
    {
        AppFixture fixture;
        QSignalSpy changes(&fixture.state->variablesStore(), &VariablesStore::variablesChanged);
        for (const char *command : {"", "x = 5", "print(end='a\\r')", "exit(2)"})
            fixture.state->submitShell(QString::fromLatin1(command));
        QTRY_COMPARE(changes.size(), 3);
        QCOMPARE(
            fixture.lines(),
            QStringList({u"input: >>> x = 5"_s, u"input: >>> print(end='a\\r')"_s,
                         u"input: >>> exit(2)"_s, u"output: a\n"_s, u"error: SystemExit: 2\n"_s}));
        QCOMPARE(fixture.table(), u"x:int=5"_s);
    }

    void connectsAndGivesShellLinesToTheBoardAsTheyAre()
    {
        BoardAppFixture fixture;
        fixture.connectBoard();
        QCOMPARE(fixture.lines().constFirst(), u"info: Connected to "_s + fixture.board.port());
        QCOMPARE(fixture.state->sidebarTab(), AppState::SidebarTab::Device);
        QCOMPARE(fixture.state->variablesCaption(), fixture.board.port());
        fixture.board.setMute(true);
        fixture.board.forget();
        fixture.state->submitShell(QString(QChar(0xd800)));
        fixture.state->submitShell(u"print('ä')"_s);
        QTRY_COMPARE(fixture.board.received(), "print('ä')\r\n"_ba);
        QCOMPARE(fixture.lines().filter(u"input: "_s).size(), 2);
        fixture.board.forget();
        fixture.stop();
        QTRY_COMPARE(fixture.board.transcript(), u"^C"_s);
    }

    void endsTheStreamAndThePauseWithTheLink()
    {
        for (const bool isLost : {true, false}) {
            BoardAppFixture fixture;
            fixture.connectBoard();
            fixture.board.setMute(true);
            fixture.board.send("\036{\"line\": 3}\036\303");
            QTRY_COMPARE(fixture.lines().constLast(), u"info: ⏸ Paused at line 3."_s);
            fixture.refresh();
            QVERIFY(!fixture.state->link().deviceCommandInFlight());
            const qsizetype before = fixture.lines(0).size();
            if (isLost)
                fixture.board.vanish();
            else
                fixture.state->link().disconnectDevice();
            QTRY_VERIFY(!fixture.isConnected());
            // The rest of the stream is shown when the board is lost, and otherwise discarded.
            QCOMPARE(fixture.lines(before).join(u'|'),
                     isLost ? u"output: \ufffd|info: Device disconnected."_s
                            : u"info: Disconnected."_s);
            QCOMPARE(fixture.state->variablesCaption(), u"local Python"_s);
            fixture.board.setMute(false);
            fixture.board.plugIn();
            fixture.connectBoard();
            fixture.board.send("b");
            QTRY_VERIFY(fixture.lines().constLast().endsWith(u"b"));
        }
    }
};

QTEST_GUILESS_MAIN(tst_AppState)
#include "tst_AppState.moc"
