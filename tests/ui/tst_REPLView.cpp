#include "Desk.h"
#include "ui/REPLView.h"
#include "ui/TranscriptView.h"

#include <QClipboard>
#include <QScrollBar>

using namespace Korvane;

namespace {

struct ShellDesk : Desk
{
    explicit ShellDesk(Python python = Python::None)
        : Desk(python)
        , input(find<ShellInput>("shellInput"))
        , view(window().findChild<REPLView *>())
    {
        QTest::mouseClick(input->viewport(), Qt::LeftButton);
    }

    void type(const QString &text)
    {
        QTest::keyClicks(input, text);
        press(Qt::Key_Return);
    }
    void paste(const QString &text)
    {
        QGuiApplication::clipboard()->setText(text);
        press(Qt::Key_V, Qt::ControlModifier);
    }
    QStringList echoes()
    {
        QStringList result;
        for (const QString &line : lines()) {
            if (line.startsWith(QStringLiteral("input: ")))
                result << line.mid(7);
        }
        return result;
    }

    ShellInput *input;
    REPLView *view;
};

} // namespace

class tst_REPLView final : public QObject
{
    Q_OBJECT

private slots:
    void submitsTrimmedLines_data();
    void submitsTrimmedLines();
    void browsesTheHistory();
    void keepsPastedLinesApart_data();
    void keepsPastedLinesApart();
    void movesThroughSeveralLinesBeforeTheHistory();
    void growsWithItsLinesAndNoFurther();
    void showsTheEndToWhoSubmits();
    void clearsWhileACommandRuns();
    void stopsWhatRuns();
};

void tst_REPLView::submitsTrimmedLines_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QStringList>("echoes");
    QTest::addColumn<QString>("left");
    QTest::newRow("a command") << QStringLiteral("x = 1")
                               << QStringList{QStringLiteral(">>> x = 1")} << QString();
    QTest::newRow("blanks around it")
        << QStringLiteral("  1 + 1 ") << QStringList{QStringLiteral(">>> 1 + 1")} << QString();
    QTest::newRow("only blanks") << QStringLiteral("   ") << QStringList() << QStringLiteral("   ");
    QTest::newRow("nothing") << QString() << QStringList() << QString();
}

void tst_REPLView::submitsTrimmedLines()
{
    QFETCH(QString, typed);
    QFETCH(QStringList, echoes);
    ShellDesk desk;
    QVERIFY(desk.view->inputFocused());
    desk.type(typed);
    QCOMPARE(desk.echoes(), echoes);
    QTEST(desk.view->inputText(), "left");
    QCOMPARE(desk.view->inputHistory().size(), echoes.size());
    QCOMPARE(desk.view->historyIndex(), -1);
}

void tst_REPLView::browsesTheHistory()
{
    ShellDesk desk;
    desk.press(Qt::Key_Up);
    QCOMPARE(desk.view->inputText(), QString());
    for (const char16_t *command : {u"a", u"b", u"b", u"c"})
        desk.type(QString::fromUtf16(command));
    const auto expect = [&](Qt::Key key, const char16_t *text, int index) {
        desk.press(key);
        QCOMPARE(desk.view->inputText(), QString::fromUtf16(text));
        QCOMPARE(desk.view->historyIndex(), index);
    };
    expect(Qt::Key_Up, u"c", 0);
    expect(Qt::Key_Up, u"b", 1);
    expect(Qt::Key_Up, u"b", 2);
    expect(Qt::Key_Up, u"a", 3);
    expect(Qt::Key_Up, u"a", 3);
    expect(Qt::Key_Down, u"b", 2);
    desk.press(Qt::Key_Return); // what is browsed is added again, and stays where it was
    QCOMPARE(desk.view->inputHistory().join(u' '), QStringLiteral("a b b c b"));
    QCOMPARE(desk.view->historyIndex(), -1);
    expect(Qt::Key_Up, u"b", 0);
    expect(Qt::Key_Down, u"", -1);
    expect(Qt::Key_Down, u"", -1);
}

void tst_REPLView::keepsPastedLinesApart_data()
{
    QTest::addColumn<QString>("pasted");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *title, const char16_t *pasted, const char16_t *text) {
        QTest::newRow(title) << QString::fromUtf16(pasted) << QString::fromUtf16(text);
    };
    row("one line", u"print(1)", u"print(1)");
    row("one line with its end", u"print(1)\r\n", u"print(1)");
    row("several lines", u"a = 1\r\nb = 2\n", u"a = 1\nb = 2");
    row("from inside a function", u"    if x:\n\n        y()\n    z()\n", u"if x:\n\n    y()\nz()");
    row("indented with tabs", u"\t\tif x:\n\t\t\ty()", u"if x:\n\ty()");
    row("blanks that do not break", u"x = 'a\u00a0b'", u"x = 'a\u00a0b'");
}

