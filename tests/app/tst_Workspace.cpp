#include "app/AppFixture.h"
#include "app/Workspace.h"
#include "document/PythonTextStorage.h"
#include "support/Awaited.h"
#include "support/Files.h"

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// One start of the program, with the state file that earlier ones wrote.
struct WorkspaceFixture : AppFixture
{
    explicit WorkspaceFixture(const QTemporaryDir &place, const QString &restore = u"all"_s)
        : workspace(*state, place.filePath(u"state/workspace.json"_s))
    {
        settings.setText(u"RestoreAtStart"_s, restore);
        awaited(workspace.restore());
    }

    OpenFiles &documents() { return state->documents(); }
    EditorFile *selected() { return documents().selectedFile(); }
    void open(const QString &path) { QVERIFY(awaited(documents().openFile(path))); }
    void placeCaret(int position)
    {
        QTextCursor caret(&selected()->storage());
        caret.setPosition(position);
        selected()->viewState = {caret, true, 2, {}};
    }
    /// Names in the order of the tabs, the selected one in brackets.
    QString tabs()
    {
        QStringList names;
        for (const EditorFile *file : documents().openFiles())
            names << (file == selected() ? u'[' + file->name() + u']' : file->name());
        return names.join(u' ');
    }

    Workspace workspace;
};

} // namespace

class tst_Workspace final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        for (const char *name : {"a.py", "b.py", "c.py"})
            put(path(name), "one\ntwo\nthree\n");
    }

    void restoresDocumentsAndFolders()
    {
        {
            WorkspaceFixture first(*m_folder);
            QCOMPARE(first.tabs(), u"[untitled.py]"_s);
            QVERIFY(first.lines().isEmpty());
            for (const char *name : {"a.py", "b.py", "c.py"})
                first.open(path(name));
            first.documents().select(first.documents().openFiles().at(2)->id());
            first.placeCaret(5);
            first.documents().toggleBreakpoint(3);
            first.documents().moveFile(first.documents().openFiles().at(3)->id(), 1);
            first.state->localFiles().setLocalWorkingDir(m_folder->path());
            first.workspace.save();
        }
        const QString file = path("state/workspace.json");
        QVERIFY(!(QFile::permissions(file) & (QFile::ReadGroup | QFile::ReadOther)));
        QVERIFY(QFile::remove(path("a.py")));
        {
            WorkspaceFixture second(*m_folder);
            QCOMPARE(second.tabs(), u"c.py [b.py]"_s);
            QCOMPARE(second.lines(),
                     QStringList(u"info: Could not be read and opened again: a.py"_s));
            QCOMPARE(second.selected()->viewState.caret.position(), 5);
            QCOMPARE(second.selected()->viewState.firstVisibleLine, 2);
            QCOMPARE(second.selected()->breakpoints(), QSet<int>{3});
            QCOMPARE(second.state->localFiles().localWorkingDir(), m_folder->path());
            QCOMPARE(second.workspace.recentFiles(),
                     QStringList({path("c.py"), path("b.py"), path("a.py")})); // as before
        }
        QCOMPARE(WorkspaceFixture(*m_folder, u"folder"_s).tabs(), u"[untitled.py]"_s);
        QCOMPARE(WorkspaceFixture(*m_folder, u"nothing"_s).state->localFiles().localWorkingDir(),
                 QDir::homePath());
        WorkspaceFixture typed(*m_folder, u"nothing"_s);
        QCOMPARE(typed.workspace.recentFiles().size(), 3);
    }

    void ignoresADamagedStateFile_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("none") << QByteArray("[");
        QTest::newRow("wrong types") << QByteArray(
            R"({"documents":[1,{"path":7},{"path":"relative.py"}],"folder":[],"selected":"x"})");
        QTest::newRow("wrong values") << QByteArray(
            R"({"documents":[{"path":"/nowhere/x.py","caret":-5,"breakpoints":[0,-1]}],"selected":9})");
    }

    void ignoresADamagedStateFile()
    {
        QFETCH(QByteArray, json);
        put(path("state/workspace.json"), json);
        WorkspaceFixture start(*m_folder);
        QCOMPARE(start.tabs(), u"[untitled.py]"_s);
        start.open(path("a.py"));
        start.workspace.save();
        QTRY_VERIFY(bytesOf(path("state/workspace.json")).contains("a.py"));
    }

    void reopensClosedTabsWithTheirEdits()
    {
        WorkspaceFixture start(*m_folder);
        start.open(path("a.py"));
        start.documents().toggleBreakpoint(2);
        start.documents().closeFile(start.selected()->id());
        start.open(path("b.py"));
        start.write(u"edited"_s);
        start.documents().closeFile(start.selected()->id());
        start.open(path("b.py")); // which is not replaced by the edits
        awaited(start.workspace.reopenClosed());
        QCOMPARE(start.selected()->content(), u"edited"_s);
        QVERIFY(start.selected()->isModified() && start.selected()->path().isEmpty());
        awaited(start.workspace.reopenClosed());
        QCOMPARE(start.selected()->name(), u"a.py"_s);
        QCOMPARE(start.selected()->breakpoints(), QSet<int>{2});
        QVERIFY(!start.selected()->isModified() && !start.workspace.hasClosed());
    }

private:
    QString path(const char *name) const { return m_folder->filePath(QLatin1StringView(name)); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_MAIN(tst_Workspace)
#include "tst_Workspace.moc"
