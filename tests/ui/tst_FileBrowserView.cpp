#include "Desk.h"
#include "support/Files.h"
#include "ui/ElidedLabel.h"
#include "ui/FileBrowserView.h"
#include "ui/FileListView.h"

#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QScrollBar>
#include <QStackedWidget>
#include <QToolButton>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// A person who looks through the folders of this computer, by mouse and by keys.
class tst_FileBrowserView final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<Desk> m_desk;
    FileBrowserView *m_view = nullptr;

    QString at(const QString &name) const { return m_home->filePath(name); }
    FileListView &list() const { return m_view->list(); }
    QStringList names() const
    {
        QStringList result;
        for (int row = 0; row < list().model()->rowCount(); ++row)
            result << list().model()->index(row, 0).data().toString();
        return result;
    }
    QString shown() const { return names().join(u' '); }
    QString folder() const { return m_desk->state().localFiles().localWorkingDir(); }
    void browse(const QString &path)
    {
        m_desk->state().localFiles().setLocalWorkingDir(path);
        QTRY_VERIFY(!m_view->isLoading());
    }
    void choose(const QString &name)
    {
        QVERIFY2(names().contains(name), qPrintable(shown()));
        list().setCurrentIndex(list().model()->index(static_cast<int>(names().indexOf(name)), 0));
    }
    QPoint pointOf(const QString &name) const
    {
        const auto row = static_cast<int>(names().indexOf(name));
        return list().visualRect(list().model()->index(row, 0)).center();
    }
    void click(const char *name)
    {
        QTest::mouseClick(m_view->findChild<QWidget *>(QString::fromLatin1(name)), Qt::LeftButton);
    }

