#include "app/AppFixture.h"
#include "support/VirtualBoard.h"

using namespace Korvane;
using namespace Qt::StringLiterals;

/// Programs on real MicroPython, as the person runs them.
class tst_BoardRuns final : public QObject
{
    Q_OBJECT

    VirtualBoard m_board;

    /// The program has ended, the variables are read, and the prompt is back.
    bool isOver(const AppFixture &shop) const
    {
        return shop.isBoardIdle() && shop.text().endsWith(u">>> "_s);
    }

private slots:
    void initTestCase() { QVERIFY2(m_board.start(), qPrintable(m_board.errorText())); }

    void showsOutputThenVariablesThenAnswersTheShell()
    {
        AppFixture shop;
        shop.state->link().connectDevice(m_board.port());
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

    void isFreeAfterADebugRunIsStopped_data()
    {
        QTest::addColumn<int>("breakpoint");
        QTest::newRow("paused") << 3;
        QTest::newRow("running") << 5;
    }

    void isFreeAfterADebugRunIsStopped()
    {
        QFETCH(int, breakpoint);
        AppFixture shop;
        DebugSession &session = shop.state->debugSession();
        shop.state->link().connectDevice(m_board.port());
        shop.write(u"print('on')\nwhile True:\n    i = 1\ndef f():\n    pass\n"_s);
        shop.state->documents().toggleBreakpoint(breakpoint);
        shop.state->startDebugRun();
        shop.state->documents().newFile(); // and what is selected later does not matter
        shop.write(u"other"_s);
        const bool isToPause = breakpoint == 3;
        QTRY_VERIFY2(isToPause ? session.pausedAt() == 3 : shop.text().contains(u"OKon\n"_s),
                     qPrintable(shop.text()));
        QCOMPARE(shop.state->bottomTab(), AppState::BottomTab::Variables);
        if (isToPause) {
            QCOMPARE(shop.state->variablesCaption(), u"stopped at line 3"_s);
            session.debugStep();
            QTRY_COMPARE(session.pausedAt(), 3);
            QVERIFY2(shop.table().contains(u"i:int=1"_s), qPrintable(shop.table()));
        }
        session.debugStop();
        QVERIFY(!session.isDebugging() && shop.isBoardIdle());
        // The variables are read when the board is done, and the Shell is heard again.
        QTRY_VERIFY2(isOver(shop), qPrintable(shop.text()));
        QCOMPARE(shop.text().contains(u"KeyboardInterrupt"_s), !isToPause);
        shop.state->submitShell(u"print(6 * 7)"_s);
        QTRY_VERIFY2(shop.text().contains(u"\n42\n>>> "_s), qPrintable(shop.text()));
        QCOMPARE(shop.lines().filter(u"error"_s), QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_BoardRuns)
#include "tst_BoardRuns.moc"
