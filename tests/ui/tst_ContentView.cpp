#include "Desk.h"
#include "editor/CodeEditorView.h"
#include "support/ScriptedBoard.h"
#include "ui/ElidedLabel.h"

#include <QAccessible>
#include <QClipboard>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QStyle>
#include <QTabBar>
#include <QToolButton>

using namespace Korvane;

namespace {

QStringList entries(const QMenu &menu)
{
    QStringList result;
    for (const QAction *action : menu.actions())
        result << (action->isSeparator() ? QStringLiteral("-") : action->text());
    return result;
}

} // namespace

class tst_ContentView final : public QObject
{
    Q_OBJECT

private slots:
    void everyControlHasAName();
    void editsTheSelectedDocument();
    void searchesFromWhereverTheFocusIs();
    void pastesFromAnEmptyClipboard();
    void runsAndStopsWithKeysAndButtons();
    void keepsTheFocusWhereThePersonIs();
    void reachesEverythingByTabInReadingOrder();
    void showsTheAssistantOnlyWhileItListens();
    void listsThePorts();
    void connectsAndDisconnects();
    void goesCleanlyInEveryState_data();
    void goesCleanlyInEveryState();
};

void tst_ContentView::everyControlHasAName()
{
    Desk desk;
    QCOMPARE(desk.window().windowTitle(), QString());
    QCOMPARE(desk.window().accessibleName(), QStringLiteral("Korvane"));
    QStringList names;
    QList<std::pair<QAccessible::Role, QString>> seen;
    for (QWidget *widget : desk.window().findChildren<QWidget *>()) {
        QVERIFY2(widget->isEnabled() || widget->isHidden(), qPrintable(widget->objectName()));
        const bool isControl =
            qobject_cast<QToolButton *>(widget) || qobject_cast<QAbstractScrollArea *>(widget);
        // Qt's own buttons for what does not fit; the tabs can be reached without theirs.
        if (!isControl || widget->objectName() == u"qt_menubar_ext_button"
            || qobject_cast<QHeaderView *>(widget) || qobject_cast<QTabBar *>(widget->parent()))
            continue;
        const QAccessibleInterface *face = QAccessible::queryAccessibleInterface(widget);
        const QString name = face->text(QAccessible::Name);
        QVERIFY2(!name.isEmpty(), qPrintable(widget->objectName()));
        const auto named = std::pair(face->role(), name);
        QVERIFY2(!widget->isVisible() || !seen.contains(named), qPrintable(name));
        if (widget->isVisible()) // the toolbar's Stop does what the Shell's does
            seen << named;
        names << name;
        QVERIFY2(widget->focusPolicy() != Qt::NoFocus, qPrintable(name));
        const auto *button = qobject_cast<QToolButton *>(widget);
        if (!button)
            continue;
        QVERIFY2(!button->text().isEmpty() || !button->icon().isNull(), qPrintable(name));
        if (button->toolButtonStyle() == Qt::ToolButtonIconOnly)
            QVERIFY2(!button->toolTip().isEmpty(), qPrintable(name));
        for (const char16_t sign : {u'⌘', u'⌥', u'⇧'})
            QVERIFY2(!button->toolTip().contains(QChar(sign)), qPrintable(name));
    }
    for (const char *expected :
         {"New File", "Run", "Connect Device", "Shell", "Variables", "Shell output", "Shell input",
          "Stop", "Clear shell", "Editor untitled.py", "Refresh variables", "Open File", "Save",
          "Send to Device", "Local", "Device", "Local files", "Device files", "Create folder…"})
        QVERIFY2(names.contains(QString::fromUtf8(expected)), expected);
}

