#include "Desk.h"
#include "support/Files.h"
#include "ui/ElidedLabel.h"
#include "ui/FileBrowserView.h"
#include "ui/FileListView.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QMenu>
#include <QScrollBar>
#include <QStackedWidget>
#include <QToolButton>

using namespace Korvane;

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
        QCOMPARE(m_view->findChild<QLabel *>(QStringLiteral("emptyFolder"))->text(),
                 QStringLiteral("Empty folder"));
        QVERIFY(m_view->findChild<QLabel *>(QStringLiteral("emptyFolder"))->isVisible());
        for (const char *name :
             {"b.py", "a10.txt", "a2.txt", "A/inner", ".git/config", "data.JSON"})
            put(at(QString::fromLatin1(name)), "x");
        click("refreshLocal");
        QTRY_COMPARE(shown(), QStringLiteral("A a2.txt a10.txt b.py data.JSON"));
        QVERIFY(list().isVisible());
        QCOMPARE(list().accessibleName(), QStringLiteral("Local files"));
        QStringList symbols;
        for (const auto &row : static_cast<FileListModel *>(list().model())->rows())
            symbols << FileListModel::symbol(row);
        QCOMPARE(symbols.join(u' '),
                 QStringLiteral("folder doc.text doc.text doc.plaintext "
                                "doc.badge.ellipsis"));
        const auto *label = m_view->findChild<ElidedLabel *>();
        QCOMPARE(label->text(), QFileInfo(m_home->path()).fileName());
        QCOMPARE(label->toolTip(), m_home->path());
    }

    void goesIntoFoldersAndOutAgain()
    {
        put(at(QStringLiteral("one/two/deep.py")), "x");
        put(at(QStringLiteral("other/x.py")), "x");
        click("refreshLocal");
        QTRY_COMPARE(shown(), QStringLiteral("one other"));
        list().setFocus();
        QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, pointOf(QStringLiteral("one")));
        QTest::mouseDClick(list().viewport(), Qt::LeftButton, {}, pointOf(QStringLiteral("one")));
        QTRY_COMPARE(shown(), QStringLiteral("two"));
        m_desk->press(Qt::Key_Return); // the first row is the chosen one
        QTRY_COMPARE(shown(), QStringLiteral("deep.py"));
        QVERIFY(QFile::remove(at(QStringLiteral("one/two/deep.py"))));
        click("refreshLocal");
        QTRY_VERIFY(list().isHidden());
        m_desk->press(Qt::Key_Backspace); // an empty folder is left by keys too
        QTRY_COMPARE(shown(), QStringLiteral("two"));
        click("goUp");
        QTRY_COMPARE(shown(), QStringLiteral("one other"));
        QCOMPARE(list().currentIndex().data().toString(), QStringLiteral("one")); // came from there
        QVERIFY(list().hasFocus());

        browse(QStringLiteral("/"));
        QCOMPARE(m_view->findChild<ElidedLabel *>()->text(), QStringLiteral("/"));
        click("goUp");
        QCOMPARE(folder(), QStringLiteral("/"));
        browse(at(QStringLiteral("not there")));
        QCOMPARE(shown(), QString());
        QVERIFY(list().isHidden());
    }

    void opensFilesAndSaysWhyNot()
    {
        put(at(QStringLiteral("good.py")), "print(1)\n");
        put(at(QStringLiteral("bad.py")), "\xff\xfe");
        click("refreshLocal");
        QTRY_COMPARE(shown(), QStringLiteral("bad.py good.py"));
        list().setFocus();
        choose(QStringLiteral("good.py"));
        m_desk->press(Qt::Key_Enter);
        QTRY_COMPARE(m_desk->state().documents().selectedFile()->path,
                     at(QStringLiteral("good.py")));
        list().setFocus();
        choose(QStringLiteral("bad.py"));
        m_desk->press(Qt::Key_Return);
        QTRY_COMPARE(m_desk->lines().size(), 1);
        QVERIFY2(m_desk->lines().constFirst().startsWith(u"error: Cannot open bad.py: "_qs),
                 qPrintable(m_desk->lines().constFirst()));
    }

    void offersWhatCanBeDoneWithARow_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("way");
        QTest::addColumn<QString>("items");
        const QString file = QStringLiteral("Open|Copy to Device");
        QTest::newRow("a file by menu key") << QStringLiteral("f.py") << u"menu"_qs << file;
        QTest::newRow("a file by Shift+F10") << QStringLiteral("f.py") << u"F10"_qs << file;
        QTest::newRow("a file by mouse") << QStringLiteral("f.py") << u"mouse"_qs << file;
        QTest::newRow("a folder by mouse")
            << QStringLiteral("d") << u"mouse"_qs << QStringLiteral("Copy Folder to Device");
        QTest::newRow("nothing, beside the rows") << QString() << u"mouse"_qs << QString();
    }
    void offersWhatCanBeDoneWithARow()
    {
        QFETCH(QString, name);
        QFETCH(QString, way);
        put(at(QStringLiteral("f.py")), "x");
        put(at(QStringLiteral("d/x")), "x");
        click("refreshLocal");
        QTRY_COMPARE(shown(), QStringLiteral("d f.py"));
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
        QVERIFY2(m_desk->lines().constFirst().startsWith(u"error: "_qs),
                 qPrintable(m_desk->lines().constFirst()));
        QVERIFY(!QApplication::activePopupWidget());
    }

    void createsFolders_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("said");
        QTest::addColumn<QString>("shows");
        QTest::newRow("a new one") << u"new"_qs << QString() << u"new old"_qs;
        QTest::newRow("one that is there")
            << u"old"_qs << u"error: “old” already exists in %1."_qs << u"old"_qs;
        QTest::newRow("an unusable name")
            << u".."_qs << u"error: “..” isn't a usable folder name."_qs << u"old"_qs;
        QTest::newRow("cancelled") << QString() << QString() << u"old"_qs;
    }
    void createsFolders()
    {
        QFETCH(QString, answer);
        QFETCH(QString, said);
        put(at(QStringLiteral("old/x")), "x");
        click("refreshLocal");
        QTRY_COMPARE(shown(), QStringLiteral("old"));
        m_desk->questions.name = answer;
        click("createFolder");
        QCOMPARE(m_desk->questions.takeAsked(),
                 QStringLiteral("New Folder | Create a folder in %1. | untitled folder | Create")
                     .arg(m_home->path()));
        QTRY_COMPARE(m_desk->lines().join(u'\n'),
                     said.contains(u"%1") ? said.arg(m_home->path()) : said);
        QFETCH(QString, shows);
        QTRY_COMPARE(shown(), shows);
    }

    void keepsTheAnswerToTheLastQuestion()
    {
        // A folder that answers late: a pipe would not do, so many entries must.
        QVERIFY(QDir().mkpath(at(QStringLiteral("large"))));
        for (int i = 0; i < 3000; ++i)
            put(at(QStringLiteral("large/%1").arg(i)), "x");
        put(at(QStringLiteral("small/only")), "x");
        m_desk->state().localFiles().setLocalWorkingDir(at(QStringLiteral("large")));
        m_desk->state().localFiles().setLocalWorkingDir(at(QStringLiteral("small")));
        m_desk->state().localFiles().reload();
        QTRY_COMPARE(shown(), QStringLiteral("only"));
        QTest::qWait(0);
        browse(at(QStringLiteral("large")));
        QCOMPARE(names().size(), 3000);
        m_desk->state().localFiles().setLocalWorkingDir(at(QStringLiteral("small")));
        QTRY_COMPARE(shown(), QStringLiteral("only"));
    }

    void showsLargeFoldersAtOnceAndKeepsThePlace()
    {
        QList<FileListModel::Row> rows;
        for (int i = 0; i < 20'000; ++i)
            rows.append({QStringLiteral("file%1.py").arg(i), false, std::nullopt});
        QElapsedTimer time;
        time.start();
        list().showRows(rows, at(QStringLiteral("huge")));
        static_cast<QStackedWidget *>(list().parentWidget())->setCurrentWidget(&list());
        list().repaint();
        QVERIFY2(time.elapsed() < 300, qPrintable(QString::number(time.elapsed())));

        list().setCurrentIndex(list().model()->index(10'000, 0));
        const int scrolledTo = list().verticalScrollBar()->value();
        QVERIFY(scrolledTo > 0);
        rows.removeAt(10'000);
        list().showRows(rows, at(QStringLiteral("huge")));
        QCOMPARE(list().currentIndex().row(), 10'000); // the neighbour of what has gone
        QCOMPARE(list().verticalScrollBar()->value(), scrolledTo);
    }
};

QTEST_MAIN(tst_FileBrowserView)
#include "tst_FileBrowserView.moc"
