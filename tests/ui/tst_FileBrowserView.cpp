#include "support/Awaited.h"
#include "support/Files.h"
#include "ui/WindowFixture.h"
#include "ui/browser/FileBrowserView.h"
#include "ui/browser/FileListView.h"
#include "ui/controls/ElidedLabel.h"

#include <QClipboard>
#include <QDialog>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>

#include <fstream>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// The files of this computer, operated by mouse and keys.
class tst_FileBrowserView final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<WindowFixture> m_fixture;
    FileBrowserView *m_view = nullptr;

    QString at(const QString &name) const { return m_home->filePath(name); }
    FileListView &list() const { return m_view->list(); }
    LocalFiles &files() const { return m_fixture->state().localFiles(); }
    QStringList names() const
    {
        QStringList result;
        for (const auto &row : static_cast<FileListModel *>(list().model())->rows())
            result << row.name;
        return result;
    }
    QString shown() const { return names().join(u' '); }
    void browse(const QString &path)
    {
        files().setLocalWorkingDir(path);
        QTRY_VERIFY_WITH_TIMEOUT(!m_view->isLoading(), 30'000);
    }
    /// Creates files with the relative paths \p names, and refreshes.
    void fill(const QStringList &names)
    {
        for (const QString &name : names)
            put(at(name), "x");
        m_fixture->click("refreshLocal");
        QTRY_VERIFY(!m_view->isLoading());
    }
    QModelIndex row(const QString &name) const
    {
        return list().model()->index(static_cast<int>(names().indexOf(name)), 0);
    }
    void choose(const QString &name)
    {
        list().setFocus();
        list().setCurrentIndex(row(name));
    }

private slots:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_fixture = std::make_unique<WindowFixture>();
        m_view = m_fixture->find<FileBrowserView>("localBrowser");
        browse(m_home->path());
    }
    void cleanup()
    {
        m_fixture.reset();
        m_home.reset();
    }

    void listsFoldersFirstInNaturalOrder()
    {
        QVERIFY(list().isHidden());
        QCOMPARE(m_view->findChild<QLabel *>(u"emptyFolder"_s)->text(), u"Empty folder"_s);
        QVERIFY(m_view->findChild<QLabel *>(u"emptyFolder"_s)->isVisible());
        fill({u"b.py"_s, u"a10.txt"_s, u"a2.txt"_s, u"A/inner"_s, u".git/x"_s, u"data.JSON"_s});
        QCOMPARE(shown(), u"A a2.txt a10.txt b.py data.JSON"_s);
        QVERIFY(list().isVisible());
        QCOMPARE(list().accessibleName(), u"Local files"_s);
        QStringList symbols;
        for (const auto &row : static_cast<FileListModel *>(list().model())->rows())
            symbols << FileListModel::symbol(row);
        QCOMPARE(symbols.join(u' '),
                 u"folder doc.text doc.text doc.plaintext doc.badge.ellipsis"_s);
        // The chosen row shows whether the list has the focus.
        choose(u"A"_s);
        m_fixture->find<QWidget>("editor")->setFocus();
        const QRect place(list().mapTo(list().window(), QPoint()), list().size());
        const auto seen = [&] {
            return list().screen()->grabWindow(list().window()->winId()).copy(place).toImage();
        };
        QCoreApplication::processEvents();
        const QImage before = seen();
        list().setFocus();
        QTRY_VERIFY(seen() != before);
        const auto *label = m_view->findChild<ElidedLabel *>();
        QCOMPARE(label->text(), QFileInfo(m_home->path()).fileName());
        QCOMPARE(label->toolTip(), m_home->path());
    }

    void opensFoldersAndTheirParents()
    {
        fill({u"one/two/deep.py"_s, u"other/x.py"_s});
        const QPoint point = list().visualRect(row(u"one"_s)).center();
        QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, point);
        QTest::mouseDClick(list().viewport(), Qt::LeftButton, {}, point);
        QTRY_COMPARE(shown(), u"two"_s);
        m_fixture->press(Qt::Key_Return); // the first row is the chosen one
        QTRY_COMPARE(shown(), u"deep.py"_s);
        QVERIFY(QFile::remove(at(u"one/two/deep.py"_s)));
        m_fixture->press(Qt::Key_F2);
        files().reload();
        QTRY_VERIFY(!m_view->isLoading());
        QVERIFY(m_view->abilities().canRename); // it is listed until its name was edited
        m_fixture->press(Qt::Key_Escape);
        QTRY_VERIFY(list().isHidden());
        m_fixture->press(Qt::Key_Backspace); // an empty folder is left by keys too
        QTRY_COMPARE(shown(), u"two"_s);
        QTest::mouseClick(m_view->findChild<QWidget *>(u"goUp"_s), Qt::LeftButton);
        QTRY_COMPARE(shown(), u"one other"_s);
        QCOMPARE(list().currentIndex().data().toString(), u"one"_s); // came from there
        QVERIFY(list().hasFocus());

        m_fixture->press(Qt::Key_F2); // not for an entry of the next folder
        browse(u"/"_s);
        QVERIFY(names().contains(u"tmp"_s));
        QCOMPARE(m_view->findChild<ElidedLabel *>()->text(), u"/"_s);
        QTest::mouseClick(m_view->findChild<QWidget *>(u"goUp"_s), Qt::LeftButton);
        QCOMPARE(files().localWorkingDir(), u"/"_s);
        browse(at(u"not there"_s));
        QVERIFY(list().isHidden() && names().isEmpty());
        QCOMPARE(m_view->findChild<QLabel *>(u"messageText"_s)->text(),
                 u"No such file or directory"_s);
    }

    void keepsANameThatIsBeingTyped()
    {
        fill({u"old.py"_s});
        QSignalSpy edited(&list().entries(), &FileListModel::nameEdited);
        choose(u"old.py"_s);
        m_fixture->press(Qt::Key_F2);
        m_fixture->press(Qt::Key_N);
        QDialog question(&m_fixture->window());
        question.open();
        QTRY_COMPARE(QApplication::activeWindow(), &question);
        question.close();
        QVERIFY(list().isEditing());
        m_fixture->state().setSidebarTab(AppState::SidebarTab::Device); // as a new connection does
        QVERIFY(!list().isEditing() && edited.isEmpty());
    }

    void followsTheFolderWhileItIsHidden()
    {
        fill({u"a.py"_s, u"sub/x"_s});
        choose(u"a.py"_s);
        auto *sidebar = m_fixture->find<QWidget>("sidebar");
        sidebar->hide();
        m_fixture->command(u"&Rename…"_s)->trigger();
        QVERIFY(list().isEditing());
        sidebar->hide();
        files().setLocalWorkingDir(at(u"sub"_s));
        QVERIFY(m_fixture->command(u"Send C&hanged Files of “sub”…"_s));
        QVERIFY(!m_fixture->command(u"&Rename…"_s)->isEnabled());
    }

    void opensFilesAndReportsFailures()
    {
        put(at(u"bad.py"_s), "\xff\xfe");
        fill({u"good.py"_s});
        choose(u"good.py"_s);
        m_fixture->press(Qt::Key_Enter);
        QTRY_COMPARE(m_fixture->state().documents().selectedFile()->path(), at(u"good.py"_s));
        choose(u"bad.py"_s);
        m_fixture->press(Qt::Key_Return);
        QTRY_VERIFY(m_fixture->lines().join(u'\n').startsWith(u"error: Cannot open bad.py: "_s));
        std::ofstream(at(u"a"_s).toStdString() + "\xe9.py") << "x";
        m_fixture->click("refreshLocal");
        QTRY_VERIFY(names().contains(u"a\uFFFD.py"_s));
        QCOMPARE(list().currentIndex().data().toString(), u"bad.py"_s); // which is lower now
        choose(u"a\uFFFD.py"_s);
        m_fixture->press(Qt::Key_Return);
        QVERIFY(m_fixture->lines().last().startsWith(u"error: Cannot open a\uFFFD.py: its name"));
    }

    void showsAndRunsTheCommandsOfARow_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("items");
        QTest::newRow("a file")
            << u"f.py"_s
            << u"&Open|&Copy to Device|Send C&hanged Files of ||&Rename…|Move to &Trash…"_s;
        QTest::newRow("a folder")
            << u"d"_s
            << u"&Open|&Copy Folder to Device|Send C&hanged Files of ||&Rename…|Move to &Trash…"_s;
        QTest::newRow("beside the rows")
            << QString() << u"New &File…|New Fol&der…||Send C&hanged Files of "_s;
    }
    void showsAndRunsTheCommandsOfARow()
    {
        QFETCH(QString, name);
        fill({u"f.py"_s, u"d/x"_s});
        if (name == u"f.py") {
            choose(name);
            m_fixture->press(Qt::Key_Menu);
        } else {
            const QPoint point = name.isEmpty() ? QPoint(20, list().viewport()->height() - 5)
                                                : list().visualRect(row(name)).center();
            QContextMenuEvent event(QContextMenuEvent::Mouse, point,
                                    list().viewport()->mapToGlobal(point));
            QCoreApplication::sendEvent(list().viewport(), &event);
        }
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QStringList items;
        for (const QAction *action : menu ? menu->actions() : QList<QAction *>())
            items << action->text().section(u'“', 0, 0);
        QTEST(items.join(u'|'), "items");
        if (name.isEmpty()) {
            menu->close();
            return;
        }
        if (name == u"d") {
            QTest::keyClick(menu, Qt::Key_O);
            QTRY_COMPARE(shown(), u"x"_s);
            return;
        }
        QTest::keyClick(menu, Qt::Key_C);
        QTRY_COMPARE(m_fixture->lines(),
                     QStringList{u"error: Connect a device before copying %1."_s.arg(name)});
        QVERIFY(!QApplication::activePopupWidget());
    }

    void createsFolders()
    {
        fill({u"old/x"_s});
        for (const QString &answer : {QString(), u".."_s, u"old"_s, u"new"_s}) {
            m_fixture->prompts.name = answer;
            m_fixture->click("createFolder");
        }
        QTRY_COMPARE(shown(), u"new old"_s);
        const QString home = m_home->path();
        QTRY_COMPARE(m_fixture->lines(),
                     (QStringList{u"error: “..” isn't a usable folder name."_s,
                                  u"error: “old” already exists in %1."_s.arg(home)}));
        const QString asked =
            u"New Folder | Create a folder in %1. | untitled folder | Create"_s.arg(home);
        QCOMPARE(m_fixture->prompts.asked, QStringList(4, asked));
    }

    void pastesWhatAFileManagerCut()
    {
        fill({u"x.py"_s});
        const QString path = m_fixture->folder.filePath(u"ä b%20#.py"_s);
        put(path, "x");
        for (const QByteArray &operation : {"copy"_ba, "cut"_ba}) {
            auto *copied = new QMimeData;
            copied->setData(u"x-special/gnome-copied-files"_s,
                            operation + "\nfile://localhost"
                                + QUrl::fromLocalFile(path).path(QUrl::FullyEncoded).toUtf8());
            QGuiApplication::clipboard()->setMimeData(copied);
            choose(u"x.py"_s);
            m_fixture->press(Qt::Key_V, Qt::ControlModifier);
        }
        QTRY_COMPARE(shown(), u"ä b%20#.py x.py"_s);
        QCOMPARE(m_fixture->lines().size(), 1); // copies are not pasted here
        QVERIFY(!QFile::exists(path));
    }

    void showsAFolderOfTwentyThousand()
    {
        for (int i = 0; i < 20'000; ++i)
            put(at(u"large/%1"_s.arg(i)), {});
        put(at(u"small/only"_s), "x");
        browse(at(u"large"_s));
        QCOMPARE(names().size(), 20'000);
        list().setCurrentIndex(list().model()->index(10'000, 0));
        const int scrolledTo = list().verticalScrollBar()->value();
        QVERIFY(scrolledTo > 0);
        QVERIFY(QFile::remove(at(u"large/10000"_s)));
        m_fixture->click("refreshLocal");
        QTRY_COMPARE_WITH_TIMEOUT(list().model()->rowCount(), 19'999, 30'000);
        QCOMPARE(list().currentIndex().row(), 10'000); // the neighbor of the removed entry
        QCOMPARE(list().verticalScrollBar()->value(), scrolledTo);

        // The result of the last listing is shown, also when that of an earlier one arrives later.
        browse(m_home->path());
        files().setLocalWorkingDir(at(u"large"_s));
        files().setLocalWorkingDir(at(u"small"_s));
        QVERIFY(awaited(files().list(at(u"large"_s)))); // as long as the earlier one takes
        QTRY_COMPARE(shown(), u"only"_s);
    }
};

QTEST_MAIN(tst_FileBrowserView)
#include "tst_FileBrowserView.moc"
