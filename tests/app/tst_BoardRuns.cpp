#include "app/AppFixture.h"
#include "support/VirtualBoard.h"

#include <QRegularExpression>
#include <QSignalSpy>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// Programs on real MicroPython, as the user runs them.
class tst_BoardRuns final : public QObject
{
    Q_OBJECT

    VirtualBoard m_board;

    /// The program has ended, the variables are read, and the prompt is back.
    bool isOver(const AppFixture &shop) const
    {
        return shop.isBoardIdle() && shop.text().endsWith(u">>> "_s);
    }

    /// How many numbers the old program has printed; -1 when one is missing.
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
        BoardAppFixture shop;
        QSignalSpy opened(shop.state.get(), &AppState::sourceLineOpened);
        shop.runOnBoard();
        QTRY_VERIFY(shop.isBoardIdle());
        const QUuid sent = shop.state->documents().selectedFileID();
        shop.state->documents().newFile();
        shop.state->openSource(u"<stdin>"_s, 7, 1);
        QCOMPARE(shop.state->documents().selectedFileID(), sent);
        QCOMPARE(opened, QList<QVariantList>({{7}}));
        shop.state->openSource(u"/nowhere/a.py"_s, 1, 0);
        QTRY_COMPARE(shop.lines().last(),
                     u"error: Cannot open /nowhere/a.py: No such file or directory"_s);
    }

    void initTestCase() { QVERIFY2(m_board.start(), qPrintable(m_board.errorText())); }

    void showsOutputThenVariablesThenAnswersTheShell()
    {
        AppFixture shop;
        QVERIFY(shop.state->link().connectDevice(m_board.port()));
        shop.write(u"import sys\nx = 'a' * 600\n_hidden = 1\nprint('hällo')\n"_s);
        shop.run();
        QTRY_VERIFY2(isOver(shop), qPrintable(shop.text()));
        QVERIFY2(shop.text().contains(u"OKhällo\n>"_s), qPrintable(shop.text()));
        QCOMPARE(shop.table(), u"x:str='%1..."_s.arg(QString(499, u'a')));
        shop.state->submitShell(u"print(6 * 7)"_s);
        QTRY_VERIFY2(shop.text().contains(u"\n42\n>>> "_s), qPrintable(shop.text()));
        shop.state->submitShell(u"def f():\n    return 'äöü'\n\nprint(f(), x[:2])"_s);
        QTRY_VERIFY2(shop.text().contains(u"\näöü aa\n>>> "_s), qPrintable(shop.text()));
    }

    void isFreeAfterADebugRunIsStopped()
    {
        AppFixture shop;
        DebugSession &session = shop.state->debugSession();
        QVERIFY(shop.state->link().connectDevice(m_board.port()));
        shop.write(u"print('on')\nwhile True:\n    i = 1\n"_s);
        shop.state->documents().toggleBreakpoint(3);
        shop.state->startDebugRun();
        shop.state->documents().newFile(); // and what is selected later does not matter
        shop.write(u"other"_s);
        QTRY_COMPARE(session.pausedAt(), 3);
        QCOMPARE(shop.state->bottomTab(), AppState::BottomTab::Variables);
        QCOMPARE(shop.state->variablesCaption(), u"stopped at line 3"_s);
        session.debugStep();
        QTRY_COMPARE(session.pausedAt(), 3);
        QVERIFY2(shop.table().contains(u"i:int=1"_s), qPrintable(shop.table()));
        session.debugStop();
        QVERIFY(!session.isDebugging() && shop.isBoardIdle());
        // The variables are read when the board is done, and the Shell works again.
        QTRY_VERIFY2(isOver(shop), qPrintable(shop.text()));
        shop.state->submitShell(u"print(6 * 7)"_s);
        QTRY_VERIFY2(shop.text().contains(u"\n42\n>>> "_s), qPrintable(shop.text()));
        QCOMPARE(shop.lines().filter(u"error"_s), QStringList());
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
        AppFixture shop;
        DebugSession &session = shop.state->debugSession();
        QVERIFY(shop.state->link().connectDevice(m_board.port()));
        QTRY_VERIFY2(isOver(shop), qPrintable(shop.text()));
        shop.write(u"import time\ni = 0\nwhile True:\n    print('old', i)\n    i += 1\n"
                   "    time.sleep_ms(3)\n"_s);
        if (old == u"typed") {
            shop.state->submitShell(shop.state->documents().selectedFile()->content());
        } else if (old == u"paused") {
            shop.state->documents().toggleBreakpoint(6);
            shop.state->startDebugRun();
        } else {
            shop.run();
        }
        QTRY_VERIFY2(old == u"paused" ? session.pausedAt() == 6 : printedNumbers(shop.text()) > 20,
                     qPrintable(shop.text()));
        shop.state->documents().newFile();
        shop.write(u"print('new')\n"_s);
        if (isNextDebugged) {
            shop.state->startDebugRun();
            QTRY_COMPARE(session.pausedAt(), 1);
            session.debugContinue();
        } else {
            shop.run();
        }
        QTRY_VERIFY2(shop.text().contains(u"new\n"_s), qPrintable(shop.text()));
        QTRY_VERIFY2(isOver(shop) && !session.isDebugging(), qPrintable(shop.text()));
        QVERIFY2(printedNumbers(shop.text()) > 0, qPrintable(shop.text()));
        QCOMPARE(shop.text().contains(u"KeyboardInterrupt"), old != u"paused");
        QVERIFY2(!shop.text().contains(u"raw REPL"), qPrintable(shop.text()));
        QCOMPARE(shop.lines().filter(u"error"_s), QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_BoardRuns)
#include "tst_BoardRuns.moc"
