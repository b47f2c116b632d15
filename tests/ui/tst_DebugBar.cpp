#include "Desk.h"
#include "editor/CodeEditorView.h"
#include "editor/LineNumberRulerView.h"
#include "support/ScriptedBoard.h"
#include "ui/ElidedLabel.h"

#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QToolButton>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QByteArray pauseAt(int line)
{
    return "\x1E{\"line\": " + QByteArray::number(line)
        + ", \"vars\": [{\"n\": \"x\", \"t\": \"int\", \"v\": \"1\"}]}\x1E\r\n";
}

/// A desk with a board on which a program of three lines stops at the second when it is debugged.
struct DebugDesk : Desk
{
    ScriptedBoard board;

    DebugDesk()
    {
        state().link().connectDevice(board.port());
        if (!QTest::qWaitFor([this] { return !state().link().deviceCommandInFlight(); }))
            qFatal("the board is never idle");
        board.onProgram = [](const QByteArray &program) {
            return program.contains("_bp(2") ? pauseAt(2)
                                             : ScriptedBoard::answerWithoutFiles(program);
        };
        state().documents().updateSelectedContent(u"x = 1\nx = 2\nx = 3\n"_s);
    }
    void debugToPause()
    {
        press(Qt::Key_Y, Qt::ControlModifier);
        QVERIFY(QTest::qWaitFor([this] { return session().pausedAt().has_value(); }));
        board.forget();
    }
    DebugSession &session() { return state().debugSession(); }
    /// What is to be read on the bar, or nothing when it is away.
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

const QString paused = u"Paused at line 2 | locals are in the Variables tab"_s;
const QString running = u"Running to the next breakpoint…"_s;

} // namespace

class tst_DebugBar final : public QObject
{
    Q_OBJECT

private slots:
    void isThereOnlyWhileDebugging()
    {
        DebugDesk desk;
        auto *bar = desk.find<QWidget>("debugBar");
        auto *editor = desk.find<CodeEditorView>("editor");
        QVERIFY(!bar->isVisible());
        const int top = editor->mapTo(&desk.window(), QPoint()).y();
        desk.debugToPause();
        QCOMPARE(desk.bar(), paused);
        // Where there is no room for all, what matters stays.
        QVERIFY(bar->sizeHint().width() - bar->minimumSizeHint().width()
                >= desk.find<ElidedLabel>("debugHint")->sizeHint().width());
        const int pausedHeight = bar->height();
        QVERIFY(desk.find<QWidget>("Variables")->property("checked").toBool());
        desk.session().debugContinue();
        QCOMPARE(desk.bar(), running);
        QCoreApplication::processEvents();
        QCOMPARE(bar->height(), pausedHeight); // nothing jumps from stop to stop
        QCOMPARE(editor->mapTo(&desk.window(), QPoint()).y(), top + pausedHeight);
        desk.board.send("\x04\x04>");
        QTRY_VERIFY(!bar->isVisible());
    }

    // The Variables tab asks the board for its variables when it is shown, and must find it taken.
    void startsNothingBesideTheRun()
    {
        DebugDesk desk;
        desk.board.forget();
        desk.press(Qt::Key_Y, Qt::ControlModifier);
        QTRY_COMPARE(desk.session().pausedAt(), 2);
        QVERIFY(desk.find<QWidget>("Variables")->property("checked").toBool());
        QCOMPARE(desk.board.received().count('\x01'), 2); // for the helper and the program
        QVERIFY(!desk.state().link().deviceCommandInFlight());
    }

    void sendsWhatIsAskedFor_data()
    {
        QTest::addColumn<QString>("ask"); // a button, an entry of the menu or Y with modifiers
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("step by click") << u"arrow.turn.down.right"_s << "s\n"_ba;
        QTest::newRow("step by menu") << u"&Step"_s << "s\n"_ba;
        QTest::newRow("step by key") << u"Ctrl+Alt+Y"_s << "s\n"_ba;
        QTest::newRow("continue by click") << u"play.fill"_s << "c\n"_ba;
        QTest::newRow("continue by menu") << u"&Continue"_s << "c\n"_ba;
        QTest::newRow("continue by key") << u"Ctrl+Shift+Y"_s << "c\n"_ba;
        QTest::newRow("stop by click") << u"stop.fill"_s << "q\n"_ba;
        QTest::newRow("stop by menu") << u"S&top Debugging"_s << "q\n"_ba;
    }

