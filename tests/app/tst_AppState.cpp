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
        const AppFixture shop({u"/nowhere"_s, u"/usr/bin/python3"_s});
        QCOMPARE(shop.lines(0), QStringList{welcome});
        QCOMPARE(shop.state->documents().openFiles().size(), 1);
        QCOMPARE(shop.state->documents().selectedFile()->name(), u"untitled.py"_s);
        QCOMPARE(shop.state->localFiles().localWorkingDir(), QDir::homePath());
        QCOMPARE(shop.state->variablesCaption(), u"local Python"_s);

        QCOMPARE(
            AppFixture({u"/nowhere"_s}).lines(0),
            QStringList({welcome,
                         u"info: ⚠️  Python 3 not found. Install Python from python.org or "
                         "via Homebrew."_s}));
    }

    void runsTheDocumentInTheSession()
    {
        AppFixture shop;
        shop.write(u"x = 6\nprint('h\\x1b[1mällo', end='\\r\\x1b[')\nraise SystemExit(3)"_s);
        shop.run();
        QVERIFY(shop.state->isRunning());
        QTRY_VERIFY(!shop.state->isRunning());
        QCOMPARE(shop.lines(),
                 QStringList({u"info: ▶ Running untitled.py…"_s, u"output: hällo\n\x1b["_s,
                              u"error: SystemExit: 3\n"_s, u"info: ▶ Done."_s}));
        QCOMPARE(shop.table(), u"x:int=6"_s);

        QList<qsizetype> linesAtChanges;
        connect(shop.state.get(), &AppState::isRunningChanged, this,
                [&] { linesAtChanges << shop.lines(5).size(); });
        shop.write(u"print(1)"_s);
        shop.run();
        shop.run();
        const QStringList each{u"output: 1\n"_s, u"info: ▶ Done."_s};
        QTRY_COMPARE(shop.lines(5),
                     QStringList(2, u"info: ▶ Running untitled.py…"_s) + each + each);
        // Of the two ends only the last one is the end of running.
        QCOMPARE(linesAtChanges, QList<qsizetype>({0, 6}));
    }

    void answersTheShellFromTheSession()
    {
        AppFixture shop;
        QSignalSpy changes(&shop.state->variablesStore(), &VariablesStore::variablesChanged);
        for (const char *command : {"", "x = 5", "print(end='a\\r')", "exit(2)"})
            shop.state->submitShell(QString::fromLatin1(command));
        QTRY_COMPARE(changes.size(), 3);
        QCOMPARE(
            shop.lines(),
            QStringList({u"input: >>> x = 5"_s, u"input: >>> print(end='a\\r')"_s,
                         u"input: >>> exit(2)"_s, u"output: a\n"_s, u"error: SystemExit: 2\n"_s}));
        QCOMPARE(shop.table(), u"x:int=5"_s);
    }

    void connectsAndGivesShellLinesToTheBoardAsTheyAre()
    {
        BoardAppFixture shop;
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
        shop.stop();
        QTRY_COMPARE(shop.board.transcript(), u"^C"_s);
    }

    void endsTheStreamAndThePauseWithTheLink()
    {
        for (const bool isLost : {true, false}) {
            BoardAppFixture shop;
            shop.connectBoard();
            shop.board.setMute(true);
            shop.board.send("\036{\"line\": 3}\036\303");
            QTRY_COMPARE(shop.lines().constLast(), u"info: ⏸ Paused at line 3."_s);
            shop.refresh();
            QVERIFY(!shop.state->link().deviceCommandInFlight());
            const qsizetype before = shop.lines(0).size();
            if (isLost)
                shop.board.vanish();
            else
                shop.state->link().disconnectDevice();
            QTRY_VERIFY(!shop.isConnected());
            // The rest of the stream is shown when the board is lost, and otherwise forgotten.
            QCOMPARE(shop.lines(before).join(u'|'),
                     isLost ? u"output: \ufffd|info: Device disconnected."_s
                            : u"info: Disconnected."_s);
            QCOMPARE(shop.state->variablesCaption(), u"local Python"_s);
            shop.board.setMute(false);
            shop.board.plugIn();
            shop.connectBoard();
            shop.board.send("b");
            QTRY_VERIFY(shop.lines().constLast().endsWith(u"b"));
        }
    }
};

QTEST_GUILESS_MAIN(tst_AppState)
#include "tst_AppState.moc"