void tst_ContentView::editsTheSelectedDocument()
{
    Desk desk;
    auto *editor = desk.find<CodeEditorView>("editor");
    Documents &documents = desk.state().documents();
    QVERIFY(editor->hasFocus());
    QTest::keyClicks(editor, QStringLiteral("if x:"));
    desk.press(Qt::Key_Return);
    desk.press(Qt::Key_Tab);
    QTest::keyClicks(editor, QStringLiteral("y\u00a0"));
    QCOMPARE(documents.selectedFile()->content, QStringLiteral("if x:\n    y\u00a0"));
    QVERIFY(documents.selectedFile()->isModified);

    const QUuid first = documents.selectedFileID();
    desk.click("doc.badge.plus");
    QCOMPARE(editor->text(), QString());
    QCOMPARE(editor->accessibleName(), QStringLiteral("Editor untitled2.py"));
    QVERIFY(!documents.selectedFile()->isModified); // being shown is no edit
    documents.select(first);
    QCOMPARE(editor->text(), QStringLiteral("if x:\n    y\u00a0"));
    documents.updateSelectedContent(QStringLiteral("from outside"));
    QCOMPARE(editor->text(), QStringLiteral("from outside"));
    desk.press(Qt::Key_End);
    desk.press(Qt::Key_Backspace);
    QCOMPARE(documents.selectedFile()->content, QStringLiteral("from outsid"));
}

void tst_ContentView::searchesFromWhereverTheFocusIs()
{
    Desk desk;
    desk.state().documents().updateSelectedContent(QStringLiteral("a\nb a\na\n"));
    auto *editor = desk.find<CodeEditorView>("editor");
    for (const char *name : {"editor", "shellInput", "shellOutput", "localFiles", "tabs"}) {
        const auto focus = [&] { desk.find<QWidget>(name)->setFocus(); };
        focus();
        desk.press(Qt::Key_F, Qt::ControlModifier);
        QVERIFY2(desk.find<QWidget>("findField")->hasFocus(), name);
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("a"));
        desk.press(Qt::Key_Escape);
        QVERIFY2(editor->hasFocus(), name);
        editor->moveCursor(QTextCursor::Start);
        focus();
        desk.press(Qt::Key_F3);
        desk.press(Qt::Key_F3);
        QCOMPARE(editor->currentLine(), 2);
        desk.press(Qt::Key_F3, Qt::ShiftModifier);
        QCOMPARE(editor->currentLine(), 1);
        desk.press(Qt::Key_G, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("3"));
        desk.press(Qt::Key_Return);
        QCOMPARE(editor->currentLine(), 3);
        QVERIFY(editor->hasFocus());
    }
}

void tst_ContentView::pastesFromAnEmptyClipboard()
{
    Desk desk;
    QGuiApplication::clipboard()->setMimeData(new QMimeData);
    for (const char *name : {"editor", "shellInput", "shellOutput"}) {
        desk.find<QWidget>(name)->setFocus();
        desk.press(Qt::Key_V, Qt::ControlModifier);
    }
    QCOMPARE(desk.find<CodeEditorView>("editor")->text(), QString());
}

void tst_ContentView::runsAndStopsWithKeysAndButtons()
{
    Desk desk(Desk::Python::Real);
    auto *run = desk.find<QToolButton>("play.circle.fill");
    auto *stop = desk.find<QToolButton>("stop.circle.fill");
    QCOMPARE(run->toolTip(), QStringLiteral("Run current file (Ctrl+R)"));
    QCOMPARE(stop->toolTip(), QStringLiteral("Stop (Ctrl+.)"));
    QVERIFY(run->isVisible() && !stop->isVisible());
    desk.press(Qt::Key_R, Qt::ControlModifier); // an empty document: nothing to run
    QVERIFY(run->isVisible());

    desk.find<CodeEditorView>("editor")->setFocus();
    QTest::keyClicks(desk.find<QWidget>("editor"), QStringLiteral("while True: print('round')"));
    desk.press(Qt::Key_Period, Qt::ControlModifier); // Stop is not there
    desk.press(Qt::Key_R, Qt::ControlModifier);
    QVERIFY(desk.state().isRunning());
    QVERIFY(!run->isVisible() && stop->isVisible());
    QTRY_VERIFY(desk.lines().size() >= 2);
    const qsizetype lineCount = desk.lines().size();
    desk.press(Qt::Key_R, Qt::ControlModifier); // Run is not there
    QCOMPARE(desk.lines().size(), lineCount);
    desk.press(Qt::Key_Period, Qt::ControlModifier);
    QVERIFY(!desk.state().isRunning());
    QVERIFY(run->isVisible() && !stop->isVisible());
    QTRY_COMPARE(desk.lines().last(), QStringLiteral("info: ▶ Done."));

    // By keyboard alone: the focus stays on the button that takes the other's place.
    desk.state().documents().updateSelectedContent(QStringLiteral("import time\ntime.sleep(60)"));
    run->setFocus();
    desk.press(Qt::Key_Space);
    QVERIFY(stop->hasFocus());
    desk.press(Qt::Key_Space);
    QVERIFY(run->hasFocus());
    QTRY_COMPARE(desk.lines().last(), QStringLiteral("info: ▶ Done."));
    desk.click("play.circle.fill");
    QVERIFY(desk.state().isRunning()); // and is closed with a program running
}

