#include "app/ShellTranscript.h"
#include "ui/TranscriptView.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

#include <memory>

using namespace Korvane;
using Kind = REPLLine::Kind;

namespace {

struct Pane
{
    Pane()
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
            print(QStringLiteral("line %1\n").arg(i));
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
    void copiesWhatWasPrinted_data();
    void copiesWhatWasPrinted();
    void showsNoRowForALineEndThatNothingFollows();
    void splitsALongLineButNoCharacter();
    void cutsNoShortLineInAFlood();
    void takesAFloodPieceByPiece();
    void followsTheEndUnlessThePersonScrolledAway();
    void keepsItsPlaceWhenItsWidthChanges();
    void keepsASelectionThatReachesTheEnd();
    void startsAnewWhenCleared();
    void showsWhatWasThereBeforeIt();
};

void tst_TranscriptView::copiesWhatWasPrinted_data()
{
    QTest::addColumn<QStringList>("printed"); // "" stands for an info line in between
    QTest::addColumn<QString>("copied");
    const QString manyLines = QStringLiteral("ein Satz mit Umlauten: äöü\n").repeated(20'000);
    const QString oneLine = QStringLiteral("0123456789").repeated(30'000);
    QString pairs = QStringLiteral("x") + QStringLiteral("🌍").repeated(5'000);
    QTest::newRow("lines in pieces")
        << QStringList{QStringLiteral("a\nb"), QStringLiteral("c\n"), QStringLiteral("\nd")}
        << QStringLiteral("a\nbc\n\nd");
    QTest::newRow("lines of several kinds")
        << QStringList{QStringLiteral("a\n"), {}, QStringLiteral("b\n")}
        << QStringLiteral("a\n▶ Done.\nb");
    QTest::newRow("blanks that do not break")
        << QStringList{QStringLiteral("a\u00a0b\tc  d")} << QStringLiteral("a\u00a0b\tc  d");
    QTest::newRow("separators of other kinds")
        << QStringList{QStringLiteral("a\u2028b\u2029c")} << QStringLiteral("a\nb\nc");
    QTest::newRow("marks that the document keeps for itself")
        << QStringList{QStringLiteral("a\ufdd0b\ufffcc")} << QStringLiteral("a\ufffdb\ufffdc");
    QTest::newRow("a line longer than a block") << QStringList{oneLine} << oneLine;
    QTest::newRow("pairs of surrogates at every border") << QStringList{pairs} << pairs;
    QTest::newRow("a flood of lines")
        << QStringList{manyLines, QStringLiteral("end")} << manyLines + QStringLiteral("end");
    QTest::newRow("a flood of empty lines")
        << QStringList{QStringLiteral("\n").repeated(100'000), QStringLiteral("end")}
        << QStringLiteral("\n").repeated(100'000) + QStringLiteral("end");
}

void tst_TranscriptView::copiesWhatWasPrinted()
{
    QFETCH(QStringList, printed);
    Pane pane;
    for (const QString &text : printed) {
        if (text.isNull())
            pane.shell.appendInfo(QStringLiteral("▶ Done."));
        else
            pane.print(text);
        if (text.size() < 100) // also when each piece is taken over by itself
            QTRY_VERIFY(pane.view->isCaughtUp());
    }
    QTRY_VERIFY(pane.view->isCaughtUp());
    QTEST(pane.copied(), "copied");

    // From within one line into another.
    QTextCursor part(pane.view->document());
    part.setPosition(1);
    part.setPosition(4, QTextCursor::KeepAnchor);
    pane.view->setTextCursor(part);
    pane.view->copy();
    QFETCH(QString, copied);
    QCOMPARE(QGuiApplication::clipboard()->text(), copied.mid(1, 3));
}

void tst_TranscriptView::showsNoRowForALineEndThatNothingFollows()
{
    Pane pane;
    pane.print(QStringLiteral("one\ntwo\n"));
    pane.shell.appendInfo(QStringLiteral("▶ Done."));
    QTRY_VERIFY(pane.view->isCaughtUp());
    QCOMPARE(pane.view->toPlainText(), QStringLiteral("one\ntwo\n▶ Done."));
    QCOMPARE(pane.view->blockCount(), 3);
}

void tst_TranscriptView::splitsALongLineButNoCharacter()
{
    Pane pane;
    pane.print(QStringLiteral("x") + QStringLiteral("🌍").repeated(TranscriptView::maxBlockLength));
    QTRY_VERIFY(pane.view->isCaughtUp());
    QVERIFY(pane.view->blockCount() > 2);
    for (QTextBlock block = pane.view->document()->begin(); block.isValid(); block = block.next()) {
        QVERIFY(block.length() <= TranscriptView::maxBlockLength + 1);
        QVERIFY(block.text().isValidUtf16());
    }
}

void tst_TranscriptView::cutsNoShortLineInAFlood()
{
    Pane pane;
    const QString line = QStringLiteral("y").repeated(100);
    pane.print((line + u'\n').repeated(5'000)); // shares blocks, and comes in several pieces
    QTRY_VERIFY(pane.view->isCaughtUp());
    QVERIFY(pane.view->blockCount() < 1'000);
    for (QTextBlock block = pane.view->document()->begin(); block.isValid(); block = block.next()) {
        for (const QString &row : block.text().split(QChar::LineSeparator))
            QCOMPARE(row, line);
    }
}

void tst_TranscriptView::takesAFloodPieceByPiece()
{
    Pane pane;
    const qsizetype characters = 4'000'000;
    pane.print(QStringLiteral("a line of a flood\n").repeated(characters / 18));
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

void tst_TranscriptView::followsTheEndUnlessThePersonScrolledAway()
{
    Pane pane;
    pane.printLines(200);
    QTRY_VERIFY(pane.isAtEnd());
    pane.shell.appendInfo(QStringLiteral("a line glides in"));
    QTRY_VERIFY(pane.view->isCaughtUp() && pane.isAtEnd());
    QVERIFY(pane.bar().maximum() > 100);

    QTest::keyClick(pane.view.get(), Qt::Key_Home, Qt::ControlModifier);
    QVERIFY(!pane.view->followsEnd());
    const int place = pane.bar().value();
    pane.printLines(200);
    pane.shell.appendInfo(QStringLiteral("another"));
    QTRY_VERIFY(pane.view->isCaughtUp());
    QTest::qWait(0);
    QCOMPARE(pane.bar().value(), place);

    QTest::keyClick(pane.view.get(), Qt::Key_End, Qt::ControlModifier);
    QVERIFY(pane.view->followsEnd());
    pane.printLines(200);
    QTRY_VERIFY(pane.isAtEnd());
}

void tst_TranscriptView::keepsItsPlaceWhenItsWidthChanges()
{
    Pane pane;
    pane.print(QStringLiteral("a line of a flood\n").repeated(20'000));
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

void tst_TranscriptView::keepsASelectionThatReachesTheEnd()
{
    Pane pane;
    pane.printLines(3);
    const QString copied = pane.copied();
    pane.print(QStringLiteral("more\n").repeated(300));
    QTRY_VERIFY(pane.view->isCaughtUp());
    pane.view->copy();
    QCOMPARE(QGuiApplication::clipboard()->text(), copied);
    QTRY_VERIFY(pane.isAtEnd());
}

void tst_TranscriptView::startsAnewWhenCleared()
{
    Pane pane;
    pane.print(QStringLiteral("a line of a flood\n").repeated(100'000));
    QCoreApplication::processEvents();
    QVERIFY(!pane.view->isCaughtUp());
    pane.shell.clear(); // with most of it not shown yet
    QCOMPARE(pane.view->toPlainText(), QString());
    QVERIFY(pane.view->isCaughtUp());
    pane.print(QStringLiteral("later\n"));
    QTRY_COMPARE(pane.copied(), QStringLiteral("later"));
}

void tst_TranscriptView::showsWhatWasThereBeforeIt()
{
    ShellTranscript shell;
    shell.appendInfo(QStringLiteral("welcome"));
    shell.appendLine({}, Kind::Error);
    shell.appendLine(QStringLiteral(">>> 1"), Kind::Input);
    const TranscriptView view(shell);
    QCOMPARE(view.toPlainText(), QStringLiteral("welcome\n\n>>> 1"));
}

QTEST_MAIN(tst_TranscriptView)
#include "tst_TranscriptView.moc"
