#include "editor/CodeEditorView.h"
#include "support/Files.h"
#include "support/ScriptedBoard.h"
#include "ui/WindowFixture.h"

#include <QAccessible>
#include <QClipboard>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QStyle>
#include <QTabBar>
#include <QToolButton>
#include <QTreeWidget>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QString entries(const QMenu &menu)
{
    QStringList result;
    for (const QAction *action : menu.actions())
        result << (action->isSeparator() ? u"-"_s : action->text());
    return result.join(u'|');
}

} // namespace

class tst_ContentView final : public QObject
{
    Q_OBJECT

private slots:
    void everyControlHasAName()
    {
        WindowFixture fixture;
        QCOMPARE(fixture.window().windowTitle(), u"Korvane"_s);
        fixture.state().setBottomTab(AppState::BottomTab::Variables); // creates all panes
        fixture.state().setBottomTab(AppState::BottomTab::Shell);
        fixture.state().setSidebarTab(AppState::SidebarTab::Device);
        fixture.state().setSidebarTab(AppState::SidebarTab::Local);
        QCOMPARE(fixture.window().accessibleName(), u"Korvane"_s);
        QStringList names;
        QList<std::pair<QAccessible::Role, QString>> seen;
        for (QWidget *widget : fixture.window().findChildren<QWidget *>()) {
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
             {"New File", "Run", "Connect Device", "Shell", "Variables", "Shell output",
              "Shell input", "Stop", "Clear shell", "Editor untitled.py", "Refresh variables",
              "Open File", "Save", "Send to Device", "Local", "Device", "Local files",
              "Device files", "Create folder…"})
            QVERIFY2(names.contains(QString::fromUtf8(expected)), expected);
    }

    void editsTheSelectedDocument()
    {
        WindowFixture fixture;
        auto *editor = fixture.find<CodeEditorView>("editor");
        OpenFiles &documents = fixture.state().documents();
        QVERIFY(editor->hasFocus());
        QTest::keyClicks(editor, u"x\u00a0"_s);
        QCOMPARE(documents.selectedFile()->content(), u"x\u00a0"_s);
        QVERIFY(documents.selectedFile()->isModified());

        const QUuid first = documents.selectedFileID();
        fixture.click("doc.badge.plus");
        QCOMPARE(editor->text(), QString());
        QCOMPARE(editor->accessibleName(), u"Editor untitled2.py"_s);
        QVERIFY(!documents.selectedFile()->isModified()); // being shown is no edit
        documents.select(first);
        QCOMPARE(editor->text(), u"x\u00a0"_s);
        documents.updateSelectedContent(u"from outside"_s);
        QCOMPARE(editor->text(), u"from outside"_s);

        QGuiApplication::clipboard()->setMimeData(new QMimeData); // there is nothing to paste
        for (const char *name : {"editor", "shellInput", "shellOutput"}) {
            fixture.find<QWidget>(name)->setFocus();
            fixture.press(Qt::Key_V, Qt::ControlModifier);
        }
        QCOMPARE(documents.selectedFile()->content(), u"from outside"_s);

        documents.openTextInEditor(QString(200, u'm'), u"x"_s);
        documents.selectedFile()->setFileChange(EditorFile::FileChange::Changed);
        const auto *bar = fixture.find<QWidget>("fileChangeBar");
        QVERIFY(bar->isVisible());
        QVERIFY(bar->heightForWidth(300) < 3 * bar->fontMetrics().lineSpacing()); // two lines
        bar->findChild<QWidget *>(u"keepText"_s)->setFocus();
        documents.selectedFile()->setFileChange(EditorFile::FileChange::None);
        QVERIFY(editor->hasFocus());
    }

    void searchesFromWhereverTheFocusIs()
    {
        WindowFixture fixture;
        fixture.state().documents().updateSelectedContent(u"a\nb a\na\n"_s);
        auto *editor = fixture.find<CodeEditorView>("editor");
        for (const char *name : {"editor", "shellInput", "shellOutput", "localFiles", "tabs"}) {
            editor->moveCursor(QTextCursor::Start);
            fixture.find<QWidget>(name)->setFocus();
            fixture.press(Qt::Key_F, Qt::ControlModifier);
            QTest::keyClicks(QApplication::focusWidget(), u"a"_s);
            fixture.press(Qt::Key_Return, Qt::ShiftModifier);
            QCOMPARE(editor->currentLine(), 3);
            fixture.press(Qt::Key_Return);
            fixture.press(Qt::Key_Escape);
            QVERIFY2(editor->hasFocus(), name);
            fixture.find<QWidget>(name)->setFocus();
            fixture.press(Qt::Key_F3);
            QCOMPARE(editor->currentLine(), 2);
            fixture.press(Qt::Key_F3, Qt::ShiftModifier);
            QCOMPARE(editor->currentLine(), 1);
            fixture.press(Qt::Key_G, Qt::ControlModifier);
            QTest::keyClicks(QApplication::focusWidget(), u"3"_s);
            fixture.press(Qt::Key_Return);
            QCOMPARE(editor->currentLine(), 3);
        }
    }

