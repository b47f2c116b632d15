#include "editor/CodeEditorView.h"
#include "support/Files.h"
#include "ui/WindowFixture.h"
#include "ui/window/EditorTabStrip.h"
#include "ui/window/LocalFileOpening.h"

#include <QAccessible>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QMimeData>
#include <QPainter>
#include <QToolButton>
#include <QWheelEvent>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// The tabs, the menus and the shortcuts of the window.
class tst_EditorTabStrip final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<WindowFixture> m_fixture;
    EditorTabStrip *m_tabs = nullptr;

    OpenFiles &documents() const { return m_fixture->state().documents(); }
    /// "a.py [b.py*]": the second is selected and modified. "!" marks a tab with a wrong state.
    QString shown() const
    {
        QStringList result;
        for (int i = 0; i < m_tabs->count(); ++i) {
            const EditorFile &file = *documents().openFiles().at(i);
            const QWidget *end = m_tabs->tabButton(i, QTabBar::RightSide);
            const bool isDot = end->objectName() == u"modifiedDot";
            QString text = m_tabs->tabText(i) + (isDot ? u"*"_s : QString());
            if (isDot != file.isModified() || m_tabs->tabData(i).toUuid() != file.id())
                text += u'!';
            result << (i == m_tabs->currentIndex() ? u'[' + text + u']' : text);
        }
        return result.join(u' ');
    }
    void open(const QString &names)
    {
        for (const QString &name : names.split(u' '))
            documents().openTextInEditor(name, QString());
        documents().closeFile(documents().openFiles().constFirst()->id());
    }
    QToolButton *closeButton(int tab) const
    {
        return qobject_cast<QToolButton *>(m_tabs->tabButton(tab, QTabBar::RightSide));
    }
