#include "document/OpenFiles.h"
#include "support/RecordingShell.h"

#include <QSignalSpy>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// A Shell and some new documents, the last of them selected.
struct Desk
{
    explicit Desk(int count)
    {
        for (int i = 0; i < count; ++i)
            documents.newFile();
    }
    /// The names in the order of the tabs, the selected one in brackets.
    QString names() const
    {
        QStringList result;
        for (const EditorFile &file : documents.openFiles())
            result << (file.id == documents.selectedFileID() ? u"[%1]"_s.arg(file.name)
                                                             : file.name);
        return result.join(u' ');
    }
    QUuid id(qsizetype place) const { return documents.openFiles()[place].id; }

    RecordingShell shell;
    OpenFiles documents{shell};
};

} // namespace

class tst_OpenFiles final : public QObject
{
    Q_OBJECT

private slots:
    void closesTabs_data()
    {
        QTest::addColumn<int>("selected");
        QTest::addColumn<QString>("names");
        QTest::newRow("the selected one") << 2 << u"[untitled.py] untitled2.py"_s;
        QTest::newRow("another one") << 1 << u"untitled.py [untitled2.py]"_s;
    }

    void closesTabs()
    {
        QFETCH(int, selected);
        Desk desk(3);
        desk.documents.select(desk.id(selected));
        const QSignalSpy selection(&desk.documents, &OpenFiles::selectedFileChanged);
        desk.documents.closeFile(desk.id(2));
        QTEST(desk.names(), "names");
        QCOMPARE(selection.size(), selected == 2 ? 1 : 0);
        desk.documents.newFile();
        QVERIFY(desk.names().endsWith(u" [untitled3.py]"_s)); // numbered by its place
    }

    void neverStaysWithoutATab()
    {
        Desk desk(1);
        desk.documents.updateSelectedContent(u"edited"_s);
        desk.documents.closeFile(desk.id(0));
        QCOMPARE(desk.names(), u"[untitled.py]"_s);
        QVERIFY(desk.documents.selectedFile()->content.isEmpty());
    }

    void tellsAKeystrokeFromAChangedTabAndFromAMark()
    {
        Desk desk(2);
        const QSignalSpy tabs(&desk.documents, &OpenFiles::openFilesChanged);
        const QSignalSpy tab(&desk.documents, &OpenFiles::fileChanged);
        const QSignalSpy content(&desk.documents, &OpenFiles::contentChanged);
        const QSignalSpy marks(&desk.documents, &OpenFiles::breakpointsChanged);
        for (const int line : {3, 5, 3})
            desk.documents.toggleBreakpoint(line);
        for (const QString &text : {u"a"_s, u"ab"_s, u"abc"_s})
            desk.documents.updateSelectedContent(text);
        desk.documents.select(desk.id(0));
        desk.documents.clearBreakpoints(); // it has none
        QCOMPARE(desk.documents.openFiles()[1].content, u"abc"_s);
        QCOMPARE(desk.documents.openFiles()[1].breakpoints, QSet<int>{5});
        QVERIFY(desk.documents.openFiles()[1].isModified);
        QVERIFY(!desk.documents.openFiles()[0].isModified);
        QCOMPARE(content.size(), 3);
        QCOMPARE(marks.size(), 3);
        QCOMPARE(tab.size(), 1);
        QCOMPARE(tab.first().first().toUuid(), desk.id(1));
        QCOMPARE(tabs.size(), 0);
        desk.documents.toggleBreakpoint(7);
        desk.documents.clearBreakpoints();
        QCOMPARE(marks.last().first().toUuid(), desk.id(0));
        QCOMPARE(desk.documents.openFiles()[0].breakpoints, QSet<int>());
    }

    void opensTheSameTextTwice()
    {
        Desk desk(0);
        for (int i = 0; i < 2; ++i)
            desk.documents.openTextInEditor(u"%1.py"_s, u"x = 1"_s);
        QCOMPARE(desk.names(), u"%1.py [%1.py]"_s);
        QVERIFY(!desk.documents.selectedFile()->isModified);
        QCOMPARE(desk.documents.selectedFile()->content, u"x = 1"_s);
        QCOMPARE(desk.shell.lines(), QStringList(2, u"info: Opened %1.py in the editor."_s));
    }
};

QTEST_GUILESS_MAIN(tst_OpenFiles)
#include "tst_OpenFiles.moc"
