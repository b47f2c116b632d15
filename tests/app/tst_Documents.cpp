#include "app/Documents.h"
#include "support/RecordingShell.h"

#include <QSignalSpy>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// A Shell, the documents and what they signal.
struct Desk
{
    RecordingShell shell;
    Documents documents{shell};
    QSignalSpy tabs{&documents, &Documents::openFilesChanged};
    QSignalSpy selection{&documents, &Documents::selectedFileChanged};
    QSignalSpy tab{&documents, &Documents::fileChanged};
    QSignalSpy content{&documents, &Documents::contentChanged};

    /// The names in the order of the tabs, the selected one in brackets.
    QString names() const
    {
        QStringList result;
        for (const EditorFile &file : documents.openFiles()) {
            const bool isSelected = file.id == documents.selectedFileID();
            result << (isSelected ? u"["_s + file.name + u"]"_s : file.name);
        }
        return result.join(u' ');
    }
    QUuid id(qsizetype place) const { return documents.openFiles()[place].id; }
};

} // namespace

class tst_Documents final : public QObject
{
    Q_OBJECT

private slots:
    void numbersNewFilesByTheirPlace()
    {
        Desk desk;
        for (int i = 0; i < 3; ++i)
            desk.documents.newFile();
        QCOMPARE(desk.names(), u"untitled.py untitled2.py [untitled3.py]"_s);
        desk.documents.closeFile(desk.id(0));
        desk.documents.newFile();
        QCOMPARE(desk.names(), u"untitled2.py untitled3.py [untitled3.py]"_s);
    }

    void selectsTheFirstTabWhenTheSelectedOneCloses_data()
    {
        QTest::addColumn<int>("selected");
        QTest::addColumn<int>("closed");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("selectionSignals");
        QTest::newRow("last") << 2 << 2 << u"[untitled.py] untitled2.py"_s << 1;
        QTest::newRow("first") << 0 << 0 << u"[untitled2.py] untitled3.py"_s << 1;
        QTest::newRow("another one") << 1 << 2 << u"untitled.py [untitled2.py]"_s << 0;
    }

    void selectsTheFirstTabWhenTheSelectedOneCloses()
    {
        QFETCH(int, selected);
        QFETCH(int, closed);
        QFETCH(QString, expected);
        Desk desk;
        for (int i = 0; i < 3; ++i)
            desk.documents.newFile();
        desk.documents.select(desk.id(selected));
        desk.selection.clear();
        desk.tabs.clear();
        desk.documents.closeFile(desk.id(closed));
        QCOMPARE(desk.names(), expected);
        QTEST(int(desk.selection.size()), "selectionSignals");
        QCOMPARE(desk.tabs.size(), 1);
    }

    void neverStaysWithoutATab()
    {
        Desk desk;
        desk.documents.newFile();
        const QUuid old = desk.id(0);
        desk.documents.updateSelectedContent(u"edited"_s);
        desk.documents.closeFile(old);
        QCOMPARE(desk.names(), u"[untitled.py]"_s);
        QVERIFY(desk.id(0) != old);
        QVERIFY(desk.documents.selectedFile()->content.isEmpty());
        QVERIFY(!desk.documents.selectedFile()->isModified);
        desk.documents.closeFile(old);
        QCOMPARE(desk.names(), u"[untitled.py]"_s);
    }

    void tellsAKeystrokeFromAChangedTab()
    {
        Desk desk;
        desk.documents.updateSelectedContent(u"nobody's"_s);
        QCOMPARE(desk.content.size(), 0);
        desk.documents.newFile();
        desk.documents.newFile();
        desk.documents.select(desk.id(0));
        desk.tabs.clear();
        for (const QString &text : {u"a"_s, u"ab"_s, u"abc"_s})
            desk.documents.updateSelectedContent(text);
        QCOMPARE(desk.documents.openFiles()[0].content, u"abc"_s);
        QVERIFY(desk.documents.openFiles()[0].isModified);
        QVERIFY(!desk.documents.openFiles()[1].isModified);
        QCOMPARE(desk.content.size(), 3);
        QCOMPARE(desk.tab.size(), 1);
        QCOMPARE(desk.tab.first().first().toUuid(), desk.id(0));
        QCOMPARE(desk.tabs.size(), 0);
    }

    void opensTheSameTextTwice()
    {
        Desk desk;
        for (int i = 0; i < 2; ++i)
            desk.documents.openTextInEditor(u"%1.py"_s, u"x = 1"_s);
        QCOMPARE(desk.names(), u"%1.py [%1.py]"_s);
        QVERIFY(!desk.documents.selectedFile()->isModified);
        QCOMPARE(desk.documents.selectedFile()->content, u"x = 1"_s);
        QCOMPARE(desk.shell.lines(), QStringList(2, u"info: Opened %1.py in the editor."_s));
    }

    void ignoresTheSelectionOfWhatIsNotOpen()
    {
        Desk desk;
        desk.documents.newFile();
        desk.selection.clear();
        desk.documents.select(QUuid::createUuid());
        desk.documents.select(desk.id(0));
        QCOMPARE(desk.names(), u"[untitled.py]"_s);
        QCOMPARE(desk.selection.size(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_Documents)
#include "tst_Documents.moc"
