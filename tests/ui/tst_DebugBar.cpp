#include "editor/LineNumberRulerView.h"
#include "support/ScriptedBoard.h"
#include "ui/WindowFixture.h"
#include "ui/controls/ElidedLabel.h"

#include <QLabel>
#include <QToolButton>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QByteArray pauseAt(int line)
{
    return "\x1E{\"line\": " + QByteArray::number(line) + ", \"vars\": []}\x1E\r\n";
}

/// A fixture with a board on which a program of three lines stops at the second when it is
/// debugged.
struct DebugBarFixture : WindowFixture
{
    ScriptedBoard board;

    DebugBarFixture()
    {
        if (!state().link().connectDevice(board.port())
            || !QTest::qWaitFor([this] { return isIdle(); }))
            qFatal("the board is never idle");
        board.onProgram = [](const QByteArray &program) {
            return program.contains("_bp(2") ? pauseAt(2)
                                             : ScriptedBoard::answerWithoutFiles(program);
        };
        state().documents().updateSelectedContent(u"x = 1\nx = 2\nx = 3\n"_s);
    }
    /// No command is in flight, and the board was sent back to the friendly prompt.
    bool isIdle()
    {
        return !state().link().deviceCommandInFlight() && board.received().endsWith('\x02');
    }
    void debugToPause()
    {
        board.forget();
        press(Qt::Key_Y, Qt::ControlModifier);
        QVERIFY(QTest::qWaitFor([this] { return session().pausedAt().has_value(); }));
        // The Variables tab refreshes when it is shown, which must not send a command now.
        QVERIFY(!board.received().contains("__VARS__"));
        QVERIFY(find<QWidget>("Variables")->property("checked").toBool());
        board.forget();
    }
    DebugSession &session() { return state().debugSession(); }
    /// The visible texts of the bar; empty when it is hidden.
    QString bar()
    {
        auto *bar = find<QWidget>("debugBar");
        QStringList texts;
        for (const QLabel *label : bar->findChildren<QLabel *>()) {
            if (label->isVisible())
                texts << label->text();
        }
        if (const auto *hint = find<ElidedLabel>("debugHint"); hint->isVisible())
            texts << hint->text();
        return bar->isVisible() ? texts.join(u" | ") : QString();
    }
};

const QString running = u"Running to the next breakpoint…"_s;

} // namespace

class tst_DebugBar final : public QObject
{
    Q_OBJECT

private slots:
    void isVisibleOnlyWhileDebugging()
    {
        DebugBarFixture fixture;
        auto *bar = fixture.find<QWidget>("debugBar");
        QVERIFY(!bar->isVisible());
        fixture.debugToPause();
        // Where there is no room for all, the texts of the buttons are hidden.
        QVERIFY(bar->sizeHint().width() - bar->minimumSizeHint().width()
                >= fixture.find<ElidedLabel>("debugHint")->sizeHint().width());
        const int pausedHeight = bar->height();
        OpenFiles &documents = fixture.state().documents();
        const QUuid sent = documents.selectedFileID();
        const auto *gutter = fixture.find<QWidget>("gutter");
        documents.newFile();
        QCOMPARE(gutter->accessibleDescription(), u"No breakpoints"_s);
        documents.select(sent);
        QCOMPARE(gutter->accessibleDescription(), u"Paused at line 2"_s);
        fixture.session().debugContinue();
        QCoreApplication::processEvents();
        QCOMPARE(bar->height(), pausedHeight); // the layout does not move between stops
        fixture.board.send("\x04\x04>");
        QTRY_VERIFY(!bar->isVisible());
    }

    void sendsDebuggerCommands_data()
    {
        QTest::addColumn<QString>("ask"); // a button, an entry of the menu or Y with modifiers
        QTest::addColumn<QByteArray>("bytes");
        for (const auto &[ask, bytes] :
             {std::pair{"arrow.turn.down.right", "s\n"}, std::pair{"&Step", "s\n"},
              std::pair{"Ctrl+Alt+Y", "s\n"}, std::pair{"play.fill", "c\n"},
              std::pair{"&Continue", "c\n"}, std::pair{"Ctrl+Shift+Y", "c\n"},
              std::pair{"stop.fill", "q\n"}, std::pair{"S&top Debugging", "q\n"}})
            QTest::newRow(ask) << QString::fromLatin1(ask) << QByteArray(bytes);
    }

    void sendsDebuggerCommands()
    {
        QFETCH(QString, ask);
        QFETCH(QByteArray, bytes);
        DebugBarFixture fixture;
        fixture.find<QWidget>("editor")->setFocus();
        const auto trigger = [&] {
            if (ask.startsWith(u"Ctrl+"))
                fixture.press(Qt::Key_Y, QKeySequence(ask)[0].keyboardModifiers());
            else if (ask.contains(u'.')) {
                fixture.find<QToolButton>(qPrintable(ask))->setFocus();
                fixture.press(Qt::Key_Space);
            } else
                fixture.command(ask)->trigger();
        };
        if (!ask.contains(u'.'))
            trigger(); // has no effect before the pause
        fixture.debugToPause();
        QCOMPARE(fixture.bar(), u"Paused at line 2 | locals are in the Variables tab"_s);
        trigger();
        QTRY_COMPARE(fixture.board.received(), bytes);
        QCOMPARE(fixture.bar(), bytes == "q\n" ? QString() : running);
        if (bytes == "q\n") {
            QVERIFY(fixture.find<QWidget>("editor")->hasFocus());
            return;
        }
        fixture.board.forget();
        trigger();
        fixture.board.send(pauseAt(3));
        QTRY_COMPARE(fixture.bar(), u"Paused at line 3 | locals are in the Variables tab"_s);
        QCOMPARE(fixture.board.received(), QByteArray());
    }

    void marksLines()
    {
        WindowFixture fixture;
        OpenFiles &documents = fixture.state().documents();
        documents.updateSelectedContent(u"x = 1\nx = 2\n"_s);
        auto *gutter = fixture.find<LineNumberRulerView>("gutter");
        QTest::mouseClick(gutter, Qt::LeftButton, {}, QPoint(10, 10));
        QCOMPARE(documents.selectedFile()->breakpoints(), QSet<int>{1});
        fixture.command(u"C&lear Breakpoints in This File"_s)->trigger();
        QVERIFY(documents.selectedFile()->breakpoints().isEmpty());
    }
};

QTEST_MAIN(tst_DebugBar)
#include "tst_DebugBar.moc"
