#include "app/ShellTranscript.h"
#include "ui/shell/TranscriptView.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

#include <memory>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

struct TranscriptFixture
{
    TranscriptFixture()
        : view(std::make_unique<TranscriptView>(shell))
    {
        view->resize(600, 300);
        view->show();
        if (!QTest::qWaitForWindowExposed(view.get()))
            qFatal("not exposed");
    }

    void print(const QString &text) { shell.appendOutput(text); }
    void printLines(int count)
    {
        for (int i = 0; i < count; ++i)
            print(u"line %1\n"_s.arg(i));
        QTRY_VERIFY(view->isCaughtUp());
    }
    QString copied()
    {
        view->selectAll();
        view->copy();
        return QGuiApplication::clipboard()->text();
    }
    QScrollBar &bar() { return *view->verticalScrollBar(); }
    bool isAtEnd() { return bar().value() == bar().maximum(); }

    ShellTranscript shell;
    std::unique_ptr<TranscriptView> view;
};

} // namespace

class tst_TranscriptView final : public QObject
{
    Q_OBJECT

private slots:
    void opensWhatATracebackNames()
    {
        TranscriptFixture pane;
        QStringList asked;
        connect(pane.view.get(), &TranscriptView::sourceRequested, pane.view.get(),
                [&asked](const QString &file, int line, int run) {
                    asked << u"%1 %2 %3"_s.arg(file).arg(line).arg(run);
                });
        QVERIFY(!pane.view->followNextLink());
        pane.shell.beginRun();
        pane.shell.appendLine(u"Traceback\n  File \"a.py\", line 2, in f\n    x\nE"_s,
                              REPLLine::Kind::Error);
        pane.shell.beginRun();
        pane.print(u"  File \"<stdin>\", line 31, in <module>\r\nlast\r\n"_s);
        QTRY_VERIFY(pane.view->isCaughtUp());
        QVERIFY(pane.view->followNextLink() && pane.view->followNextLink());
        QVERIFY(!pane.view->followNextLink());
        QCOMPARE(asked, QStringList({u"<stdin> 31 2"_s, u"a.py 2 1"_s}));

        QTextCursor caret(pane.view->document()->findBlockByNumber(1));
        pane.view->setTextCursor(caret);
        QTest::keyClick(pane.view.get(), Qt::Key_Return);
        caret.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor, 10);
        const QPoint point = pane.view->cursorRect(caret).center();
        QTest::mouseMove(pane.view->viewport(), point);
        QCOMPARE(pane.view->viewport()->cursor().shape(), Qt::PointingHandCursor);
        QTest::mouseClick(pane.view->viewport(), Qt::LeftButton, {}, point);
        QTest::mouseClick(pane.view->viewport(), Qt::LeftButton, {}, point + QPoint(400, 0));
        QCOMPARE(asked.mid(2), QStringList({u"a.py 2 1"_s, u"a.py 2 1"_s}));
    }

    void removesTheOldestText()
    {
        TranscriptFixture pane;
        pane.shell.setLimit(10'000);
        pane.printLines(300);
        pane.bar().setValue(200);
        const QString top = pane.view->cursorForPosition({10, 4}).block().text();
        pane.printLines(2'000);
        QVERIFY(pane.view->document()->characterCount() < 11'500);
        QVERIFY(pane.copied().endsWith(u"line 1998\nline 1999"_s));
        QVERIFY(!pane.copied().contains(top));
    }

    void copiesWhatWasPrinted_data()
    {
        QTest::addColumn<QStringList>("printed"); // null means an info line in between
        QTest::addColumn<QString>("copied");
        const QString manyLines = u"ein Satz mit Umlauten: äöü\n"_s.repeated(20'000);
        const QString emptyLines = u"\n"_s.repeated(100'000);
        const QString pairs = u"x"_s + u"🌍"_s.repeated(5'000);
        QTest::newRow("lines in pieces")
            << QStringList{u"a\nb"_s, u"c\n"_s, u"\nd"_s} << u"a\nbc\n\nd"_s;
        QTest::newRow("lines of several kinds")
            << QStringList{u"a\n"_s, {}, u"b\n"_s} << u"a\n▶ Done.\nb"_s;
        QTest::newRow("characters that the document keeps for itself")
            << QStringList{u"a\u00a0b\tc\u2028d\u2029e\ufdd0f\ufffcg"_s}
            << u"a\u00a0b\tc\nd\ne\ufffdf\ufffdg"_s;
        QTest::newRow("pairs of surrogates at every border") << QStringList{pairs} << pairs;
        QTest::newRow("a flood of lines")
            << QStringList{manyLines, u"end"_s} << manyLines + u"end"_s;
        QTest::newRow("a flood of empty lines")
            << QStringList{emptyLines, u"end"_s} << emptyLines + u"end"_s;
    }

    void copiesWhatWasPrinted()
    {
        QFETCH(QStringList, printed);
        QFETCH(QString, copied);
        TranscriptFixture pane;
        for (const QString &text : printed) {
            if (text.isNull())
                pane.shell.appendInfo(u"▶ Done."_s);
            else
                pane.print(text);
            if (text.size() < 100) // also when each piece is taken over by itself
                QTRY_VERIFY(pane.view->isCaughtUp());
        }
        QTRY_VERIFY(pane.view->isCaughtUp());
        QCOMPARE(pane.copied(), copied);

        // From within one line into another.
        QTextCursor part(pane.view->document());
        part.setPosition(1);
        part.setPosition(4, QTextCursor::KeepAnchor);
        pane.view->setTextCursor(part);
        pane.view->copy();
        QCOMPARE(QGuiApplication::clipboard()->text(), copied.mid(1, 3));
    }

    void showsNoRowForALineEndThatNothingFollows()
    {
        ShellTranscript shell;
        shell.appendInfo(u"there before the view"_s);
        shell.appendLine({}, REPLLine::Kind::Error);
        const TranscriptView view(shell);
        shell.appendOutput(u"one\ntwo\n"_s);
        shell.appendInfo(u"▶ Done."_s);
        QTRY_VERIFY(view.isCaughtUp());
        QCOMPARE(view.toPlainText(), u"there before the view\n\none\ntwo\n▶ Done."_s);
        QCOMPARE(view.blockCount(), 5);
    }

    void cutsALongLineButNoCharacterAndNoShortLine()
    {
        const QString line = u"y"_s.repeated(100);
        TranscriptFixture pane;
        pane.print(u"x"_s + u"🌍"_s.repeated(TranscriptBlock::maxLength));
        pane.shell.appendInfo(u"and"_s);
        pane.print(
            (line + u'\n').repeated(5'000)); // shares blocks, and is printed in several pieces
        QTRY_VERIFY(pane.view->isCaughtUp());
        const int blocks = pane.view->blockCount();
        QVERIFY2(blocks > 4 && blocks < 1'000, qPrintable(QString::number(blocks)));
        bool isFlood = false;
        for (QTextBlock block = pane.view->document()->begin(); block.isValid();
             block = block.next()) {
            QVERIFY(block.length() <= TranscriptBlock::maxLength + 1);
            QVERIFY(block.text().isValidUtf16());
            for (const QString &row : block.text().split(QChar::LineSeparator))
                QVERIFY(!isFlood || row == line);
            isFlood = isFlood || block.text() == u"and";
        }
        QVERIFY(isFlood);
    }

    void showsLargeOutputInPieces()
    {
        TranscriptFixture pane;
        const qsizetype characters = 4'000'000;
        pane.print(u"a line of a flood\n"_s.repeated(characters / 18));
        int turns = 0;
        while (!pane.view->isCaughtUp()) {
            const int before = pane.view->document()->characterCount();
            QCoreApplication::processEvents();
            QVERIFY(pane.view->document()->characterCount() - before < 400'000);
            QVERIFY(++turns < 10'000);
        }
        QVERIFY(turns > 10);
        QVERIFY(pane.view->isVisible() && pane.isAtEnd());
        QVERIFY(pane.view->blockCount() < 10'000);               // lines share blocks
        QVERIFY(pane.bar().maximum() > characters / 18 - 1'000); // and each still counts as a row
    }

    void followsTheEndUnlessTheUserHasScrolledAway()
    {
        TranscriptFixture pane;
        pane.printLines(200);
        QTRY_VERIFY(pane.isAtEnd());
        pane.shell.appendInfo(u"a line"_s);
        QTRY_VERIFY(pane.view->isCaughtUp() && pane.isAtEnd());
        QVERIFY(pane.bar().maximum() > 100);

        QTest::keyClick(pane.view.get(), Qt::Key_Home, Qt::ControlModifier);
        QVERIFY(!pane.view->followsEnd());
        const int place = pane.bar().value();
        pane.printLines(200);
        pane.shell.appendInfo(u"another"_s);
        QTRY_VERIFY(pane.view->isCaughtUp());
        QTest::qWait(0);
        QCOMPARE(pane.bar().value(), place);

        QTest::keyClick(pane.view.get(), Qt::Key_End, Qt::ControlModifier);
        QVERIFY(pane.view->followsEnd());
        pane.printLines(200);
        QTRY_VERIFY(pane.isAtEnd());

        pane.print(u"\n"_s.repeated(30'000)); // with so many, lines share blocks
        QTRY_VERIFY(pane.view->isCaughtUp() && pane.isAtEnd());
        const int rows = pane.bar().maximum();
        pane.print(u"one\ntwo\n"_s);
        QTRY_VERIFY(pane.view->isCaughtUp() && pane.isAtEnd());
        QCOMPARE(pane.bar().maximum(), rows + 2);
    }

    void keepsItsPlaceWhenItsWidthChanges()
    {
        TranscriptFixture pane;
        pane.print(u"a line of a flood\n"_s.repeated(20'000));
        QTRY_VERIFY(pane.view->isCaughtUp());
        const int maximum = pane.bar().maximum();
        pane.view->resize(500, 300);
        QCOMPARE(pane.bar().maximum(), maximum);
        QVERIFY(pane.isAtEnd());

        pane.bar().setValue(maximum / 2);
        const QTextBlock seen = pane.view->cursorForPosition(QPoint(10, 10)).block();
        pane.view->resize(700, 300);
        QCOMPARE(pane.view->cursorForPosition(QPoint(10, 10)).block(), seen);
        QVERIFY(!pane.view->followsEnd());
        pane.view->resize(700, 250);
        QCOMPARE(pane.view->cursorForPosition(QPoint(10, 10)).block(), seen);
    }

    void keepsASelectionThatReachesTheEnd()
    {
        TranscriptFixture pane;
        pane.printLines(3);
        const QString copied = pane.copied();
        pane.print(u"more\n"_s.repeated(300));
        QTRY_VERIFY(pane.view->isCaughtUp());
        pane.view->copy();
        QCOMPARE(QGuiApplication::clipboard()->text(), copied);
        QTRY_VERIFY(pane.isAtEnd());
    }

    void startsAnewWhenCleared()
    {
        TranscriptFixture pane;
        pane.print(u"a line of a flood\n"_s.repeated(100'000));
        QCoreApplication::processEvents();
        QVERIFY(!pane.view->isCaughtUp());
        pane.shell.clear(); // with most of it not shown yet
        QCOMPARE(pane.view->toPlainText(), QString());
        QVERIFY(pane.view->isCaughtUp());
        pane.print(u"later\n"_s);
        QTRY_COMPARE(pane.copied(), u"later"_s);
    }
};

QTEST_MAIN(tst_TranscriptView)
#include "tst_TranscriptView.moc"