    void findsCommandsByName()
    {
        WindowFixture fixture;
        auto *editor = fixture.find<CodeEditorView>("editor");
        fixture.state().documents().updateSelectedContent(u"a\nb"_s);
        fixture.press(Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
        auto *field = fixture.find<QLineEdit>("commandField");
        auto *list = fixture.find<QTreeWidget>("commandList");
        QVERIFY(list->topLevelItemCount() > 40);
        QTest::keyClicks(field, u"dup line"_s);
        QCOMPARE(list->topLevelItemCount(), 1);
        QCOMPARE(list->topLevelItem(0)->text(1), u"Ctrl+Shift+D"_s);
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(editor->text(), u"a\na\nb"_s);
        QVERIFY(!field->isVisible());

        const int size = editor->fontInfo().pixelSize();
        fixture.press(Qt::Key_Plus, Qt::ControlModifier);
        QVERIFY(editor->fontInfo().pixelSize() > size);
        fixture.press(Qt::Key_Minus, Qt::ControlModifier);
        QCOMPARE(editor->fontInfo().pixelSize(), size);
        fixture.press(Qt::Key_Minus, Qt::ControlModifier);
        QVERIFY(editor->fontInfo().pixelSize() < size);
        fixture.press(Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(editor->fontInfo().pixelSize(), size);
    }

    void findsTextInTheFilesOfTheFolder()
    {
        WindowFixture fixture;
        // The folder is browsed by a link, and the file is open by its real path, with edits.
        const QString path = fixture.folder.filePath(u"a.py"_s);
        const QString link = fixture.folder.filePath(u"link"_s);
        put(path, "one\n");
        QVERIFY(QFile::link(fixture.folder.path(), link));
        fixture.state().documents().openFile(path);
        QTRY_COMPARE(fixture.state().documents().selectedFile()->path(), path);
        fixture.state().documents().updateSelectedContent(u"one\n  spam = 1\n"_s);
        fixture.state().localFiles().setLocalWorkingDir(link);
        fixture.press(Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
        auto *query = fixture.find<QLineEdit>("filesQuery");
        query->setText(u"spam"_s);
        QTest::keyClick(query, Qt::Key_Return);
        auto *list = fixture.find<QTreeWidget>("filesFound");
        QTRY_COMPARE(list->topLevelItemCount(), 1);
        QCOMPARE(list->topLevelItem(0)->child(0)->text(0), u"2: spam = 1"_s);
        QTRY_COMPARE(fixture.find<QLabel>("filesStatus")->text(),
                     u"Places: 1; files searched: 1"_s);
        emit list->itemActivated(list->topLevelItem(0)->child(0), 0);
        auto *editor = fixture.find<CodeEditorView>("editor");
        QTRY_COMPARE(editor->textCursor().selectedText(), u"spam"_s);
        QCOMPARE(editor->currentLine(), 2);
    }

    void runsAndStopsWithKeysAndButtons()
    {
        WindowFixture fixture(WindowFixture::Python::Real);
        auto *run = fixture.find<QToolButton>("play.circle.fill");
        auto *stop = fixture.find<QToolButton>("stop.circle.fill");
        QCOMPARE(run->toolTip(), u"Run current file (Ctrl+R)"_s);
        QCOMPARE(stop->toolTip(), u"Stop (Ctrl+.)"_s);
        QVERIFY(run->isVisible() && !stop->isVisible());
        fixture.press(Qt::Key_R, Qt::ControlModifier); // an empty document: nothing to run
        QVERIFY(run->isVisible());

        fixture.find<CodeEditorView>("editor")->setFocus();
        QTest::keyClicks(fixture.find<QWidget>("editor"), u"while True: print('round')"_s);
        fixture.press(Qt::Key_Period, Qt::ControlModifier); // Stop is not available
        fixture.press(Qt::Key_R, Qt::ControlModifier);
        QVERIFY(fixture.state().isRunning());
        QVERIFY(!run->isVisible() && stop->isVisible());
        QTRY_VERIFY(fixture.lines().size() >= 2);
        const qsizetype lineCount = fixture.lines().size();
        fixture.press(Qt::Key_R, Qt::ControlModifier); // Run is not available
        QCOMPARE(fixture.lines().size(), lineCount);
        fixture.press(Qt::Key_Period, Qt::ControlModifier);
        QVERIFY(!fixture.state().isRunning());
        QVERIFY(run->isVisible() && !stop->isVisible());
        QTRY_COMPARE(fixture.lines().last(), u"info: ▶ Done."_s);

        // The focus stays on the button that takes the other's place.
        fixture.state().documents().updateSelectedContent(u"import time\ntime.sleep(60)"_s);
        run->setFocus();
        fixture.press(Qt::Key_Space);
        QVERIFY(stop->hasFocus());
        fixture.press(Qt::Key_Space);
        QVERIFY(run->hasFocus());
        QTRY_COMPARE(fixture.lines().last(), u"info: ▶ Done."_s);
        fixture.click("play.circle.fill");
        QVERIFY(fixture.state().isRunning()); // and is closed with a program running
    }

    void keepsTheFocusDuringRunsAndStops()
    {
        WindowFixture fixture;
        auto *input = fixture.find<QWidget>("shellInput");
        input->setFocus();
        fixture.click("Variables");
        QVERIFY(fixture.find<QWidget>("Variables")->hasFocus());
        fixture.click("Shell");
        QVERIFY(input->hasFocus());
        fixture.click("Variables");
        fixture.find<QWidget>("refreshVariables")->setFocus();
        fixture.click("Shell");
        QVERIFY(input->hasFocus());
        fixture.find<QWidget>("editor")->setFocus();
        fixture.click("Variables");
        QVERIFY(fixture.find<QWidget>("editor")->hasFocus());
    }

    void reachesEverythingByTabInReadingOrder()
    {
        WindowFixture fixture;
        QVERIFY(QDir(fixture.folder.path()).mkdir(u"something"_s));
        fixture.state().localFiles().setLocalWorkingDir(fixture.folder.path());
        QTRY_VERIFY(fixture.find<QWidget>("localFiles")->isVisible());
        fixture.find<QWidget>("doc.badge.plus")->setFocus();
        QStringList reached;
        for (int i = 0; i < 19; ++i) {
            reached << QApplication::focusWidget()->objectName();
            if (reached.last() == u"editor") { // which keeps Tab for itself
                fixture.press(Qt::Key_F6);
                QCOMPARE(QApplication::focusWidget()->objectName(), u"shellInput"_s);
                fixture.press(Qt::Key_F6);
                QCOMPARE(QApplication::focusWidget()->objectName(), u"localFiles"_s);
                fixture.press(Qt::Key_F6);
                QCOMPARE(QApplication::focusWidget()->objectName(), u"editor"_s);
                fixture.find<QWidget>("Shell")->setFocus();
            } else {
                fixture.press(Qt::Key_Tab);
            }
        }
        QCOMPARE(reached.join(u' '),
                 QStringLiteral(
                     "doc.badge.plus folder square.and.arrow.down play.circle.fill ladybug.fill "
                     "arrow.up.doc deviceConnect laptopcomputer goUp createFolder "
                     "refreshLocal localFiles tabs editor Shell shellOutput shellInput "
                     "shellStop shellClear"));
        QCOMPARE(QApplication::focusWidget()->objectName(), reached.first());

        fixture.state().setSidebarTab(AppState::SidebarTab::Device); // made only now
        fixture.find<QWidget>("cpu")->setFocus();
        for (const auto &next : {u"goUp"_s, u"sendCurrentFile"_s, u"refreshDevice"_s, u"tabs"_s}) {
            fixture.press(Qt::Key_Tab);
            QCOMPARE(QApplication::focusWidget()->objectName(), next);
        }
    }

    void listsThePorts()
    {
        ScriptedBoard board;
        WindowFixture fixture(WindowFixture::Python::None, board.port());
        const auto *menu = fixture.find<QToolButton>("deviceConnect")->menu();
        QCOMPARE(entries(*menu), board.port() + u"|-|Try Without a Board|Refresh ports"_s);
        board.vanish();
        menu->actions().last()->trigger();
        QCOMPARE(entries(*menu), u"No serial ports found|-|Try Without a Board|Refresh ports"_s);
    }

    void connectsAndDisconnects()
    {
        ScriptedBoard board;
        WindowFixture fixture(WindowFixture::Python::None, board.port());
        auto *connect = fixture.find<QToolButton>("deviceConnect");
        const auto *indicator = fixture.find<QLabel>("connectionState");
        QCOMPARE(indicator->text(), u"Not Connected"_s);
        QStringList states;
        QObject::connect(&fixture.state().link(), &DeviceLink::connectionStateChanged,
                         &fixture.window(),
                         [&] { states << indicator->text() + u'/' + connect->text(); });

        QAccessibleInterface *face = QAccessible::queryAccessibleInterface(connect);
        QCOMPARE(face->role(), QAccessible::ButtonMenu);
        QCOMPARE(face->text(QAccessible::Name), u"Connect Device"_s);
        QCOMPARE(face->childCount(), 1);
        QCOMPARE(face->child(0)->child(0)->text(QAccessible::Name), board.port());
        QCOMPARE(face->indexOfChild(face->child(0)), 0);
        face->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTimer::singleShot(0, connect, [] { // the menu has an event loop of its own
            QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Down);
            QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Return);
        });
        QTRY_COMPARE(connect->text(), u"Disconnect"_s);
        QVERIFY(!connect->menu() && face->childCount() == 0);
        QCOMPARE(states, (QStringList{u"Connecting…/Connecting…"_s, u"Connected/Disconnect"_s}));
        fixture.click("Variables");
        QCOMPARE(fixture.find<QLabel>("variablesHint")->text(),
                 u"Run code on the device to inspect its variables"_s);
        fixture.click("Shell");
        board.forget();
        fixture.click("shellStop");
        QTRY_VERIFY(board.received().contains('\x03'));

        QTest::mouseClick(connect, Qt::LeftButton);
        QCOMPARE(states.last(), u"Not Connected/Connect Device"_s);
        QVERIFY(connect->menu());
    }

    void closesInEveryState_data()
    {
        QTest::addColumn<QString>("state");
        for (const char *state :
             {"connected", "program on the board", "program being sent", "debug run starting",
              "variables asked for", "board lost", "flood waiting to be shown", "menu open"})
            QTest::newRow(state) << QString::fromLatin1(state);
    }

    void closesInEveryState()
    {
        QFETCH(QString, state);
        ScriptedBoard board;
        auto fixture = std::make_unique<WindowFixture>(WindowFixture::Python::None, board.port());
        QVERIFY(fixture->state().link().connectDevice(board.port()));
        if (state == u"program on the board") {
            board.onProgram = [](const QByteArray &) { return QByteArray("running\r\n"); };
            fixture->state().documents().updateSelectedContent(u"pass"_s);
            fixture->press(Qt::Key_R, Qt::ControlModifier);
            QTRY_VERIFY(fixture->lines().join(u' ').contains(u"running\n"_s));
        } else if (state == u"program being sent" || state == u"debug run starting") {
            QTRY_VERIFY(!fixture->state().link().deviceCommandInFlight());
            board.setMute(true);
            fixture->state().documents().updateSelectedContent(u"pass"_s);
            fixture->press(state.startsWith(u"debug") ? Qt::Key_Y : Qt::Key_R, Qt::ControlModifier);
            QVERIFY(fixture->state().link().deviceCommandInFlight());
        } else if (state == u"variables asked for") {
            QTRY_VERIFY(!fixture->state().link().deviceCommandInFlight());
            board.setMute(true);
            fixture->click("Variables");
            QVERIFY(fixture->state().link().deviceCommandInFlight());
        } else if (state == u"board lost") {
            board.vanish();
        } else if (state == u"flood waiting to be shown") {
            fixture->state().shell().appendOutput(u"flood\n"_s.repeated(1'000'000));
            QCoreApplication::processEvents();
        } else if (state == u"menu open") {
            fixture->state().link().disconnectDevice();
            fixture->find<QToolButton>("deviceConnect")->menu()->popup(QPoint(10, 10));
        }
        fixture->window().close();
        fixture.reset();
        QCoreApplication::processEvents();
    }

    void asksBeforeItClosesDuringATransfer()
    {
        WindowFixture fixture;
        auto running = std::make_unique<TransferStatus::Running>(fixture.state().transfer());
        running->setStatus(u"Copying a.py…"_s);
        running->setTotal(1);
        fixture.prompts.confirmation.confirmed = false;
        fixture.window().close();
        QTRY_VERIFY(!fixture.prompts.asked.isEmpty());
        QVERIFY(fixture.prompts.takeAsked().startsWith(u"Stop the transfer and close? | "_s));
        QVERIFY(fixture.window().isVisible() && !running->isCanceled());
        fixture.prompts.confirmation.confirmed = true;
        fixture.window().close();
        QTRY_VERIFY(running->isCanceled());
        QVERIFY(fixture.window().isVisible());          // until it has ended
        QTRY_VERIFY(QApplication::activeModalWidget()); // nothing can be typed meanwhile
        running.reset();
        QTRY_VERIFY(!fixture.window().isVisible());
    }
};

QTEST_MAIN(tst_ContentView)
#include "tst_ContentView.moc"