private slots:
    void init()
    {
        m_fixture = std::make_unique<WindowFixture>();
        m_tabs = m_fixture->find<EditorTabStrip>("tabs");
    }
    void cleanup() { m_fixture.reset(); }

    void followsTheDocuments()
    {
        QCOMPARE(m_tabs->height(), 34);
        QCOMPARE(m_tabs->fontInfo().pixelSize(), 12);
        QCOMPARE(shown(), u"[untitled.py]"_s);
        open(u"a.py b.py c.py"_s);
        QCOMPARE(shown(), u"a.py b.py [c.py]"_s);
        m_fixture->find<CodeEditorView>("editor")->setFocus();
        QTest::keyClicks(m_fixture->find<QWidget>("editor"), u"x = 1"_s);
        QCOMPARE(shown(), u"a.py b.py [c.py*]"_s);
        QTest::mouseClick(m_tabs, Qt::LeftButton, {}, m_tabs->tabRect(1).center());
        QCOMPARE(shown(), u"a.py [b.py] c.py*"_s);
        QCOMPARE(m_fixture->find<CodeEditorView>("editor")->text(), QString());
        EditorFile &last = *documents().openFiles().last();
        last.setSavedText(last.text());
        last.moveTo(u"R&D.py"_s, DocumentPlace::local(u"/tmp/R&D.py"_s));
        QCOMPARE(shown(), u"a.py [b.py] R&&D.py"_s);
        QCOMPARE(m_tabs->tabToolTip(2), u"/tmp/R&D.py"_s);

        QTest::mouseClick(closeButton(2), Qt::LeftButton);
        QCOMPARE(shown(), u"a.py [b.py]"_s);
        QTest::mouseClick(closeButton(1), Qt::LeftButton); // the chosen one: the first follows
        QCOMPARE(shown(), u"[a.py]"_s);
        QTest::mouseClick(closeButton(0), Qt::LeftButton);
        QCOMPARE(shown(), u"[untitled.py]"_s);
    }

    void showsTabsAndTheirButtonsToAssistivePrograms()
    {
        QAccessibleInterface *strip = QAccessible::queryAccessibleInterface(m_tabs);
        const auto children = [strip] {
            QStringList names;
            for (int i = 0; i < strip->childCount(); ++i) {
                QAccessibleInterface *child = strip->child(i);
                if (strip->indexOfChild(child) != i || child->parent() != strip)
                    names << u"misplaced"_s;
                names << child->text(QAccessible::Name)
                        + (child->state().selected ? u"*"_s : QString());
            }
            return names.join(u'|');
        };
        QCOMPARE(strip->text(QAccessible::Name), u"Open files"_s);
        open(u"R&D.py b.py"_s);
        QCOMPARE(children(), u"R&D.py|b.py*|Close R&D.py|Close b.py"_s);
        strip->child(0)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(documents().selectedFile()->name(), u"R&D.py"_s);
        QTest::keyClicks(m_fixture->find<QWidget>("editor"), u"x"_s);
        QCOMPARE(children(), u"R&D.py, edited*|b.py|Close b.py"_s);
        const QPoint second = strip->child(1)->rect().center();
        QCOMPARE(strip->childAt(second.x(), second.y()), strip->child(1));
        QAccessibleInterface *last = strip->child(1);
        strip->child(2)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(children(), u"R&D.py, edited*"_s);
        QVERIFY(!last->isValid());
    }

    void showsNamesOnOneLine()
    {
        const QString name = u"a\n✅ b\u202e.py"_s;
        const QString oneLine = u"a␊✅ b⟨U+202E⟩.py"_s;
        const QString path = m_fixture->folder.filePath(name);
        put(path, "\xff");
        openLocalFiles(m_fixture->state(), {{path}});
        QTRY_COMPARE(m_fixture->lines().size(), 1);
        QVERIFY(m_fixture->lines().last().startsWith(u"error: Cannot open "_s + oneLine + u": "_s));
        put(path, "");
        openLocalFiles(m_fixture->state(), {{path}});
        QTRY_COMPARE(m_tabs->count(), 2);
        m_fixture->press(Qt::Key_U, Qt::ControlModifier);
        QCOMPARE(m_fixture->lines().last(),
                 u"error: Connect a device before sending "_s + oneLine + u'.');
        QCOMPARE(m_tabs->tabText(1), oneLine);
        const auto *strip = QAccessible::queryAccessibleInterface(m_tabs);
        QCOMPARE(strip->child(1)->text(QAccessible::Name), oneLine);
        QCOMPARE(m_fixture->find<CodeEditorView>("editor")->accessibleName(),
                 u"Editor "_s + oneLine);
    }

    void selectsAndClosesTabsByKeys_data()
    {
        QTest::addColumn<QString>("focus");
        for (const char *focus : {"editor", "shellInput", "localFiles", "tabs", "Shell"})
            QTest::newRow(focus) << QString::fromLatin1(focus);
    }
    void selectsAndClosesTabsByKeys()
    {
        QFETCH(QString, focus);
        put(m_fixture->folder.filePath(u"f"_s), "");
        m_fixture->state().localFiles().setLocalWorkingDir(m_fixture->folder.path());
        QTRY_VERIFY(m_fixture->find<QWidget>("localFiles")->isVisible());
        open(u"a b c"_s);
        auto *focused = m_fixture->find<QWidget>(focus.toLatin1().constData());
        focused->setFocus();
        QVERIFY(focused->hasFocus());
        const Qt::KeyboardModifiers backwards = Qt::ControlModifier | Qt::ShiftModifier;
        m_fixture->press(Qt::Key_Tab, Qt::ControlModifier);
        QCOMPARE(shown(), u"[a] b c"_s);
        m_fixture->press(Qt::Key_PageDown, Qt::ControlModifier);
        QCOMPARE(shown(), u"a [b] c"_s);
        m_fixture->press(Qt::Key_Backtab, backwards);
        m_fixture->press(Qt::Key_PageUp, Qt::ControlModifier);
        QCOMPARE(shown(), u"a b [c]"_s);
        m_fixture->press(Qt::Key_W, Qt::ControlModifier);
        QCOMPARE(shown(), u"[a] b"_s);
        m_fixture->press(Qt::Key_N, Qt::ControlModifier);
        QCOMPARE(shown(), u"a b [untitled3.py]"_s);
        documents().updateSelectedContent(u"edited"_s);
        m_fixture->press(Qt::Key_W, Qt::ControlModifier);
        QTest::mouseClick(m_tabs, Qt::MiddleButton, {}, m_tabs->tabRect(2).center());
        QCOMPARE(shown(), u"a b [untitled3.py*]"_s); // the question was canceled
        QTRY_COMPARE(m_fixture->prompts.asked.size(), 2);
        QVERIFY(m_fixture->prompts.takeAsked().endsWith(u" | Save/Don’t Save"_s));
        QTest::mouseClick(m_tabs, Qt::MiddleButton, {}, m_tabs->tabRect(0).center());
        QCOMPARE(shown(), u"b [untitled3.py*]"_s);
        m_fixture->prompts.name.clear();
        m_fixture->press(Qt::Key_S, Qt::ControlModifier);
        m_fixture->press(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_COMPARE(m_fixture->prompts.asked.size(), 2);
        QVERIFY(m_fixture->prompts.asked.constFirst().startsWith(u"Save File | Save to "_s));
        QCOMPARE(m_fixture->prompts.asked.last(), u"save | untitled3.py"_s);
        m_fixture->press(Qt::Key_U, Qt::ControlModifier);
        QCOMPARE(m_fixture->lines().last(),
                 u"error: Connect a device before sending untitled3.py."_s);
        m_fixture->prompts.choice = u"Don’t Save"_s;
        m_fixture->press(Qt::Key_W, Qt::ControlModifier);
        QTRY_COMPARE(shown(), u"[b]"_s);
        QVERIFY(m_fixture->find<QWidget>(focus == u"tabs" ? "tabs" : "editor")->hasFocus());
    }

    void scrollsWhatDoesNotFit()
    {
        QStringList names;
        for (int i = 0; i < 60; ++i)
            names << u"document%1.py"_s.arg(i);
        names << QString(255, u'n');
        open(names.join(u' '));
        QCOMPARE(m_tabs->count(), 61);
        QVERIFY(m_tabs->width() < m_fixture->window().width());
        const QRect last = m_tabs->tabRect(60);
        QVERIFY(last.width() < 400 && m_tabs->rect().contains(last.center()));
        documents().select(documents().openFiles().constFirst()->id());
        QVERIFY(m_tabs->rect().contains(m_tabs->tabRect(0).center()));
        // The wheel moves the strip, and leaves the chosen document alone.
        const auto turn = [this](int by) {
            QWheelEvent wheel({20, 10}, m_tabs->mapToGlobal(QPointF(20, 10)), {}, {0, by}, {}, {},
                              Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(m_tabs, &wheel);
        };
        const QRect first = m_tabs->tabRect(0);
        turn(-360);
        QVERIFY(m_tabs->tabRect(0).right() < 0);
        QCOMPARE(m_tabs->currentIndex(), 0);
        turn(360);
        QCOMPARE(m_tabs->tabRect(0), first);
        const auto shownLast = [this] {
            documents().select(documents().openFiles().constLast()->id());
            return m_tabs->tabRect(m_tabs->count() - 1);
        };
        const QRect atEnd = shownLast();
        turn(360);
        QCOMPARE(shownLast(), atEnd); // it is chosen already
    }

    void savesTypedTextAndKeepsTheOtherBytes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("pairs, none at the end") << "\tа = 1\r\n  \r\nb"_ba;
        QTest::newRow("mixed") << "a\r\nb\nc\rd\xE2\x80\xA9"
                                  "e\r\n"_ba;
        QTest::newRow("mark") << "\xEF\xBB\xBF# a\n"_ba;
        QTest::newRow("control characters") << "a\0b\x01\x0C\x1E\x7F\xC2\x85\n\0\n"_ba;
        QTest::newRow("right to left") << u"# שלום\nx = 'عربي'\u200F\u202B\n"_s.toUtf8();
        QTest::newRow("combining, beyond 16 bits")
            << u"\u0301e\u0301\u0301\n🐍\uFEFF\uFFFC"_s.toUtf8();
        QTest::newRow("5 MB") << "total = total + 1  # again\r\n"_ba.repeated(180'000);
        QTest::newRow("one line of 1 MB") << "x = [1, 'a'] ; "_ba.repeated(70'000);
    }

    void savesTypedTextAndKeepsTheOtherBytes()
    {
        QFETCH(QByteArray, bytes);
        const QString path = m_fixture->folder.filePath(u"odd.py"_s);
        put(path, bytes);
        const bool hasMark = bytes.startsWith("\xEF\xBB\xBF");
        const QByteArray typed = bytes.first(hasMark ? 3 : 0) + "if " + bytes.mid(hasMark ? 3 : 0);
        documents().openFile(path);
        const auto isModified = [&] { return documents().selectedFile()->isModified(); };
        QTRY_COMPARE(documents().selectedFile()->name(), u"odd.py"_s);
        m_fixture->find<QWidget>("editor")->setFocus();
        QVERIFY(!isModified());
        QTest::keyClicks(m_fixture->find<QWidget>("editor"), u"if "_s);
        QVERIFY(isModified());
        m_fixture->press(Qt::Key_S, Qt::ControlModifier);
        QTRY_VERIFY(!isModified());
        QVERIFY(bytesOf(path) == typed);
        for (int key = 0; key < 3; ++key)
            m_fixture->press(Qt::Key_Backspace);
        // The question delays the write, so the window is closed during it.
        put(path, "of another program");
        m_fixture->prompts.choice = u"Replace"_s;
        m_fixture->prompts.meanwhile = [this] {
            m_fixture->press(Qt::Key_Q, Qt::ControlModifier);
            QVERIFY2(m_fixture->window().isVisible(), "closing waits for the write");
        };
        m_fixture->press(Qt::Key_S, Qt::ControlModifier);
        QTRY_VERIFY(!m_fixture->window().isVisible());
        QVERIFY(!isModified() && bytesOf(path) == bytes);
    }

    void movesTabsWithTheMouseAndClosesTheOthers()
    {
        open(u"a.py b.py c.py"_s);
        const QPoint from = m_tabs->tabRect(2).center();
        QTest::mousePress(m_tabs, Qt::LeftButton, {}, from);
        int x = from.x();
        for (const int end : {m_tabs->tabRect(0).left(), m_tabs->tabRect(1).right()}) {
            for (; std::abs(x - end) > 5; x += x < end ? 5 : -5) {
                QMouseEvent move(QEvent::MouseMove, QPointF(x, from.y()),
                                 m_tabs->mapToGlobal(QPointF(x, from.y())), Qt::NoButton,
                                 Qt::LeftButton, {});
                QApplication::sendEvent(m_tabs, &move);
            }
        }
        QTest::mouseRelease(m_tabs, Qt::LeftButton, {}, m_tabs->tabRect(1).center());
        QCOMPARE(shown(), u"a.py [c.py] b.py"_s);

        documents().updateSelectedContent(u"edited"_s);
        const auto closeOthers = [this](int tab) {
            const QPoint place = m_tabs->tabRect(tab).center();
            QContextMenuEvent event(QContextMenuEvent::Mouse, place, m_tabs->mapToGlobal(place));
            QApplication::sendEvent(m_tabs, &event);
            auto *entries = m_tabs->findChild<QMenu *>();
            entries->actions().at(1)->trigger();
            delete entries;
        };
        closeOthers(0); // the question about c.py is canceled
        QCOMPARE(shown(), u"a.py [c.py*] b.py"_s);
        // Saving c.py as b.py closes that tab, which is the next one.
        m_fixture->state().localFiles().setLocalWorkingDir(m_fixture->folder.path());
        const QString path = m_fixture->folder.filePath(u"b.py"_s);
        documents().openFiles().last()->moveTo(u"b.py"_s, DocumentPlace::local(path));
        m_fixture->prompts.choice = u"Save"_s;
        m_fixture->prompts.name = u"b.py"_s;
        closeOthers(0);
        QTRY_COMPARE(shown(), u"[a.py]"_s);
        QCOMPARE(bytesOf(path), "edited"_ba);
    }

    void hidesAndResizesTheParts()
    {
        const auto *sidebar = m_fixture->find<QWidget>("sidebar");
        const auto *shell = m_fixture->find<QWidget>("shellInput");
        const int width = sidebar->width();
        m_fixture->press(Qt::Key_F7, Qt::ControlModifier);
        QCOMPARE(sidebar->width(), width + 40);
        m_fixture->find<QWidget>("sidebar")->hide(); // as a restored window state does
        m_fixture->press(Qt::Key_F7);
        QVERIFY(sidebar->isVisible());
        m_fixture->press(Qt::Key_F7);
        QVERIFY(!sidebar->isVisible());
        m_fixture->press(Qt::Key_F6, Qt::ShiftModifier); // skips what is hidden
        QVERIFY(shell->hasFocus());
        m_fixture->press(Qt::Key_F8);
        QVERIFY(!shell->isVisible() && m_fixture->find<QWidget>("editor")->hasFocus());
        m_fixture->command(u"&Variables"_s)->trigger();
        QVERIFY(m_fixture->find<QWidget>("Variables")->isVisible());
        m_fixture->command(u"&Local Files"_s)->trigger();
        QVERIFY(sidebar->isVisible());
    }

    void hasTheMenusOfTheProgram()
    {
        // Every command with a key is in a menu, and the menu shows its key.
        QStringList shown;
        for (const QMenu *menu : m_fixture->window().menuBar()->findChildren<QMenu *>()) {
            for (const QAction *action : menu->actions())
                shown << action->text().remove(u'&') + u' ' + action->shortcut().toString();
        }
        for (const QAction *action : m_fixture->window().findChildren<QAction *>()) {
            const QString text = action->text().remove(u'&');
            const QString key = action->shortcut().toString(QKeySequence::NativeText);
            if (!key.isEmpty() && !qobject_cast<QLineEdit *>(action->parent()))
                QVERIFY2(shown.contains(text + u' ' + key), qPrintable(text));
        }
        QVERIFY(shown.contains(u"Previous File Ctrl+Shift+Tab"_s));
        auto *editor = m_fixture->find<CodeEditorView>("editor");
        editor->setFocus();
        QTest::keyClicks(editor, u"abc"_s);
        // By keys alone: the menu returns the focus before the action is triggered.
        const auto choose = [this](const QString &item) {
            QMenu *edit = m_fixture->window().menuBar()->actions().at(1)->menu();
            m_fixture->press(Qt::Key_E, Qt::AltModifier);
            QTRY_VERIFY(edit->isVisible());
            for (QAction *action : edit->actions()) {
                if (action->text().remove(u'&') == item)
                    edit->setActiveAction(action);
            }
            QTest::keyClick(edit, Qt::Key_Return);
        };
        choose(u"Select All"_s);
        choose(u"Cut"_s);
        QCOMPARE(editor->text(), QString());
        QCOMPARE(QApplication::clipboard()->text(), u"abc"_s);
        choose(u"Undo"_s);
        QCOMPARE(editor->text(), u"abc"_s);
        m_fixture->find<QWidget>("Shell")->setFocus();
        choose(u"Undo"_s); // a button has nothing to undo
        QCOMPARE(editor->text(), u"abc"_s);
        m_fixture->press(Qt::Key_Q, Qt::ControlModifier);
        QTRY_VERIFY(!m_fixture->window().isVisible()); // when the edits are kept
    }

    void opensFilesFromTheDialogAndWhatIsDropped()
    {
        const QString good = m_fixture->folder.filePath(u"good.py"_s);
        const QString bad = m_fixture->folder.filePath(u"bad.py"_s);
        put(good, "1\n");
        put(bad, "\xff");
        m_fixture->prompts.name = bad; // its error is not shown
        m_fixture->click("folder");
        m_fixture->prompts.name = good;
        m_fixture->click("folder");
        QTRY_COMPARE(shown(), u"untitled.py [good.py]"_s);
        QCOMPARE(m_fixture->prompts.asked, (QStringList{u"open"_s, u"open"_s}));
        QCOMPARE(m_fixture->lines(), QStringList());
        documents().closeFile(documents().selectedFileID());

        const auto drop = [](const QStringList &paths, QWidget *onto) {
            QMimeData data;
            QList<QUrl> urls;
            for (const QString &path : paths)
                urls << QUrl::fromLocalFile(path);
            data.setUrls(urls);
            data.setText(u"as text"_s);
            QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
            QCoreApplication::sendEvent(onto, &enter);
            QVERIFY(enter.isAccepted());
            // With Shift held a move is proposed, after which the source deletes the file.
            QDropEvent event({5, 5}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                             Qt::ShiftModifier);
            QCoreApplication::sendEvent(onto, &event);
            QCOMPARE(event.dropAction(), Qt::CopyAction);
        };
        auto *editor = m_fixture->find<CodeEditorView>("editor");
        drop({good, bad}, editor->viewport());
        QTRY_COMPARE(shown(), u"untitled.py [good.py]"_s);
        QTRY_COMPARE(m_fixture->lines().size(), 1);
        QVERIFY(m_fixture->lines().constFirst().startsWith(u"error: Cannot open bad.py: "_s));
        QCOMPARE(editor->text(), u"1\n"_s); // and not the dropped words
        m_fixture->state().setSidebarTab(AppState::SidebarTab::Device);
        drop({m_fixture->folder.path()}, &m_fixture->window());
        QTRY_COMPARE(m_fixture->state().localFiles().localWorkingDir(), m_fixture->folder.path());
        QCOMPARE(m_fixture->state().sidebarTab(), AppState::SidebarTab::Local);
    }
};

QTEST_MAIN(tst_EditorTabStrip)
#include "tst_EditorTabStrip.moc"
