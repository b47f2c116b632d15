#include "app/Documents.h"
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
        for (const EditorFile &file : documents.openFiles()) {
            const bool isSelected = file.id == documents.selectedFileID();
            result << (isSelected ? u"["_s + file.name + u"]"_s : file.name);
        }
        return result.join(u' ');
    }
    QUuid id(qsizetype place) const { return documents.openFiles()[place].id; }

    RecordingShell shell;
    Documents documents{shell};
};

} // namespace

class tst_Documents final : public QObject
{
    Q_OBJECT

private slots:
    void closesTabs_data()
    {
        QTest::addColumn<int>("selected");
        QTest::addColumn<int>("closed");
        QTest::addColumn<QString>("names");
        QTest::newRow("last") << 2 << 2 << u"[untitled.py] untitled2.py"_s;
        QTest::newRow("first") << 0 << 0 << u"[untitled2.py] untitled3.py"_s;
        QTest::newRow("another one") << 1 << 2 << u"untitled.py [untitled2.py]"_s;
    }

    void closesTabs()
    {
        QFETCH(int, selected);
        QFETCH(int, closed);
        Desk desk(3);
        desk.documents.select(desk.id(selected));
        const QSignalSpy selection(&desk.documents, &Documents::selectedFileChanged);
        desk.documents.closeFile(desk.id(closed));
        QTEST(desk.names(), "names");
        QCOMPARE(selection.size(), selected == closed ? 1 : 0);
        desk.documents.newFile();
        QVERIFY(desk.names().endsWith(u" [untitled3.py]"_s)); // numbered by its place
    }

    void neverStaysWithoutATab()
    {
        Desk desk(1);
        const QUuid old = desk.id(0);
        desk.documents.updateSelectedContent(u"edited"_s);
        for (int i = 0; i < 2; ++i) {
            desk.documents.closeFile(old);
            QCOMPARE(desk.names(), u"[untitled.py]"_s);
            QVERIFY(desk.id(0) != old);
            QVERIFY(desk.documents.selectedFile()->content.isEmpty());
        }
    }

    void tellsAKeystrokeFromAChangedTab()
    {
        Desk desk(2);
        const QSignalSpy tabs(&desk.documents, &Documents::openFilesChanged);
        const QSignalSpy tab(&desk.documents, &Documents::fileChanged);
        const QSignalSpy content(&desk.documents, &Documents::contentChanged);
        for (const QString &text : {u"a"_s, u"ab"_s, u"abc"_s})
            desk.documents.updateSelectedContent(text);
        QCOMPARE(desk.documents.openFiles()[1].content, u"abc"_s);
        QVERIFY(desk.documents.openFiles()[1].isModified);
        QVERIFY(!desk.documents.openFiles()[0].isModified);
        QCOMPARE(content.size(), 3);
        QCOMPARE(tab.size(), 1);
        QCOMPARE(tab.first().first().toUuid(), desk.id(1));
        QCOMPARE(tabs.size(), 0);
    }

    void marksLinesOfTheSelectedDocumentOnly()
    {
        Desk desk(2);
        const QSignalSpy changes(&desk.documents, &Documents::breakpointsChanged);
        const QSignalSpy tab(&desk.documents, &Documents::fileChanged);
        const auto lines = [&desk](int i) { return desk.documents.openFiles()[i].breakpoints; };
        desk.documents.toggleBreakpoint(3);
        desk.documents.toggleBreakpoint(5);
        desk.documents.toggleBreakpoint(3);
        desk.documents.updateSelectedContent(u"a\nb"_s);
        QCOMPARE(lines(1), QSet<int>{5});
        desk.documents.select(desk.id(0));
        desk.documents.clearBreakpoints();
        QCOMPARE(changes.size(), 3);
        desk.documents.toggleBreakpoint(7);
        desk.documents.clearBreakpoints();
        QCOMPARE(changes.size(), 5);
        QCOMPARE(changes.last().first().toUuid(), desk.id(0));
        QCOMPARE(lines(0), QSet<int>());
        QCOMPARE(lines(1), QSet<int>{5});
        QCOMPARE(tab.size(), 1); // the edit's: marks are no edit
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

QTEST_GUILESS_MAIN(tst_Documents)
#include "tst_Documents.moc"
