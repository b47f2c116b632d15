#include "app/AppFixture.h"
#include "support/Awaited.h"
#include "support/Files.h"
#include "support/VirtualBoard.h"

#include <QRegularExpression>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// File operations of the browsers on a board and a local folder, and their effect on documents.
class tst_FileActions final : public QObject
{
    Q_OBJECT

private:
    VirtualBoard m_board;
    std::unique_ptr<AppFixture> m_fixture;

    AppState &state() { return *m_fixture->state; }
    DeviceFiles &files() { return state().deviceFiles(); }
    QString local(const QString &name) { return m_fixture->folder.filePath(name); }
    /// Paths of all entries: folders end with a slash.
    QString tree(const QList<DeviceFileNode> &nodes)
    {
        QStringList paths;
        for (const DeviceFileNode &node : nodes) {
            paths << (node.isDirectory ? node.path + u'/' : node.path);
            if (node.children && !node.children->isEmpty())
                paths << tree(*node.children);
        }
        return paths.join(u' ');
    }
    QString localTree()
    {
        QStringList paths;
        for (const QString &folder : {u"."_s, u"sub"_s}) {
            for (const QFileInfo &entry :
                 QDir(local(folder))
                     .entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name))
                paths << QDir(m_fixture->folder.path()).relativeFilePath(entry.filePath());
        }
        return paths.join(u' ');
    }
    /// The first message of the Shell that is not output, without its kind.
    QString firstMessage()
    {
        const QStringList lines =
            m_fixture->lines(0).filter(QRegularExpression(u"^(info|error): "_s));
        return lines.value(0).section(u": "_s, 1);
    }
    void run(const QString &program)
    {
        QVERIFY(awaited(state().link().executeOnDevice(program, std::chrono::seconds(15))));
        awaited(files().refreshDeviceFiles());
    }
    /// "name@path" of the documents, with marks for edits and deleted files.
    QString tabs()
    {
        QStringList shown;
        for (const EditorFile *file : state().documents().openFiles()) {
            const bool isDeleted = file->fileChange() == EditorFile::FileChange::Deleted;
            shown << file->name() + u'@' + QFileInfo(file->place().path).filePath()
                    + (file->isModified() ? u"*"_s : QString())
                    + (isDeleted ? u" deleted"_s : QString());
        }
        return shown.join(u' ');
    }
    void open(const QString &path)
    {
        awaited(state().boardDocuments().openDeviceFile(*files().deviceNode(path)));
    }
    /// "new file /lib x", "rename /a b", "move /a /b /to", "remove /a /b", "send a b /to",
    /// "fetch /a /b", "local rename a b", "local move a sub", "local file x".
    Async<void> operation(QString text)
    {
        QStringList words = text.split(u' ');
        const QString verb = words.takeFirst();
        if (verb == u"local") {
            const QString what = words.takeFirst();
            if (what == u"rename")
                return state().localFileActions().rename(local(words[0]), words[1]);
            m_fixture->prompts.name = words.last();
            if (what == u"file")
                return state().localFileActions().createFile(m_fixture->folder.path());
            const QString to = words.takeLast();
            return state().localFileActions().move({local(words[0])}, local(to));
        }
        m_fixture->prompts.name = words.last();
        if (verb == u"file")
            return state().boardFileActions().createFile(words[0]);
        if (verb == u"folder")
            return state().boardFileActions().createFolder(words[0]);
        if (verb == u"changed")
            return state().changedFiles().send(m_fixture->folder.path(), words[0]);
        if (verb == u"send") {
            const QString to = words.takeLast();
            for (QString &name : words)
                name = local(name);
            return state().filesCopy().toDevice(words, to);
        }
        const QString last = verb == u"rename" || verb == u"move" ? words.takeLast() : QString();
        QList<DeviceFileNode> nodes;
        for (const QString &path : std::as_const(words))
            nodes << *files().deviceNode(path);
        if (verb == u"rename")
            return state().boardFileActions().rename(nodes.first(), last);
        if (verb == u"move")
            return state().boardFileActions().move(nodes, last);
        if (verb == u"fetch")
            return state().filesCopy().fromDevice(nodes, m_fixture->folder.path());
        return state().boardFileActions().remove(nodes);
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(m_board.start(), qPrintable(m_board.errorText()));
        SerialPortManager::Roots ports = TestPort::roots();
        ports.extraPorts = m_board.port();
        m_fixture = std::make_unique<AppFixture>(QStringList(), ports);
        QVERIFY(state().link().connectDevice(m_board.port()));
        QTRY_VERIFY(state().link().connectionState().isConnected());
        QTRY_VERIFY(!files().isLoadingDeviceFiles());
    }
    void cleanupTestCase() { m_fixture.reset(); }

    void init()
    {
        run(u"import os\ndef rm(p):\n if os.stat(p)[0]&0x4000:\n  for f in "
            u"os.listdir(p):rm(p+'/'+f)\n"
            "  os.rmdir(p)\n else:os.remove(p)\n"
            "for f in os.listdir('/'):\n if f not in('dev','home','proc','tmp'):rm('/'+f)\n"
            "for d in('/lib','/lib/deep'):os.mkdir(d)\n"
            "for f in('/a.py','/b.py','/lib/a.py','/lib/deep/c.py'):open(f,'w').write(f)\n"_s);
        QDir folder(m_fixture->folder.path());
        for (const QString &name : folder.entryList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
            QDir(folder.filePath(name)).removeRecursively();
            folder.remove(name);
        }
        put(local(u"a.py"_s), "local a");
        put(local(u"n.py"_s), "local n");
        put(local(u"sub/a.py"_s), "local sub");
        m_fixture->prompts.confirmation.confirmed = true;
        m_fixture->prompts.asked.clear();
        state().shell().clear();
    }

    void changesTheBoard_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("choice"); // of the answers; "no" declines
        QTest::addColumn<QString>("asked");  // begins the question
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("result"); // the tree
        const QString all = u"/lib/ /lib/deep/ /lib/deep/c.py /lib/a.py /a.py /b.py"_s;
        const auto row = [](const char *name, const QString &text, const QString &choice,
                            const QString &asked, const QString &message, const QString &result) {
            QTest::newRow(name) << text << choice << asked << message << result;
        };
        const QString create = u"New File | Create a file in /lib on the device."_s;
        row("new file", u"file /lib it's"_s, {}, create, {},
            u"/lib/ /lib/deep/ /lib/deep/c.py /lib/a.py /lib/it's /a.py /b.py"_s);
        row("new file that exists", u"file /lib a.py"_s, {}, create,
            u"“a.py” already exists in /lib on the device."_s, all);
        const QString refused =
            u"“%1” isn't a usable name: a name on the device can't contain “/”, "
            "and can't be “.” or “..”."_s;
        row("unusable name", u"file /lib .."_s, {}, create, refused.arg(u".."_s), all);
        row("new folder", u"folder / x"_s, {}, u"New Folder"_s, {},
            u"/lib/ /lib/deep/ /lib/deep/c.py /lib/a.py /x/ /a.py /b.py"_s);
        row("rename a folder", u"rename /lib %1'\\"_s, {}, {}, {},
            u"/%1'\\/ /%1'\\/deep/ /%1'\\/deep/c.py /%1'\\/a.py /a.py /b.py"_s);
        row("rename by case", u"rename /a.py A.py"_s, {}, {}, {},
            u"/lib/ /lib/deep/ /lib/deep/c.py /lib/a.py /A.py /b.py"_s);
        row("rename over a file", u"rename /a.py b.py"_s, {},
            u"Replace “b.py” on the device? | /b.py already exists"_s, {},
            u"/lib/ /lib/deep/ /lib/deep/c.py /lib/a.py /b.py"_s);
        row("rename over a file, declined", u"rename /a.py b.py"_s, u"no"_s, u"Replace"_s, {}, all);
        row("rename over a folder", u"rename /a.py lib"_s, {}, {},
            u"“lib” already exists in / on the device."_s, all);
        row("a name with a slash", u"rename /a.py x/y"_s, {}, {}, refused.arg(u"x/y"_s), all);
        row("move", u"move /b.py /lib/deep /"_s, {}, {}, {},
            u"/deep/ /deep/c.py /lib/ /lib/a.py /a.py /b.py"_s);
        row("move and replace", u"move /a.py /b.py /lib"_s, u"Replace"_s,
            u"Replace “a.py”? | A file of this name already exists in /lib"_s, {},
            u"/lib/ /lib/deep/ /lib/deep/c.py /lib/a.py /lib/b.py"_s);
        row("move and skip", u"move /a.py /b.py /lib"_s, u"Skip"_s, u"Replace “a.py”?"_s, {},
            u"/lib/ /lib/deep/ /lib/deep/c.py /lib/a.py /lib/b.py /a.py"_s);
        row("move into itself", u"move /lib /lib/deep"_s, {}, {},
            u"“lib” cannot be moved into itself."_s, all);
        row("delete a folder", u"remove /lib"_s, {},
            u"Delete “lib” from the device? | Removes the directory /lib with 2 files (23 bytes)"_s,
            {}, u"/a.py /b.py"_s);
        row("send", u"send n.py sub /lib"_s, {}, {}, u"↑ Copied 2 files to /lib."_s,
            u"/lib/ /lib/deep/ /lib/deep/c.py /lib/sub/ /lib/sub/a.py /lib/a.py /lib/n.py /a.py "
            "/b.py"_s);
        row("send and skip", u"send a.py n.py /"_s, u"Skip"_s, u"Replace “a.py”?"_s,
            u"↑ Copied 1 file to /."_s, all + u" /n.py"_s);
        row("send changed files", u"changed /lib"_s, u"deep/c.py"_s,
            u"Send changed files to /lib?"_s,
            u"↑ Sent 3 files to /lib, removed 1 file; 0 files unchanged."_s,
            u"/lib/ /lib/deep/ /lib/sub/ /lib/sub/a.py /lib/a.py /lib/n.py /a.py /b.py"_s);
        row("send and cancel", u"send a.py n.py /"_s, u"no"_s, u"Replace “a.py”?"_s,
            u"Copy canceled — nothing was changed."_s, all);
    }

    void changesTheBoard()
    {
        QFETCH(QString, text);
        QFETCH(QString, choice);
        QFETCH(QString, asked);
        QFETCH(QString, message);
        m_fixture->prompts.choice = choice;
        m_fixture->prompts.confirmation.confirmed = choice != u"no";
        awaited(state().errors().reportFailureOf(operation(text)));
        const QString question = m_fixture->prompts.takeAsked();
        QVERIFY2(question.startsWith(asked) && question.isEmpty() == asked.isEmpty(),
                 qPrintable(question));
        QCOMPARE(firstMessage(), message);
        QStringList shown = tree(files().deviceFileNodes()).split(u' ');
        shown.removeIf([](const QString &path) {
            return path.startsWith(u"/dev/") || path.startsWith(u"/home/")
                || path.startsWith(u"/proc/") || path.startsWith(u"/tmp/");
        });
        QTEST(shown.join(u' '), "result");
    }

    void fetchesSeveral()
    {
        m_fixture->prompts.choice = u"Replace All"_s;
        QVERIFY(!awaited(operation(u"fetch /a.py /lib"_s))); // not offered for one file
        QVERIFY(m_fixture->prompts.takeAsked().startsWith(u"Replace “a.py”?"));
        QCOMPARE(bytesOf(local(u"a.py"_s)), "local a");
        m_fixture->prompts.choice = u"Replace"_s;
        const int version = state().localFiles().localFilesVersion();
        QVERIFY(awaited(operation(u"fetch /a.py /lib"_s)));
        QVERIFY(state().localFiles().localFilesVersion() > version);
        QCOMPARE(bytesOf(local(u"a.py"_s)), "/a.py");
        QCOMPARE(bytesOf(local(u"lib/deep/c.py"_s)), "/lib/deep/c.py");
        m_fixture->prompts.asked.clear();
        m_fixture->prompts.choice = u"Replace All"_s;
        QVERIFY(awaited(operation(u"send a.py lib /"_s)));
        QVERIFY(m_fixture->prompts.takeAsked().startsWith(u"Replace 3 files? | Files of these"));
    }

    void keepsTheDocumentsOfFilesThatMove()
    {
        open(u"/lib/a.py"_s);
        open(u"/lib/deep/c.py"_s);
        open(u"/b.py"_s);
        state().documents().updateSelectedContent(u"edited"_s);
        QVERIFY(awaited(operation(u"rename /lib gone"_s)));
        QVERIFY(awaited(operation(u"rename /gone/a.py z.py"_s)));
        QVERIFY2(tabs().contains(u"z.py@/gone/z.py c.py@/gone/deep/c.py b.py@/b.py*"),
                 qPrintable(tabs()));
        // A document with edits whose file is replaced keeps its text.
        QVERIFY(awaited(operation(u"rename /a.py b.py"_s)));
        QVERIFY2(tabs().contains(u"b.py@*"), qPrintable(tabs()));
        QVERIFY(awaited(operation(u"remove /gone"_s)));
        QTRY_VERIFY2(tabs().contains(u"c.py@/gone/deep/c.py deleted"), qPrintable(tabs()));
        while (state().documents().openFiles().size() > 1)
            state().documents().closeFile(state().documents().openFiles().last()->id());
    }

    void changesLocalFiles_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("result");
        const QString all = u"a.py n.py sub sub/a.py"_s;
        const auto row = [](const char *name, const QString &text, const QString &message,
                            const QString &result) {
            QTest::newRow(name) << text << message << result;
        };
        row("new file", u"local file x.py"_s, {}, u"a.py n.py sub x.py sub/a.py"_s);
        row("new file that exists", u"local file a.py"_s, u"“a.py” already exists in "_s, all);
        row("rename", u"local rename a.py b.py"_s, {}, u"b.py n.py sub sub/a.py"_s);
        row("rename over a file", u"local rename a.py n.py"_s, {}, u"n.py sub sub/a.py"_s);
        row("rename over a folder", u"local rename a.py sub"_s, u"“sub” already exists in "_s, all);
        row("move", u"local move n.py sub"_s, {}, u"a.py sub sub/a.py sub/n.py"_s);
        row("move and skip", u"local move a.py sub"_s, {}, all);
        row("move into itself", u"local move sub sub/x"_s, u"“sub” cannot be moved into itself."_s,
            all);
    }

    void changesLocalFiles()
    {
        QFETCH(QString, text);
        QFETCH(QString, message);
        QVERIFY(awaited(state().documents().openFile(local(u"a.py"_s))));
        m_fixture->prompts.choice = u"Skip"_s;
        awaited(state().errors().reportFailureOf(operation(text)));
        QTEST(localTree(), "result");
        QCOMPARE(m_fixture->prompts.takeAsked().startsWith(u"Replace “n.py”?"),
                 text == u"local rename a.py n.py");
        const QString found = firstMessage();
        QVERIFY2(found.startsWith(message) && found.isEmpty() == message.isEmpty(),
                 qPrintable(found));
        if (text == u"local rename a.py b.py")
            QVERIFY2(tabs().contains(u"b.py@"_s + local(u"b.py"_s)), qPrintable(tabs()));
        state().documents().closeFile(state().documents().selectedFileID());
    }

    void sendsChangedFilesOnceAtATime()
    {
        auto first = operation(u"changed /lib"_s);
        QCOMPARE(awaited(operation(u"changed /lib"_s)).error().code, ErrorCode::Canceled);
        QVERIFY(awaited(std::move(first)));
        QCOMPARE(m_fixture->prompts.asked.size(), 1);
    }

    void readsTheSpaceOfTheBoard()
    {
        awaited(state().boardSpace().request());
        const auto space = state().boardSpace().space(u"/lib/deep"_s);
        QVERIFY(space && space->totalBytes >= space->freeBytes && space->freeBytes > 0);
    }
};

QTEST_GUILESS_MAIN(tst_FileActions)
#include "tst_FileActions.moc"
