#include "support/ScriptedBoard.h"
#include "ui/WindowFixture.h"
#include "ui/window/TextZoom.h"
#include "ui/window/WindowState.h"

#include <QAccessible>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QSplitter>
#include <QTest>
#include <QToolButton>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// The window: its geometry, its accessible announcements, and its menus.
class tst_Window final : public QObject
{
    Q_OBJECT

private slots:
    void restoresItsGeometry()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("state/korvane/window.ini"));
        const auto open = [&path](const std::function<void(QMainWindow &)> &use) {
            QMainWindow window;
            auto *splitter = new QSplitter;
            splitter->setObjectName(QStringLiteral("columns"));
            splitter->addWidget(new QWidget);
            splitter->addWidget(new QWidget);
            window.setCentralWidget(splitter);
            window.resize(500, 300);
            splitter->setSizes({100, 400});
            new TextZoom(&window);
            new WindowState(path, window);
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            use(window);
        };
        open([&path](QMainWindow &window) {
            QCOMPARE(window.size(), QSize(500, 300)); // there is no file yet
            QCOMPARE(window.findChild<TextZoom *>()->percent(), 100);
            window.findChild<TextZoom *>()->setPercent(150);
            window.resize(640, 400);
            QTRY_VERIFY(QFile::exists(path)); // without being closed
        });
        open([](QMainWindow &window) {
            QCOMPARE(window.size(), QSize(640, 400));
            QCOMPARE(window.findChild<TextZoom *>()->percent(), 150);
            auto *splitter = window.findChild<QSplitter *>();
            splitter->setSizes({300, 340});
            emit splitter->splitterMoved(300, 1); // as a drag with the mouse does
            window.close();
        });
        open([](QMainWindow &window) {
            QVERIFY(std::abs(window.findChild<QSplitter *>()->sizes().first() - 300) < 10);
        });
        QFile damaged(path);
        QVERIFY(damaged.open(QFile::WriteOnly));
        damaged.write("[General]\ngeometry=@ByteArray(\\x1\\xd9)\ncolumns=7\n\0\xff");
        damaged.close();
        open([](QMainWindow &window) { QCOMPARE(window.size(), QSize(500, 300)); });
    }

    void announcesEvents()
    {
        ScriptedBoard board;
        WindowFixture fixture(WindowFixture::Python::Real, board.port());
        QWidget *announcer = fixture.find<QWidget>("announcer");
        QVERIFY(fixture.state().link().connectDevice(board.port()));
        QTRY_COMPARE(announcer->accessibleName(), u"Connected to "_s + board.port());
        fixture.state().documents().updateSelectedContent(QStringLiteral("x = 1"));
        fixture.click("play.circle.fill"); // sent to the board, which has not run it yet
        QCOMPARE(announcer->accessibleName(), u"Connected to "_s + board.port());
        board.vanish();
        QTRY_COMPARE(announcer->accessibleName(), u"Disconnected"_s);
        fixture.click("play.circle.fill");
        QCOMPARE(announcer->accessibleName(), u"Disconnected"_s);
        QTRY_COMPARE(announcer->accessibleName(), u"Run finished"_s);
        DebugPause pause;
        pause.line = 5;
        fixture.state().debugSession().pause(pause);
        QCOMPARE(announcer->accessibleName(), u"Paused at line 5"_s);
        fixture.state().debugSession().reset();
        QCOMPARE(announcer->accessibleName(), u"Paused at line 5"_s);
        QCOMPARE(QAccessible::queryAccessibleInterface(announcer)->role(),
                 QAccessible::Notification);
    }

    void connectsToAVirtualBoard()
    {
        WindowFixture fixture;
        const DeviceLink &link = fixture.state().link();
        fixture.command(u"Try Without a Board"_s)->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(link.connectionState().isConnected(), 30'000);
        QCOMPARE(fixture.state().board().nameOf(link.connectionState().port()), u"Virtual board"_s);
    }

    void showsPanesToChooseFrom()
    {
        WindowFixture fixture;
        QAccessibleInterface *shell =
            QAccessible::queryAccessibleInterface(fixture.find<QToolButton>("Shell"));
        QAccessibleInterface *variables =
            QAccessible::queryAccessibleInterface(fixture.find<QToolButton>("Variables"));
        QCOMPARE(variables->role(), QAccessible::RadioButton);
        QCOMPARE(variables->text(QAccessible::Name), u"Variables"_s);
        QVERIFY(shell->state().checked && !variables->state().checked);
        variables->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTRY_VERIFY(!shell->state().checked && variables->state().checked);
        QCOMPARE(fixture.state().bottomTab(), AppState::BottomTab::Variables);
    }

    void showsErrorsBesideTheVariables()
    {
        WindowFixture fixture;
        auto *tab = fixture.find<QToolButton>("Shell");
        const auto seesShell = [&] { return fixture.find<QWidget>("shellOutput")->isVisible(); };
        fixture.click("Variables");
        fixture.state().shell().appendInfo(u"no error"_s);
        QVERIFY(!seesShell());
        fixture.state().shell().appendOutput(u"1"_s);
        QCOMPARE(tab->accessibleDescription(), u"New output"_s);
        fixture.press(Qt::Key_F8);
        fixture.press(Qt::Key_Y, Qt::ControlModifier); // without a board
        QVERIFY(seesShell());
        // At a stop the variables stay, and the tab is marked.
        fixture.click("Variables");
        fixture.state().debugSession().pause(DebugPause{1, {}});
        const QImage unmarked = tab->grab().toImage();
        fixture.state().shell().appendError(u"wrong"_s);
        QVERIFY(!seesShell());
        QVERIFY(tab->grab().toImage() != unmarked);
        QCOMPARE(tab->accessibleDescription(), u"New error"_s);
        fixture.state().shell().clear();
        QCOMPARE(tab->accessibleDescription(), QString());
    }

    void marksErrorsOfTheAssistant()
    {
        WindowFixture fixture;
        const auto *tab = fixture.find<QToolButton>("Shell");
        fixture.state().setAssistantCalls(1);
        fixture.click("Variables");
        fixture.press(Qt::Key_F8);
        fixture.state().shell().appendError(u"the assistant's"_s);
        QVERIFY(!tab->isVisible());
        QCOMPARE(fixture.state().bottomTab(), AppState::BottomTab::Variables);
        QCOMPARE(tab->accessibleDescription(), u"New error"_s);
        fixture.press(Qt::Key_Y, Qt::ControlModifier); // the user's own action
        QCOMPARE(fixture.state().bottomTab(), AppState::BottomTab::Shell);
        QCOMPARE(tab->accessibleDescription(), QString());
        fixture.state().setAssistantCalls(0);
        fixture.click("Variables");
        fixture.state().shell().appendError(u"of a drop, which is no command"_s);
        QCOMPARE(fixture.state().bottomTab(), AppState::BottomTab::Shell);
    }

    void focusesEveryPaneByMenu()
    {
        WindowFixture fixture;
        fixture.command(u"&Device Files"_s)->trigger();
        QVERIFY(fixture.find<QWidget>("deviceBrowser")->isVisible());
        fixture.click("laptopcomputer");
        QVERIFY(fixture.command(u"&Local Files"_s)->isChecked());
        QVERIFY(!fixture.command(u"&Device Files"_s)->isChecked());
        fixture.command(u"&Variables"_s)->trigger();
        QVERIFY(fixture.find<QWidget>("variablesCaption")->isVisible());
        fixture.state().documents().openTextInEditor(u"R&D.py"_s, u"x"_s);
        emit fixture.command(u"Open &Files"_s)->menu()->aboutToShow();
        QVERIFY(fixture.command(u"R&&D.py"_s)->isChecked());
        fixture.command(u"untitled.py"_s)->trigger();
        QCOMPARE(fixture.state().documents().selectedFile()->name(), u"untitled.py"_s);
    }

    void hasOneActionForEachCommand()
    {
        WindowFixture fixture;
        fixture.state().debugSession().pause(DebugPause{1, {}});
        QList<QKeySequence> keys;
        for (const QAction *action : fixture.window().findChildren<QAction *>()) {
            for (const QKeySequence &key : action->shortcuts()) {
                QVERIFY2(!keys.contains(key), qPrintable(action->text()));
                keys << key;
            }
        }
        const auto *step = fixture.find<QToolButton>("arrow.turn.down.right");
        QCOMPARE(step->defaultAction(), fixture.command(u"&Step"_s));
        const auto *send = fixture.find<QToolButton>("arrow.up.doc");
        QCOMPARE(send->defaultAction(), fixture.command(u"Send to &Device"_s));
        QList<QWidget *> menus{fixture.window().menuBar()};
        for (QMenu *menu : fixture.window().findChildren<QMenu *>())
            menus << menu;
        for (const QWidget *menu : menus) {
            QStringList letters;
            for (const QAction *action : menu->actions()) {
                const QString letter = QKeySequence::mnemonic(action->text()).toString();
                QVERIFY2(letter.isEmpty() || !letters.contains(letter), qPrintable(action->text()));
                letters << letter;
            }
        }
    }

    void showsTheAboutBox()
    {
        WindowFixture fixture;
        fixture.command(u"&About Korvane"_s)->trigger();
        auto *about = fixture.window().findChild<QMessageBox *>();
        QVERIFY(about && about->isVisible() && about->windowModality() == Qt::WindowModal);
        QTest::keyClick(about, Qt::Key_Escape);
        QTRY_VERIFY(!fixture.window().findChild<QMessageBox *>());
    }
};

QTEST_MAIN(tst_Window)
#include "tst_Window.moc"
