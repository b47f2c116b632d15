#include "document/OpenFiles.h"
#include "document/PythonTextStorage.h"
#include "support/RecordingShell.h"

#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// A Shell and some new documents, the last of them selected.
struct DocumentsFixture
{
    explicit DocumentsFixture(int count)
    {
        for (int i = 0; i < count; ++i)
            documents.newFile();
    }
    /// The names in the order of the tabs, the selected one in brackets.
    QString names() const
    {
        QStringList result;
        for (const EditorFile *file : documents.openFiles())
            result << (file == documents.selectedFile() ? u"[%1]"_s.arg(file->name())
                                                        : file->name());
        return result.join(u' ');
    }
    QUuid id(qsizetype place) const { return documents.openFiles()[place]->id(); }

    RecordingShell shell;
    OpenFiles documents{shell};
};

} // namespace

class tst_OpenFiles final : public QObject
{
    Q_OBJECT

private slots:
    void closesTabs()
    {
        for (const auto &[selected, names] : {std::pair(2, u"[untitled.py] untitled2.py"_s),
                                              {1, u"untitled.py [untitled2.py]"_s}}) {
            DocumentsFixture fixture(3);
            fixture.documents.select(fixture.id(selected));
            const QSignalSpy selection(&fixture.documents, &OpenFiles::selectedFileChanged);
            fixture.documents.closeFile(fixture.id(2));
            QCOMPARE(fixture.names(), names);
            QCOMPARE(selection.size(), selected == 2 ? 1 : 0);
            fixture.documents.newFile();
            QVERIFY(fixture.names().endsWith(u" [untitled3.py]"_s)); // numbered by its place
        }
    }

    void opensATabAfterTheLastIsClosed()
    {
        DocumentsFixture fixture(1);
        fixture.documents.updateSelectedContent(u"edited"_s);
        fixture.documents.closeFile(fixture.id(0));
        QCOMPARE(fixture.names(), u"[untitled.py]"_s);
        QVERIFY(fixture.documents.selectedFile()->content().isEmpty());
    }

    void signalsTextTabAndMarkChangesSeparately()
    {
        DocumentsFixture fixture(1);
        const QSignalSpy tab(&fixture.documents, &OpenFiles::fileChanged);
        const QSignalSpy content(&fixture.documents, &OpenFiles::contentChanged);
        const QSignalSpy marks(&fixture.documents, &OpenFiles::breakpointsChanged);
        for (const int line : {3, 5, 3})
            fixture.documents.toggleBreakpoint(line);
        for (const QString &text : {u"a"_s, u"ab"_s})
            fixture.documents.updateSelectedContent(text);
        const EditorFile &file = *fixture.documents.selectedFile();
        QVERIFY(file.isModified() && file.content() == u"ab");
        QCOMPARE(file.breakpoints(), QSet<int>{5});
        fixture.documents.clearBreakpoints();
        QCOMPARE(file.breakpoints(), QSet<int>());
        QCOMPARE(content.size(), 2);
        QCOMPARE(marks.size(), 4);
        QCOMPARE(tab.size(), 1); // that it is modified now
    }

    void isUnmodifiedAgainWhenEverythingIsUndone()
    {
        EditorFile file(u"f.py"_s, {}, DocumentText::fromFile(u"a\r\nb\nc"_s));
        QTextCursor(&file.storage()).insertText(u"x"_s);
        QVERIFY(file.isModified());
        file.storage().undo();
        QVERIFY(!file.isModified());
        file.setContent(u"c"_s); // takes lines away that end differently
        file.setSavedText(file.text());
        QVERIFY(!file.isModified());
        file.storage().undo();
        QVERIFY(file.isModified());
        file.storage().redo();
        QVERIFY(!file.isModified());
        file.setSavedText(std::nullopt);
        QVERIFY(file.isModified());
    }

    void movesBreakpointsWithTheirLines()
    {
        // Replaces `characters` characters from the start of `line` on by `text`.
        for (const auto &[line, characters, text, after] :
             {std::tuple(1, 0, u"above\n"_s, QSet<int>{3, 5}),
              {2, 0, u"\n"_s, {3, 5}},
              {2, 0, u"in the marked line"_s, {2, 4}},
              {5, 0, u"\n"_s, {2, 4}},
              {3, 3, {}, {2, 3}},
              {2, 3, {}, {3}}, // the marked line itself
              {1, 15, {}, {}},
              {1, 12, u"1\n2\n3\n4\n"_s, {2, 4}}}) { // by as many
            EditorFile file(u"f.py"_s, {}, DocumentText::fromFile(u"l1\nl2\nl3\nl4\nl5\n"_s));
            for (const int marked : {2, 4})
                file.toggleBreakpoint(marked);
            QTextCursor caret(file.storage().findBlockByNumber(line - 1));
            caret.setPosition(caret.position() + characters, QTextCursor::KeepAnchor);
            caret.insertText(text);
            QCOMPARE(file.breakpoints(), after);
            QTextCursor(&file.storage()).insertText(u"\n"_s);
            file.storage().undo();
            QCOMPARE(file.breakpoints(), after);
            file.storage().undo();
            QCOMPARE(file.breakpoints(), (QSet<int>{2, 4}));
            file.storage().redo();
            QCOMPARE(file.breakpoints(), after);
        }
    }

    void opensTextAgainInTheSameTab()
    {
        DocumentsFixture fixture(0);
        fixture.documents.openTextInEditor(u"%1.py"_s, u"x = 1"_s);
        EditorFile *opened = fixture.documents.selectedFile();
        opened->toggleBreakpoint(1);
        fixture.documents.newFile();
        for (int i = 0; i < 2; ++i) // the second one is no step to undo
            fixture.documents.openTextInEditor(u"%1.py"_s, u"x = 1\ny"_s);
        QCOMPARE(fixture.names(), u"[%1.py] untitled2.py"_s);
        QCOMPARE(fixture.documents.selectedFile(), opened);
        QVERIFY(!opened->isModified() && opened->breakpoints().contains(1));
        opened->storage().undo();
        QCOMPARE(opened->content(), u"x = 1"_s);
        QCOMPARE(fixture.shell.lines(), QStringList(3, u"info: Opened %1.py in the editor."_s));
        opened->storage().redo();
        opened->setDebugLines({1}, std::nullopt);
        fixture.documents.openTextInEditor(u"%1.py"_s, u"x = 2"_s);
        QCOMPARE(fixture.names(), u"%1.py untitled2.py [%1.py]"_s);
    }
};

QTEST_GUILESS_MAIN(tst_OpenFiles)
#include "tst_OpenFiles.moc"
