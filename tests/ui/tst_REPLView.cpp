#include "ui/WindowFixture.h"
#include "ui/controls/ElidedLabel.h"
#include "ui/shell/REPLView.h"
#include "ui/shell/TranscriptView.h"

#include <QClipboard>
#include <QDialog>
#include <QScreen>
#include <QScrollBar>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

struct ShellFixture : WindowFixture
{
    explicit ShellFixture(Python python = Python::None)
        : WindowFixture(python)
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
        ShellFixture fixture;
        QVERIFY(fixture.view->inputFocused());
        fixture.type({});
        fixture.type(u"  1 + 1 "_s);
        QCOMPARE(fixture.view->inputText(), QString());
        fixture.type(u"   "_s);
        QCOMPARE(fixture.view->inputText(), u"   "_s);
        QCOMPARE(fixture.lines().filter(u"input: "_s), QStringList{u"input: >>> 1 + 1"_s});
        QCOMPARE(fixture.view->inputHistory(), QStringList{u"1 + 1"_s});
        QCOMPARE(fixture.view->historyIndex(), -1);
    }

    void browsesTheHistory()
    {
        ShellFixture fixture;
        fixture.press(Qt::Key_Up);
        QCOMPARE(fixture.view->inputText(), QString());
        for (const char16_t *command : {u"a", u"b", u"b", u"c"})
            fixture.type(QString::fromUtf16(command));
        const auto expect = [&](Qt::Key key, const char16_t *text, int index) {
            fixture.press(key);
            QCOMPARE(fixture.view->inputText(), QString::fromUtf16(text));
            QCOMPARE(fixture.view->historyIndex(), index);
        };
        expect(Qt::Key_Up, u"c", 0);
        expect(Qt::Key_Up, u"b", 1);
        expect(Qt::Key_Up, u"b", 2);
        expect(Qt::Key_Up, u"a", 3);
        expect(Qt::Key_Up, u"a", 3);
        expect(Qt::Key_Down, u"b", 2);
        fixture.press(Qt::Key_Return); // the entry is added again, and the old one is kept
        QCOMPARE(fixture.view->inputHistory().join(u' '), u"a b b c b"_s);
        QCOMPARE(fixture.view->historyIndex(), -1);
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
        ShellFixture fixture;
        for (const auto &[pasted, text] : cases) {
            fixture.state().shell().clear();
            fixture.paste(pasted);
            QCOMPARE(fixture.view->inputText(), text);
            QCOMPARE(fixture.lines(), QStringList()); // nothing runs before Return
            fixture.press(Qt::Key_Return);
            QCOMPARE(fixture.lastEcho(), text);
            QCOMPARE(fixture.view->inputHistory().last(), text);
        }
    }

    void movesThroughSeveralLinesBeforeTheHistory()
    {
        ShellFixture fixture;
        fixture.type(u"before"_s);
        QTest::keyClicks(fixture.input, u"first"_s);
        fixture.press(Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClicks(fixture.input, u"second"_s);
        QCOMPARE(fixture.view->inputText(), u"first\nsecond"_s);
        fixture.press(Qt::Key_Up);
        QCOMPARE(fixture.view->inputText(), u"first\nsecond"_s);
        QCOMPARE(fixture.input->textCursor().blockNumber(), 0);
        fixture.press(Qt::Key_Up);
        QCOMPARE(fixture.view->inputText(), u"before"_s);
    }

    void growsWithItsLinesAndNoFurther()
    {
        ShellFixture fixture;
        QCoreApplication::processEvents();
        QCOMPARE(fixture.input->parentWidget()->height(), 36);
        const int oneLine = fixture.input->height();
        fixture.paste(u"a\nb\nc"_s);
        QTRY_VERIFY(fixture.input->height() > 2 * oneLine);
        QTest::keyClick(fixture.input, Qt::Key_A, Qt::ControlModifier);
        fixture.paste(u"x\n"_s.repeated(500) + u'y');
        QTRY_VERIFY(fixture.input->height() < 10 * oneLine);
        fixture.press(Qt::Key_Return);
        QTRY_COMPARE(fixture.input->parentWidget()->height(), 36);
    }

    void scrollsToTheEndOnSubmit()
    {
        ShellFixture fixture;
        auto *transcript = fixture.find<TranscriptView>("shellOutput");
        fixture.state().shell().appendOutput(u"line\n"_s.repeated(500));
        QTRY_VERIFY(transcript->isCaughtUp());
        QTest::keyClick(transcript, Qt::Key_Home, Qt::ControlModifier);
        QVERIFY(!transcript->followsEnd());
        fixture.type(u"1"_s);
        const QScrollBar *bar = transcript->verticalScrollBar();
        QTRY_VERIFY(transcript->isCaughtUp() && bar->value() == bar->maximum());
        QVERIFY(bar->maximum() > 400);
        QTest::keyClick(fixture.window().focusWidget(), Qt::Key_PageUp);
        QVERIFY(!transcript->followsEnd());
    }

    void searchesTheHistory()
    {
        ShellFixture fixture;
        for (const char16_t *command : {u"import os", u"os.name", u"os.sep", u"1 + 1"})
            fixture.type(QString::fromUtf16(command));
        QTest::keyClicks(fixture.input, u"OS"_s);
        fixture.press(Qt::Key_R, Qt::ControlModifier); // elsewhere it runs the document
        auto *search = fixture.find<QWidget>("historySearch");
        QDialog other(&fixture.window());
        other.open();
        QTRY_COMPARE(QApplication::activeWindow(), &other);
        other.close();
        fixture.window().activateWindow();
        QTRY_COMPARE(QApplication::activeWindow(), &fixture.window());
        QVERIFY(search->isVisible());
        for (const auto &[key, modifiers] : {std::pair(Qt::Key_R, Qt::ControlModifier),
                                             {Qt::Key_Down, Qt::NoModifier},
                                             {Qt::Key_Up, Qt::NoModifier},
                                             {Qt::Key_Return, Qt::NoModifier}})
            fixture.press(key, modifiers);
        QVERIFY(!search->isVisible() && fixture.view->inputFocused());
        QCOMPARE(fixture.view->inputText(), u"os.name"_s);
        fixture.press(Qt::Key_R, Qt::ControlModifier);
        fixture.press(Qt::Key_Escape);
        QCOMPARE(fixture.view->inputText(), u"os.name"_s);
        QVERIFY(!search->isVisible() && fixture.view->inputFocused());
    }

    void clearsWhileACommandRuns()
    {
        ShellFixture fixture(WindowFixture::Python::Real);
        fixture.type(u"import time; print('early'); time.sleep(0.3); print('late')"_s);
        QTRY_VERIFY(fixture.lines().join(u' ').contains(u"output: early"_s));
        fixture.click("shellClear");
        QCOMPARE(fixture.lines(), QStringList());
        QTRY_COMPARE(fixture.lines(), QStringList{u"output: late\n"_s});
        QTRY_COMPARE(fixture.find<QPlainTextEdit>("shellOutput")->toPlainText(), u"late"_s);
    }

    void repaintsChangedTexts()
    {
        ShellInput input;
        input.setFocusPolicy(Qt::NoFocus); // without a caret that blinks
        ElidedLabel label(Qt::ElideRight);
        using SetText = std::function<void(const QString &)>;
        for (const auto &[widget, setText] :
             {std::pair<QWidget *, SetText>(&input, [&](auto &text) { input.setHint(text); }),
              {&label, [&](auto &text) { label.setText(text); }}}) {
            setText(u"one"_s);
            widget->resize(100, 30);
            widget->show();
            QVERIFY(QTest::qWaitForWindowExposed(widget));
            const auto seen = [&, shown = widget] {
                return shown->screen()->grabWindow(shown->winId()).toImage();
            };
            const QImage before = seen();
            setText(u"two"_s);
            QTRY_VERIFY(seen() != before);
        }
        input.setText(QString(200, u'x')); // its only row has no room for a scroll bar
        input.grab();
        QCoreApplication::processEvents();
        QVERIFY(!input.horizontalScrollBar()->isVisible());
    }

    void stopsWhatRuns()
    {
        ShellFixture fixture(WindowFixture::Python::Real);
        fixture.state().documents().updateSelectedContent(
            u"while True:\n    print('you said ' + input('? '))\n"_s);
        fixture.state().shell().appendOutput(u"old\n"_s.repeated(200));
        auto *transcript = fixture.find<TranscriptView>("shellOutput");
        QTRY_VERIFY(transcript->isCaughtUp());
        transcript->verticalScrollBar()->setValue(0);
        fixture.state().runCurrentFile();
        QVERIFY(transcript->followsEnd());
        const auto asks = [&] { return fixture.state().runner().isWaitingForInput(); };
        QTRY_VERIFY(asks());
        QVERIFY(fixture.input->placeholderText().startsWith(u"The program waits"_s));
        transcript->verticalScrollBar()->setValue(0);
        fixture.type(u" a "_s);
        QTRY_VERIFY(fixture.lines().join(u' ').contains(u"?  a \nyou said  a \n"_s));
        QCOMPARE(fixture.view->inputHistory(), QStringList());
        QTRY_VERIFY(asks());
        QTest::keyClicks(fixture.input, u"x"_s);
        fixture.press(Qt::Key_A, Qt::ControlModifier);
        fixture.press(Qt::Key_C, Qt::ControlModifier); // copies
        QVERIFY(asks());
        fixture.press(Qt::Key_End);
        fixture.press(Qt::Key_C, Qt::ControlModifier);
        QVERIFY(!fixture.state().isRunning());
        QTRY_VERIFY(fixture.lines().join(u' ').contains(u"error: KeyboardInterrupt"_s));
    }
};

QTEST_MAIN(tst_REPLView)
#include "tst_REPLView.moc"