    void sendsWhatIsAskedFor()
    {
        QFETCH(QString, ask);
        QFETCH(QByteArray, bytes);
        DebugDesk desk;
        desk.find<QWidget>("editor")->setFocus();
        const auto asked = [&] {
            if (ask.startsWith(u"Ctrl+"))
                desk.press(Qt::Key_Y, QKeySequence(ask)[0].keyboardModifiers());
            else if (ask.contains(u'.'))
                desk.click(qPrintable(ask));
            for (QAction *action : desk.window().findChildren<QAction *>()) {
                if (action->text() == ask)
                    action->trigger();
            }
        };
        if (!ask.contains(u'.'))
            asked(); // while there is nothing to tell, nothing is told
        desk.debugToPause();
        asked();
        QTRY_COMPARE(desk.board.received(), bytes);
        QCOMPARE(desk.bar(), bytes == "q\n" ? QString() : running);
        if (bytes == "q\n")
            return;
        desk.board.forget();
        asked();
        desk.board.send(pauseAt(3));
        QTRY_COMPARE(desk.bar(), u"Paused at line 3 | locals are in the Variables tab"_s);
        QCOMPARE(desk.board.received(), QByteArray());
    }

    void stopsByKeyboardAndGivesTheFocusBack()
    {
        DebugDesk desk;
        desk.debugToPause();
        auto *stop = desk.find<QToolButton>("stop.fill");
        stop->setFocus();
        desk.press(Qt::Key_Space);
        QCOMPARE(desk.bar(), QString());
        QVERIFY(desk.find<QWidget>("editor")->hasFocus());
        QTRY_COMPARE(desk.board.received(), "q\n"_ba);
    }

    void marksLinesByClickAndMenu()
    {
        Desk desk;
        Documents &documents = desk.state().documents();
        documents.updateSelectedContent(u"x = 1\nx = 2\nx = 3\n"_s);
        auto *editor = desk.find<CodeEditorView>("editor");
        auto *gutter = editor->findChild<LineNumberRulerView *>();
        const auto row = editor->visibleLines().at(1);
        const QPoint spot(gutter->width() / 2, qRound(row.top + row.height / 2));
        QTest::mouseClick(gutter, Qt::LeftButton, {}, spot);
        QCOMPARE(documents.selectedFile()->breakpoints, QSet<int>{2});
        const QImage marked = gutter->grab().toImage();
        documents.clearBreakpoints();
        QVERIFY(gutter->grab().toImage() != marked);
        QTest::mouseClick(gutter, Qt::LeftButton, {}, spot);
        QCOMPARE(gutter->grab().toImage(), marked);
        QTest::mouseClick(gutter, Qt::LeftButton, {}, spot);
        QVERIFY(documents.selectedFile()->breakpoints.isEmpty());
    }

    void hasItsHelp()
    {
        Desk desk;
        const auto help = [&desk](const char *name) {
            return desk.find<QToolButton>(name)->toolTip();
        };
        QCOMPARE(help("arrow.turn.down.right"),
                 u"Run one statement and stop again, stepping into any call (Ctrl+Alt+Y)"_s);
        QCOMPARE(help("play.fill"),
                 u"Let the program run on to the next breakpoint (Ctrl+Shift+Y)"_s);
        QCOMPARE(help("stop.fill"), u"Stop the program on the device"_s);
        QCOMPARE(help("ladybug.fill"), u"Connect a device to debug on it"_s);
        desk.click("ladybug.fill");
        QCOMPARE(desk.lines(), QStringList{u"error: Connect a device to debug on it."_s});
        DebugDesk connected;
        QCOMPARE(connected.find<QToolButton>("ladybug.fill")->toolTip(),
                 u"Run on the device, stopping at each breakpoint (Ctrl+Y)"_s);
    }

    void offersAllInTheMenu()
    {
        Desk desk;
        const QList<QAction *> menus = desk.window().menuBar()->actions();
        const auto debug = std::find_if(menus.begin(), menus.end(), [](const QAction *menu) {
            return menu->text() == u"&Debug";
        });
        QVERIFY(debug != menus.end());
        QStringList titles;
        for (const QAction *action : (*debug)->menu()->actions()) {
            titles << (action->isSeparator() ? u"-"_s : action->text().remove(u'&'));
            QVERIFY(action->shortcuts().isEmpty() && action->isEnabled());
        }
        QCOMPARE(titles,
                 u"Debug on Device,Step,Continue,Stop Debugging,-,Clear Breakpoints in This File"_s
                     .split(u','));
        desk.state().documents().toggleBreakpoint(1);
        (*debug)->menu()->actions().last()->trigger();
        QVERIFY(desk.state().documents().selectedFile()->breakpoints.isEmpty());
    }
};

QTEST_MAIN(tst_DebugBar)
#include "tst_DebugBar.moc"