private slots:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_desk = std::make_unique<Desk>();
        m_view = m_desk->find<FileBrowserView>("localBrowser");
        browse(m_home->path());
    }
    void cleanup()
    {
        m_desk.reset();
        m_home.reset();
    }

    void listsFoldersFirstInNaturalOrder()
    {
        QVERIFY(list().isHidden());
        QCOMPARE(m_view->findChild<QLabel *>(u"emptyFolder"_s)->text(), u"Empty folder"_s);
        QVERIFY(m_view->findChild<QLabel *>(u"emptyFolder"_s)->isVisible());
        for (const char *name :
             {"b.py", "a10.txt", "a2.txt", "A/inner", ".git/config", "data.JSON"})
            put(at(QString::fromLatin1(name)), "x");
        click("refreshLocal");
        QTRY_COMPARE(shown(), u"A a2.txt a10.txt b.py data.JSON"_s);
        QVERIFY(list().isVisible());
        QCOMPARE(list().accessibleName(), u"Local files"_s);
        QStringList symbols;
        for (const auto &row : static_cast<FileListModel *>(list().model())->rows())
            symbols << FileListModel::symbol(row);
        QCOMPARE(symbols.join(u' '),
                 u"folder doc.text doc.text doc.plaintext "
                 "doc.badge.ellipsis"_s);
        const auto *label = m_view->findChild<ElidedLabel *>();
        QCOMPARE(label->text(), QFileInfo(m_home->path()).fileName());
        QCOMPARE(label->toolTip(), m_home->path());
    }

    void goesIntoFoldersAndOutAgain()
    {
        put(at(u"one/two/deep.py"_s), "x");
        put(at(u"other/x.py"_s), "x");
        click("refreshLocal");
        QTRY_COMPARE(shown(), u"one other"_s);
        list().setFocus();
        QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, pointOf(u"one"_s));
        QTest::mouseDClick(list().viewport(), Qt::LeftButton, {}, pointOf(u"one"_s));
        QTRY_COMPARE(shown(), u"two"_s);
        m_desk->press(Qt::Key_Return); // the first row is the chosen one
        QTRY_COMPARE(shown(), u"deep.py"_s);
        QVERIFY(QFile::remove(at(u"one/two/deep.py"_s)));
        click("refreshLocal");
        QTRY_VERIFY(list().isHidden());
        m_desk->press(Qt::Key_Backspace); // an empty folder is left by keys too
        QTRY_COMPARE(shown(), u"two"_s);
        click("goUp");
        QTRY_COMPARE(shown(), u"one other"_s);
        QCOMPARE(list().currentIndex().data().toString(), u"one"_s); // came from there
        QVERIFY(list().hasFocus());

        browse(u"/"_s);
        QCOMPARE(m_view->findChild<ElidedLabel *>()->text(), u"/"_s);
        click("goUp");
        QCOMPARE(folder(), u"/"_s);
        browse(at(u"not there"_s));
        QCOMPARE(shown(), QString());
        QVERIFY(list().isHidden());
    }

    void opensFilesAndSaysWhyNot()
    {
        put(at(u"good.py"_s), "print(1)\n");
        put(at(u"bad.py"_s), "\xff\xfe");
        click("refreshLocal");
        QTRY_COMPARE(shown(), u"bad.py good.py"_s);
        list().setFocus();
        choose(u"good.py"_s);
        m_desk->press(Qt::Key_Enter);
        QTRY_COMPARE(m_desk->state().documents().selectedFile()->path, at(u"good.py"_s));
        list().setFocus();
        choose(u"bad.py"_s);
        m_desk->press(Qt::Key_Return);
        QTRY_COMPARE(m_desk->lines().size(), 1);
        QVERIFY2(m_desk->lines().constFirst().startsWith(u"error: Cannot open bad.py: "_s),
                 qPrintable(m_desk->lines().constFirst()));
    }

    void offersWhatCanBeDoneWithARow_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("way");
        QTest::addColumn<QString>("items");
        const QString file = u"Open|Copy to Device"_s;
        QTest::newRow("a file by menu key") << u"f.py"_s << u"menu"_s << file;
        QTest::newRow("a file by Shift+F10") << u"f.py"_s << u"F10"_s << file;
        QTest::newRow("a file by mouse") << u"f.py"_s << u"mouse"_s << file;
        QTest::newRow("a folder by mouse") << u"d"_s << u"mouse"_s << u"Copy Folder to Device"_s;
        QTest::newRow("nothing, beside the rows") << QString() << u"mouse"_s << QString();
    }
    void offersWhatCanBeDoneWithARow()
    {
        QFETCH(QString, name);
        QFETCH(QString, way);
        put(at(u"f.py"_s), "x");
        put(at(u"d/x"_s), "x");
        click("refreshLocal");
        QTRY_COMPARE(shown(), u"d f.py"_s);
        list().setFocus();
        if (way == u"mouse") {
            const QPoint point =
                name.isEmpty() ? QPoint(20, list().viewport()->height() - 5) : pointOf(name);
            QContextMenuEvent event(QContextMenuEvent::Mouse, point,
                                    list().viewport()->mapToGlobal(point));
            QCoreApplication::sendEvent(list().viewport(), &event);
        } else {
            choose(name);
            if (way == u"menu")
                m_desk->press(Qt::Key_Menu);
            else
                m_desk->press(Qt::Key_F10, Qt::ShiftModifier);
        }
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QStringList items;
        for (const QAction *action : menu ? menu->actions() : QList<QAction *>())
            items << action->text();
        QTEST(items.join(u'|'), "items");
        if (!menu)
            return;
        // Without a board, both copies say so: what was asked for was asked of the right part.
        QTest::keyClick(menu, Qt::Key_Up);
        QTest::keyClick(menu, Qt::Key_Return);
        QTRY_COMPARE(m_desk->lines().size(), 1);
        QVERIFY2(m_desk->lines().constFirst().startsWith(u"error: "_s),
                 qPrintable(m_desk->lines().constFirst()));
        QVERIFY(!QApplication::activePopupWidget());
    }

    void createsFolders_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("said");
        QTest::addColumn<QString>("shows");
        QTest::newRow("a new one") << u"new"_s << QString() << u"new old"_s;
        QTest::newRow("one that is there")
            << u"old"_s << u"error: “old” already exists in %1."_s << u"old"_s;
        QTest::newRow("an unusable name")
            << u".."_s << u"error: “..” isn't a usable folder name."_s << u"old"_s;
        QTest::newRow("cancelled") << QString() << QString() << u"old"_s;
    }
    void createsFolders()
    {
        QFETCH(QString, answer);
        QFETCH(QString, said);
        put(at(u"old/x"_s), "x");
        click("refreshLocal");
        QTRY_COMPARE(shown(), u"old"_s);
        m_desk->questions.name = answer;
        click("createFolder");
        QCOMPARE(m_desk->questions.takeAsked(),
                 u"New Folder | Create a folder in %1. | untitled folder | Create"_s.arg(
                     m_home->path()));
        QTRY_COMPARE(m_desk->lines().join(u'\n'),
                     said.contains(u"%1") ? said.arg(m_home->path()) : said);
        QFETCH(QString, shows);
        QTRY_COMPARE(shown(), shows);
    }

    void keepsTheAnswerToTheLastQuestion()
    {
        // A folder that answers late: a pipe would not do, so many entries must.
        for (int i = 0; i < 3000; ++i)
            put(at(u"large/%1"_s.arg(i)), "x");
        put(at(u"small/only"_s), "x");
        LocalFiles &files = m_desk->state().localFiles();
        files.setLocalWorkingDir(at(u"large"_s));
        files.setLocalWorkingDir(at(u"small"_s));
        files.reload();
        QTRY_COMPARE(shown(), u"only"_s);
        browse(at(u"large"_s));
        QCOMPARE(names().size(), 3000);
        files.setLocalWorkingDir(at(u"small"_s));
        QTRY_COMPARE(shown(), u"only"_s);
    }

    void keepsThePlaceWhenTheChosenRowGoes()
    {
        QList<FileListModel::Row> rows;
        for (int i = 0; i < 20'000; ++i)
            rows.append({u"file%1.py"_s.arg(i), false, std::nullopt});
        list().showRows(rows, at(u"huge"_s));
        static_cast<QStackedWidget *>(list().parentWidget())->setCurrentWidget(&list());
        list().setCurrentIndex(list().model()->index(10'000, 0));
        const int scrolledTo = list().verticalScrollBar()->value();
        QVERIFY(scrolledTo > 0);
        rows.removeAt(10'000);
        list().showRows(rows, at(u"huge"_s));
        QCOMPARE(list().currentIndex().row(), 10'000); // the neighbour of what has gone
        QCOMPARE(list().verticalScrollBar()->value(), scrolledTo);
    }
};

QTEST_MAIN(tst_FileBrowserView)
#include "tst_FileBrowserView.moc"