void tst_ContentView::keepsTheFocusWhereThePersonIs()
{
    Desk desk;
    auto *input = desk.find<QWidget>("shellInput");
    input->setFocus();
    desk.click("Variables");
    QVERIFY(desk.find<QWidget>("Variables")->hasFocus());
    desk.click("Shell");
    QVERIFY(input->hasFocus());
    desk.click("Variables");
    desk.find<QWidget>("refreshVariables")->setFocus();
    desk.click("Shell");
    QVERIFY(input->hasFocus());
    desk.find<QWidget>("editor")->setFocus();
    desk.click("Variables");
    QVERIFY(desk.find<QWidget>("editor")->hasFocus());
}

void tst_ContentView::reachesEverythingByTabInReadingOrder()
{
    Desk desk;
    QVERIFY(QDir(desk.folder.path()).mkdir(QStringLiteral("something")));
    desk.state().localFiles().setLocalWorkingDir(desk.folder.path());
    QTRY_VERIFY(desk.find<QWidget>("localFiles")->isVisible());
    desk.find<QWidget>("doc.badge.plus")->setFocus();
    QStringList reached;
    for (int i = 0; i < 19; ++i) {
        reached << QApplication::focusWidget()->objectName();
        if (reached.last() == u"editor") { // which keeps Tab for itself
            desk.press(Qt::Key_Backtab, Qt::ShiftModifier);
            QCOMPARE(QApplication::focusWidget()->objectName(), reached.at(i - 1));
            desk.press(Qt::Key_Tab);
            desk.press(Qt::Key_F6);
            QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("shellInput"));
            desk.press(Qt::Key_F6);
            QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("localFiles"));
            desk.press(Qt::Key_F6);
            QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("editor"));
            desk.find<QWidget>("Shell")->setFocus();
        } else {
            desk.press(Qt::Key_Tab);
        }
    }
    QCOMPARE(
        reached.join(u' '),
        QStringLiteral("doc.badge.plus folder square.and.arrow.down play.circle.fill ladybug.fill "
                       "arrow.up.doc deviceConnect laptopcomputer goUp createFolder "
                       "refreshLocal localFiles tabs editor Shell shellOutput shellInput "
                       "shellStop shellClear"));
    QCOMPARE(QApplication::focusWidget()->objectName(), reached.first());
}

void tst_ContentView::showsTheAssistantOnlyWhileItListens()
{
    Desk desk;
    auto *indicator = desk.find<QWidget>("assistantIndicator");
    QVERIFY(!indicator->isVisible());
    desk.state().setMcpRunning(true);
    QVERIFY(indicator->isVisible());
    QCOMPARE(indicator->toolTip(),
             QStringLiteral("Claude can reach this device — Claude menu to stop"));
    desk.state().setMcpRunning(false);
    QVERIFY(!indicator->isVisible());
}

