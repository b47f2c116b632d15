#include "app/AppFixture.h"
#include "support/VirtualBoard.h"

#include <QRegularExpression>
#include <QSignalSpy>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// Runs programs on a real MicroPython by the operations of the user interface.
class tst_BoardRuns final : public QObject
{
    Q_OBJECT

    VirtualBoard m_board;

    /// The program has ended, the variables are read, and the prompt is back.
    bool isOver(const AppFixture &fixture) const
    {
        return fixture.isBoardIdle() && fixture.text().endsWith(u">>> "_s);
    }

    /// How many numbers the old program printed; -1 when one is missing.
    static int printedNumbers(const QString &text)
    {
        int count = 0;
        const QRegularExpression number(u"old (\\d+)\n"_s);
        for (auto matches = number.globalMatch(text); matches.hasNext(); ++count) {
            if (matches.next().captured(1).toInt() != count)
                return -1;
        }
        return count;
    }

private slots:
    void opensTheSourceOfATraceback()
    {
        BoardAppFixture fixture;
        QSignalSpy opened(fixture.state.get(), &AppState::sourceLineOpened);
        fixture.runOnBoard();
        QTRY_VERIFY(fixture.isBoardIdle());
        const QUuid sent = fixture.state->documents().selectedFileID();
        fixture.state->documents().newFile();
        fixture.state->openSource(u"<stdin>"_s, 7, 1);
        QCOMPARE(fixture.state->documents().selectedFileID(), sent);
        QCOMPARE(opened, QList<QVariantList>({{7}}));
        fixture.state->openSource(u"/nowhere/a.py"_s, 1, 0);
        fixture.state->openSource(u"a.py"_s, 1, 0); // not one in the program's working directory
        const auto errors = [&] { return fixture.lines().filter(u"error"_s).join(u'\n'); };
        QTRY_COMPARE(errors(),
                     u"error: Cannot open a.py: it is not on the connected board.\n"
                     "error: Cannot open /nowhere/a.py: No such file or directory"_s);
    }

    /// The helper cannot be installed for the first document, which must not affect the second.
    void debugsTheSecondOfTwoDocuments()
    {
        BoardAppFixture fixture;
        fixture.connectBoard();
        fixture.answer = ScriptedBoard::reply({}, "MemoryError: no room\r\n");
        OpenFiles &documents = fixture.state->documents();
        std::optional<QSet<int>> armed;
        connect(&fixture.state->debugSession(), &DebugSession::started, this,
                [&] { armed = documents.selectedFile()->armedLines(); });
        for (const bool isSecond : {false, true}) {
            documents.newFile();
            fixture.write(u"x = 1\n"_s);
            documents.toggleBreakpoint(1);
            fixture.state->startDebugRun();
            if (!isSecond)
                QTRY_COMPARE(fixture.programs.size(), 1); // whose answer is being sent
            fixture.answer = ScriptedBoard::reply({});
        }
        QTRY_VERIFY2(armed.has_value(), qPrintable(fixture.text()));
        QCOMPARE(*armed, QSet<int>{1});
    }

    void initTestCase() { QVERIFY2(m_board.start(), qPrintable(m_board.errorText())); }

    void showsOutputThenVariablesThenAnswersTheShell()
    {
        AppFixture fixture;
        QVERIFY(fixture.state->link().connectDevice(m_board.port()));
        fixture.write(u"import sys\nx = 'a' * 600\n_hidden = 1\nprint('hällo')\n"_s);
        fixture.run();
        QTRY_VERIFY2(isOver(fixture), qPrintable(fixture.text()));
        QVERIFY2(fixture.text().contains(u"OKhällo\n>"_s), qPrintable(fixture.text()));
        QCOMPARE(fixture.table(), u"x:str='%1..."_s.arg(QString(499, u'a')));
        fixture.state->submitShell(u"print(6 * 7)"_s);
        QTRY_VERIFY2(fixture.text().contains(u"\n42\n>>> "_s), qPrintable(fixture.text()));
        fixture.state->submitShell(u"def f():\n    return 'äöü'\n\nprint(f(), x[:2])"_s);
        QTRY_VERIFY2(fixture.text().contains(u"\näöü aa\n>>> "_s), qPrintable(fixture.text()));
        for (const auto &piece : {u"for i in (8, 9): print('i', i)"_s, u"i * 2"_s}) {
            fixture.state->runPiece(piece, 1);
            QTRY_VERIFY2(isOver(fixture), qPrintable(fixture.text()));
        }
        QVERIFY2(fixture.text().contains(u"i 8\ni 9\n"_s), qPrintable(fixture.text()));
        QVERIFY2(fixture.text().endsWith(u"\n18\n>>> "_s), qPrintable(fixture.text()));
    }