void tst_REPLView::keepsPastedLinesApart()
{
    QFETCH(QString, pasted);
    QFETCH(QString, text);
    ShellDesk desk;
    desk.paste(pasted);
    QCOMPARE(desk.view->inputText(), text);
    QCOMPARE(desk.lines(), QStringList()); // nothing runs before Return
    desk.press(Qt::Key_Return);
    QCOMPARE(desk.echoes(), QStringList{QStringLiteral(">>> ") + text});
    desk.press(Qt::Key_Up);
    QCOMPARE(desk.view->inputText(), text);
}

void tst_REPLView::movesThroughSeveralLinesBeforeTheHistory()
{
    ShellDesk desk;
    desk.type(QStringLiteral("before"));
    QTest::keyClicks(desk.input, QStringLiteral("first"));
    desk.press(Qt::Key_Return, Qt::ShiftModifier);
    QTest::keyClicks(desk.input, QStringLiteral("second"));
    QCOMPARE(desk.view->inputText(), QStringLiteral("first\nsecond"));
    desk.press(Qt::Key_Up);
    QCOMPARE(desk.view->inputText(), QStringLiteral("first\nsecond"));
    QCOMPARE(desk.input->textCursor().blockNumber(), 0);
    desk.press(Qt::Key_Up);
    QCOMPARE(desk.view->inputText(), QStringLiteral("before"));
}

void tst_REPLView::growsWithItsLinesAndNoFurther()
{
    ShellDesk desk;
    QCoreApplication::processEvents();
    QCOMPARE(desk.input->parentWidget()->height(), 36);
    const int oneLine = desk.input->height();
    desk.paste(QStringLiteral("a\nb\nc"));
    QTRY_VERIFY(desk.input->height() > 2 * oneLine);
    QTest::keyClick(desk.input, Qt::Key_A, Qt::ControlModifier);
    desk.paste(QStringLiteral("x\n").repeated(500) + u'y');
    QTRY_VERIFY(desk.input->height() < 10 * oneLine);
    desk.press(Qt::Key_Return);
    QTRY_COMPARE(desk.input->parentWidget()->height(), 36);
}

void tst_REPLView::showsTheEndToWhoSubmits()
{
    ShellDesk desk;
    auto *transcript = desk.find<TranscriptView>("shellOutput");
    desk.state().shell().appendOutput(QStringLiteral("line\n").repeated(500));
    QTRY_VERIFY(transcript->isCaughtUp());
    QTest::keyClick(transcript, Qt::Key_Home, Qt::ControlModifier);
    QVERIFY(!transcript->followsEnd());
    desk.type(QStringLiteral("1"));
    const QScrollBar *bar = transcript->verticalScrollBar();
    QTRY_VERIFY(transcript->isCaughtUp() && bar->value() == bar->maximum());
    QVERIFY(bar->maximum() > 400);
}

void tst_REPLView::clearsWhileACommandRuns()
{
    ShellDesk desk(Desk::Python::Real);
    desk.type(QStringLiteral("import time; print('early'); time.sleep(0.3); print('late')"));
    QTRY_VERIFY(desk.lines().join(u' ').contains(QStringLiteral("output: early")));
    desk.click("shellClear");
    QCOMPARE(desk.lines(), QStringList());
    QTRY_COMPARE(desk.lines(), QStringList{QStringLiteral("output: late\n")});
    QTRY_COMPARE(desk.find<QPlainTextEdit>("shellOutput")->toPlainText(), QStringLiteral("late"));
}

void tst_REPLView::stopsWhatRuns()
{
    ShellDesk desk(Desk::Python::Real);
    desk.state().documents().updateSelectedContent(
        QStringLiteral("print('begun')\nwhile True:\n    pass\n"));
    desk.press(Qt::Key_R, Qt::ControlModifier);
    QTRY_VERIFY(desk.lines().join(u' ').contains(QStringLiteral("begun")));
    QVERIFY(desk.state().isRunning());
    desk.click("shellStop");
    QVERIFY(!desk.state().isRunning());
    QTRY_VERIFY(desk.lines().join(u' ').contains(QStringLiteral("error: KeyboardInterrupt")));
}

QTEST_MAIN(tst_REPLView)
#include "tst_REPLView.moc"
