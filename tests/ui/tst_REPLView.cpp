#include "Desk.h"
#include "ui/REPLView.h"
#include "ui/TranscriptView.h"

#include <QClipboard>
#include <QScrollBar>

using namespace Korvane;
using namespace Qt::StringLiterals;

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
    QString lastEcho() { return lines().filter(u"input: "_s).value(0).mid(11); }

    ShellInput *input;
    REPLView *view;
};

} // namespace

class tst_REPLView final : public QObject
{
    Q_OBJECT

private slots:
    void submitsTrimmedLines()
    {
        ShellDesk desk;
        QVERIFY(desk.view->inputFocused());
        desk.type({});
        desk.type(u"  1 + 1 "_s);
        QCOMPARE(desk.view->inputText(), QString());
        desk.type(u"   "_s);
        QCOMPARE(desk.view->inputText(), u"   "_s);
        QCOMPARE(desk.lines().filter(u"input: "_s), QStringList{u"input: >>> 1 + 1"_s});
        QCOMPARE(desk.view->inputHistory(), QStringList{u"1 + 1"_s});
        QCOMPARE(desk.view->historyIndex(), -1);
    }

    void browsesTheHistory()
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
        QCOMPARE(desk.view->inputHistory().join(u' '), u"a b b c b"_s);
        QCOMPARE(desk.view->historyIndex(), -1);
        expect(Qt::Key_Up, u"b", 0);
        expect(Qt::Key_Down, u"", -1);
        expect(Qt::Key_Down, u"", -1);
    }

    void keepsPastedLinesApart()
    {
        const QList<std::pair<QString, QString>> cases{
            {u"print(1)\r\n"_s, u"print(1)"_s},
            {u"a = 1\r\nb = 2\n"_s, u"a = 1\nb = 2"_s},
            {u"    if x:\n\n        y()\n    z()\n"_s, u"if x:\n\n    y()\nz()"_s},
            {u"\t\tif x:\n\t\t\ty()"_s, u"if x:\n\ty()"_s},
            {u"x = 'a\u00a0b'"_s, u"x = 'a\u00a0b'"_s},
        };
        ShellDesk desk;
        for (const auto &[pasted, text] : cases) {
            desk.state().shell().clear();
            desk.paste(pasted);
            QCOMPARE(desk.view->inputText(), text);
            QCOMPARE(desk.lines(), QStringList()); // nothing runs before Return
            desk.press(Qt::Key_Return);
            QCOMPARE(desk.lastEcho(), text);
            QCOMPARE(desk.view->inputHistory().last(), text);
        }
    }

    void movesThroughSeveralLinesBeforeTheHistory()
    {
        ShellDesk desk;
        desk.type(u"before"_s);
        QTest::keyClicks(desk.input, u"first"_s);
        desk.press(Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClicks(desk.input, u"second"_s);
        QCOMPARE(desk.view->inputText(), u"first\nsecond"_s);
        desk.press(Qt::Key_Up);
        QCOMPARE(desk.view->inputText(), u"first\nsecond"_s);
        QCOMPARE(desk.input->textCursor().blockNumber(), 0);
        desk.press(Qt::Key_Up);
        QCOMPARE(desk.view->inputText(), u"before"_s);
    }

    void growsWithItsLinesAndNoFurther()
    {
        ShellDesk desk;
        QCoreApplication::processEvents();
        QCOMPARE(desk.input->parentWidget()->height(), 36);
        const int oneLine = desk.input->height();
        desk.paste(u"a\nb\nc"_s);
        QTRY_VERIFY(desk.input->height() > 2 * oneLine);
        QTest::keyClick(desk.input, Qt::Key_A, Qt::ControlModifier);
        desk.paste(u"x\n"_s.repeated(500) + u'y');
        QTRY_VERIFY(desk.input->height() < 10 * oneLine);
        desk.press(Qt::Key_Return);
        QTRY_COMPARE(desk.input->parentWidget()->height(), 36);
    }

    void showsTheEndToWhoSubmits()
    {
        ShellDesk desk;
        auto *transcript = desk.find<TranscriptView>("shellOutput");
        desk.state().shell().appendOutput(u"line\n"_s.repeated(500));
        QTRY_VERIFY(transcript->isCaughtUp());
        QTest::keyClick(transcript, Qt::Key_Home, Qt::ControlModifier);
        QVERIFY(!transcript->followsEnd());
        desk.type(u"1"_s);
        const QScrollBar *bar = transcript->verticalScrollBar();
        QTRY_VERIFY(transcript->isCaughtUp() && bar->value() == bar->maximum());
        QVERIFY(bar->maximum() > 400);
    }

    void clearsWhileACommandRuns()
    {
        ShellDesk desk(Desk::Python::Real);
        desk.type(u"import time; print('early'); time.sleep(0.3); print('late')"_s);
        QTRY_VERIFY(desk.lines().join(u' ').contains(u"output: early"_s));
        desk.click("shellClear");
        QCOMPARE(desk.lines(), QStringList());
        QTRY_COMPARE(desk.lines(), QStringList{u"output: late\n"_s});
        QTRY_COMPARE(desk.find<QPlainTextEdit>("shellOutput")->toPlainText(), u"late"_s);
    }

    void stopsWhatRuns()
    {
        ShellDesk desk(Desk::Python::Real);
        desk.state().documents().updateSelectedContent(
            u"print('begun')\nwhile True:\n    pass\n"_s);
        desk.press(Qt::Key_R, Qt::ControlModifier);
        QTRY_VERIFY(desk.lines().join(u' ').contains(u"begun"_s));
        QVERIFY(desk.state().isRunning());
        desk.click("shellStop");
        QVERIFY(!desk.state().isRunning());
        QTRY_VERIFY(desk.lines().join(u' ').contains(u"error: KeyboardInterrupt"_s));
    }
};

QTEST_MAIN(tst_REPLView)
#include "tst_REPLView.moc"