    void isFreeAfterADebugRunIsStopped()
    {
        AppFixture fixture;
        DebugSession &session = fixture.state->debugSession();
        QVERIFY(fixture.state->link().connectDevice(m_board.port()));
        fixture.write(u"print('on')\nwhile True:\n    i = 1\n"_s);
        fixture.state->documents().toggleBreakpoint(3);
        fixture.state->startDebugRun();
        fixture.state->documents().newFile(); // selecting another document has no effect
        fixture.write(u"other"_s);
        QTRY_COMPARE(session.pausedAt(), 3);
        QCOMPARE(fixture.state->bottomTab(), AppState::BottomTab::Variables);
        QCOMPARE(fixture.state->variablesCaption(), u"stopped at line 3"_s);
        session.debugStep();
        QTRY_COMPARE(session.pausedAt(), 3);
        QVERIFY2(fixture.table().contains(u"i:int=1"_s), qPrintable(fixture.table()));
        session.debugStop();
        QVERIFY(!session.isDebugging() && fixture.isBoardIdle());
        // The variables are read after the reply is complete, and the Shell works again.
        QTRY_VERIFY2(isOver(fixture), qPrintable(fixture.text()));
        fixture.state->submitShell(u"print(6 * 7)"_s);
        QTRY_VERIFY2(fixture.text().contains(u"\n42\n>>> "_s), qPrintable(fixture.text()));
        QCOMPARE(fixture.lines().filter(u"error"_s), QStringList());
    }

    void replacesTheProgramOnTheBoard_data()
    {
        QTest::addColumn<QString>("old");
        QTest::addColumn<bool>("isNextDebugged");
        QTest::newRow("running, Run") << u"running"_s << false;
        QTest::newRow("running, Debug") << u"running"_s << true;
        QTest::newRow("paused, Run") << u"paused"_s << false;
        QTest::newRow("typed, Run") << u"typed"_s << false;
        QTest::newRow("typed, Debug") << u"typed"_s << true;
    }

    void replacesTheProgramOnTheBoard()
    {
        QFETCH(QString, old);
        QFETCH(bool, isNextDebugged);
        AppFixture fixture;
        DebugSession &session = fixture.state->debugSession();
        QVERIFY(fixture.state->link().connectDevice(m_board.port()));
        QTRY_VERIFY2(isOver(fixture), qPrintable(fixture.text()));
        fixture.write(u"import time\ni = 0\nwhile True:\n    print('old', i)\n    i += 1\n"
                      "    time.sleep_ms(3)\n"_s);
        if (old == u"typed") {
            fixture.state->submitShell(fixture.state->documents().selectedFile()->content());
        } else if (old == u"paused") {
            fixture.state->documents().toggleBreakpoint(6);
            fixture.state->startDebugRun();
        } else {
            fixture.run();
        }
        QTRY_VERIFY2(old == u"paused" ? session.pausedAt() == 6
                                      : printedNumbers(fixture.text()) > 20,
                     qPrintable(fixture.text()));
        fixture.state->documents().newFile();
        fixture.write(u"print('new')\n"_s);
        if (isNextDebugged) {
            fixture.state->startDebugRun();
            QTRY_COMPARE(session.pausedAt(), 1);
            session.debugContinue();
        } else {
            fixture.run();
        }
        QTRY_VERIFY2(fixture.text().contains(u"new\n"_s), qPrintable(fixture.text()));
        QTRY_VERIFY2(isOver(fixture) && !session.isDebugging(), qPrintable(fixture.text()));
        QVERIFY2(printedNumbers(fixture.text()) > 0, qPrintable(fixture.text()));
        QCOMPARE(fixture.text().contains(u"KeyboardInterrupt"), old != u"paused");
        // A slow board gets a second Ctrl-A and sends its banner again, before the program runs.
        QVERIFY2(!fixture.text().remove(u"raw REPL; CTRL-B to exit\n>OK"_s).contains(u"raw REPL"),
                 qPrintable(fixture.text()));
        QCOMPARE(fixture.lines().filter(u"error"_s), QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_BoardRuns)
#include "tst_BoardRuns.moc"