void tst_ContentView::listsThePorts()
{
    Desk desk;
    const auto *connect = desk.find<QToolButton>("deviceConnect");
    QCOMPARE(connect->text(), QStringLiteral("Connect Device"));
    QCOMPARE(entries(*connect->menu()),
             (QStringList{QStringLiteral("No serial ports found"), QStringLiteral("-"),
                          QStringLiteral("Refresh ports")}));

    ScriptedBoard board;
    Desk other(Desk::Python::None, board.port());
    const auto *menu = other.find<QToolButton>("deviceConnect")->menu();
    QCOMPARE(entries(*menu),
             (QStringList{board.port(), QStringLiteral("-"), QStringLiteral("Refresh ports")}));
    board.vanish();
    menu->actions().last()->trigger();
    QCOMPARE(entries(*menu).first(), QStringLiteral("No serial ports found"));
    board.plugIn();
    menu->actions().last()->trigger();
    QCOMPARE(entries(*menu).first(), board.port());
}

void tst_ContentView::connectsAndDisconnects()
{
    ScriptedBoard board;
    Desk desk(Desk::Python::None, board.port());
    auto *connect = desk.find<QToolButton>("deviceConnect");
    const auto *indicator = desk.find<QLabel>("connectionState");
    QCOMPARE(indicator->text(), QStringLiteral("Not Connected"));
    QStringList states;
    QObject::connect(&desk.state().link(), &DeviceLink::connectionStateChanged, &desk.window(),
                     [&] { states << indicator->text() + u'/' + connect->text(); });

    QTimer::singleShot(0, connect, [&] {
        QTest::keyClick(connect->menu(), Qt::Key_Down);
        QTest::keyClick(connect->menu(), Qt::Key_Return);
    });
    QTest::mouseClick(connect, Qt::LeftButton); // opens the menu, and returns when it closes
    QTRY_COMPARE(connect->text(), QStringLiteral("Disconnect"));
    QVERIFY(!connect->menu());
    QCOMPARE(states,
             (QStringList{QStringLiteral("Connecting…/Connecting…"),
                          QStringLiteral("Connected/Disconnect")}));
    desk.click("Variables");
    QCOMPARE(desk.find<ElidedLabel>("variablesCaption")->text(), board.port());
    QCOMPARE(desk.find<QLabel>("variablesHint")->text(),
             QStringLiteral("Run code on the device to inspect its variables"));
    desk.click("Shell");
    board.forget();
    desk.click("shellStop");
    QTRY_VERIFY(board.received().contains('\x03'));

    QTest::mouseClick(connect, Qt::LeftButton);
    QCOMPARE(states.last(), QStringLiteral("Not Connected/Connect Device"));
    QVERIFY(connect->menu());
}

void tst_ContentView::goesCleanlyInEveryState_data()
{
    QTest::addColumn<QString>("state");
    for (const char *state : {"connected", "program on the board", "variables asked for",
                              "board lost", "flood waiting to be shown", "menu open"})
        QTest::newRow(state) << QString::fromLatin1(state);
}

void tst_ContentView::goesCleanlyInEveryState()
{
    QFETCH(QString, state);
    ScriptedBoard board;
    auto desk = std::make_unique<Desk>(Desk::Python::None, board.port());
    desk->state().link().connectDevice(board.port());
    QTRY_VERIFY(desk->state().link().connectionState().isConnected());
    if (state == u"program on the board") {
        board.onProgram = [](const QByteArray &) { return QByteArray("running\r\n"); };
        desk->state().documents().updateSelectedContent(QStringLiteral("pass"));
        desk->press(Qt::Key_R, Qt::ControlModifier);
        QTRY_VERIFY(desk->lines().join(u' ').contains(QStringLiteral("running\n")));
    } else if (state == u"variables asked for") {
        board.setMute(true);
        desk->click("Variables");
        QVERIFY(desk->state().link().deviceCommandInFlight());
    } else if (state == u"board lost") {
        board.vanish();
    } else if (state == u"flood waiting to be shown") {
        desk->state().shell().appendOutput(QStringLiteral("flood\n").repeated(1'000'000));
        QCoreApplication::processEvents();
    } else if (state == u"menu open") {
        desk->state().link().disconnectDevice();
        desk->find<QToolButton>("deviceConnect")->menu()->popup(QPoint(10, 10));
    }
    desk->window().close();
    desk.reset();
    QCoreApplication::processEvents();
}

QTEST_MAIN(tst_ContentView)
#include "tst_ContentView.moc"
