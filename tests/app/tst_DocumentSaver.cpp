#include "app/AppFixture.h"
#include "support/Awaited.h"
#include "support/Files.h"
#include "support/VirtualBoard.h"

#include <QSignalSpy>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// A fixture that browses a folder.
struct SaverFixture : AppFixture
{
    SaverFixture() { state->localFiles().setLocalWorkingDir(home.path()); }

    QString at(const QString &name) const { return home.filePath(name); }
    /// The lines of the Shell since the last call, without output, which can arrive at any time.
    QString takeShellLines()
    {
        QStringList shown = lines(std::exchange(m_seen, state->shell().replLines().size()));
        shown.removeIf([](const QString &line) { return line.startsWith(u"output: "); });
        return shown.join(u'\n');
    }
    void save() { awaited(state->saving().save()); }
    Result<void> open(const QString &path) { return awaited(state->documents().openFile(path)); }
    const EditorFile &file() { return *state->documents().selectedFile(); }
    /// Where the document belongs, and whether it has edits: "/tmp/x.py|/main.py|*".
    QString place()
    {
        return file().path() + u'|' + file().devicePath() + u'|'
            + (file().isModified() ? u"*"_s : QString());
    }

    QTemporaryDir home;

private:
    qsizetype m_seen = 1;
};

} // namespace

/// Opening, saving and sending documents, to disk and to a real MicroPython.
class tst_DocumentSaver final : public QObject
{
    Q_OBJECT

private:
    VirtualBoard m_board;

    void connectBoard(SaverFixture &fixture)
    {
        QVERIFY(fixture.state->link().connectDevice(m_board.port()));
        QTRY_VERIFY(fixture.isBoardIdle());
        fixture.state->deviceFiles().setDeviceWorkingDir(u"/"_s);
        fixture.takeShellLines();
    }
    QByteArray onBoard(SaverFixture &fixture, const QString &path)
    {
        const auto bytes = awaited(fixture.state->deviceFiles().readDeviceFile(path, path));
        return bytes ? *bytes : "none"_ba;
    }

    /// For a document with the text "mine" whose file has changed to "more".
    template <typename Fixture> static void keepOrReload(Fixture &fixture, bool keeps)
    {
        FileWatch &watch = fixture.state->fileWatch();
        const QUuid id = fixture.file().id();
        if (keeps)
            awaited(watch.keep(id));
        else
            QVERIFY(awaited(watch.reload(id)));
        QCOMPARE(fixture.file().fileChange(), EditorFile::FileChange::None);
        QCOMPARE(fixture.file().content(), keeps ? u"mine"_s : u"more"_s);
    }

private slots:
    void initTestCase() { QVERIFY2(m_board.start(), qPrintable(m_board.errorText())); }

    void keepsTheEditsUntilTheyAreSavedSomewhere()
    {
        SaverFixture fixture;
        const QString path = fixture.at(u"folder/f.py"_s);
        put(path, "old");
        QVERIFY(fixture.open(path));
        fixture.write(u"new"_s);
        QVERIFY(QDir(fixture.at(u"folder"_s)).removeRecursively());
        fixture.save();
        QVERIFY(fixture.takeShellLines().startsWith(u"error: Save failed: "));
        for (const QString &name : {QString(), fixture.at(u"no/such/folder"_s)}) {
            fixture.prompts.name = name;
            awaited(fixture.state->saving().saveAs());
            QCOMPARE(fixture.prompts.takeAsked(), u"save | f.py"_s);
            QCOMPARE(fixture.takeShellLines().startsWith(u"error: Save failed: "), !name.isEmpty());
            QCOMPARE(fixture.place(), path + u"||*"_s);
        }
        fixture.prompts.name = fixture.at(u"other.py"_s);
        awaited(fixture.state->saving().saveAs());
        QCOMPARE(fixture.place(), fixture.at(u"other.py"_s) + u"||"_s);
        QCOMPARE(fixture.file().name(), u"other.py"_s);
        QCOMPARE(bytesOf(fixture.at(u"other.py"_s)), "new"_ba);
    }

    void closesADocumentWithEditsAfterAQuestion()
    {
        SaverFixture fixture;
        const QString path = fixture.at(u"f.py"_s);
        put(path, "old");
        const auto close = [&](const QString &answer) {
            static_cast<void>(fixture.open(path));
            fixture.write(u"new"_s);
            fixture.prompts.choice = answer;
            awaited(fixture.state->closing().close(fixture.file().id()));
            return fixture.state->documents().openFiles().size() == 1;
        };
        QVERIFY(!close(u"Cancel"_s));
        QVERIFY(close(u"Don’t Save"_s));
        QCOMPARE(bytesOf(path), "old"_ba);
        QVERIFY(close(u"Save"_s));
        QCOMPARE(bytesOf(path), "new"_ba);
    }

    void asksBeforeTheEndWhenASaveFailed()
    {
        SaverFixture fixture;
        const QString path = fixture.at(u"folder/f.py"_s);
        put(path, "old");
        QVERIFY(fixture.open(path));
        fixture.write(u"new"_s);
        QVERIFY(QDir(fixture.at(u"folder"_s)).removeRecursively());
        fixture.prompts.name = fixture.at(u"other.py"_s);
        const auto mayClose = [&](const QString &answer) {
            const auto saving = fixture.state->saving().save();
            awaited(fixture.state->saving().finished());
            fixture.prompts.choice = answer;
            return awaited(fixture.state->closing().prepareEnd());
        };
        QVERIFY(!mayClose(u"Cancel"_s));
        QVERIFY(fixture.prompts.takeAsked().startsWith(u"“f.py” was not saved | "));
        QVERIFY(mayClose(u"Close Without Saving"_s) && fixture.file().isModified());
        QVERIFY(mayClose(u"Save As…"_s) && !fixture.file().isModified());
        QVERIFY(mayClose({}) && bytesOf(fixture.at(u"other.py"_s)) == "new");
        fixture.write(u"newer"_s);
        fixture.state->closing().setRecovery({.keepsEdits = [] { return false; }});
        for (const QString &answer : {u"Cancel"_s, u"Don’t Save"_s}) {
            fixture.prompts.choice = answer;
            QCOMPARE(awaited(fixture.state->closing().prepareEnd()), answer == u"Don’t Save"_s);
        }
        fixture.state->preferences().setFlag(Preferences::AskBeforeClosing, false);
        fixture.prompts.choice = u"Cancel"_s;
        awaited(fixture.state->closing().close(
            fixture.file().id())); // asks, since the edits are not kept
        QCOMPARE(fixture.file().content(), u"newer"_s);
        fixture.state->closing().setRecovery({.keepsEdits = [] { return true; }});
        fixture.prompts.asked.clear();
        QSignalSpy kept(&fixture.state->documents(), &OpenFiles::unsavedClosing);
        awaited(fixture.state->closing().close(fixture.file().id()));
        QVERIFY(kept.size() == 1 && fixture.prompts.asked.isEmpty());
    }

    void noticesWhatOtherProgramsDoToItsFile()
    {
        SaverFixture fixture;
        const QString path = fixture.at(u"f.py"_s);
        FileWatch &watch = fixture.state->fileWatch();
        put(path, "1\n2");
        QVERIFY(fixture.open(path));
        put(path, "theirs\r\n2"); // which the system reports
        QTRY_COMPARE(fixture.place() + fixture.file().text().fileText(), path + u"||theirs\r\n2"_s);
        fixture.write(u"mine"_s);
        for (const bool keeps : {false, true}) {
            put(path, keeps ? "again" : "more");
            watch.check();
            QTRY_COMPARE(fixture.file().fileChange(), EditorFile::FileChange::Changed);
            keepOrReload(fixture, keeps);
            fixture.write(u"mine"_s);
        }
        fixture.save();
        QVERIFY2(fixture.prompts.asked.isEmpty(), "the change was known");
        QCOMPARE(bytesOf(path), "mine"_ba);
        QVERIFY(QFile::remove(path));
        watch.check();
        QTRY_COMPARE(fixture.file().fileChange(), EditorFile::FileChange::Deleted);
        fixture.state->closing().setRecovery({.keepsEdits = [] { return false; }});
        awaited(fixture.state->closing().close(fixture.file().id()));
        QVERIFY(fixture.prompts.takeAsked().startsWith(u"Save “f.py”? | Its file was deleted."));
        fixture.save();
        QCOMPARE(bytesOf(path), "mine"_ba);
        QCOMPARE(fixture.file().fileChange(), EditorFile::FileChange::None);
    }

    void isOneDocumentWhateverTheFileIsCalled()
    {
        SaverFixture fixture;
        put(fixture.at(u"f.py"_s), "1");
        QVERIFY(QFile::link(fixture.at(u"f.py"_s), fixture.at(u"link.py"_s)));
        for (const QString &name : {u"f.py"_s, u"link.py"_s, u"./f.py"_s, u"/f.py"_s}) {
            const QString path = fixture.home.path() + u'/' + name;
            auto first = fixture.state->documents().openFile(path);
            QVERIFY(fixture.open(path));
            QVERIFY(awaited(std::move(first)));
            fixture.write(u"edited"_s);
            fixture.state->documents().select(fixture.state->documents().openFiles()[0]->id());
        }
        QCOMPARE(fixture.state->documents().openFiles().size(), 2);
        QCOMPARE(fixture.state->documents().openFiles()[1]->content(), u"edited"_s);
        put(fixture.at(u"binary"_s), "\xFF");
        QCOMPARE(fixture.open(fixture.at(u"binary"_s)).error().code, ErrorCode::NotText);
        // Another document that is saved there replaces it.
        fixture.state->documents().newFile();
        fixture.write(u"2"_s);
        fixture.prompts.name = fixture.at(u"link.py"_s);
        const auto isOtherTab = [&] { return fixture.prompts.asked.last().contains(u"tab. "); };
        for (const bool isConfirmed : {false, true}) {
            fixture.prompts.meanwhile = [&] {
                fixture.prompts.confirmation.confirmed = isConfirmed || !isOtherTab();
            };
            awaited(fixture.state->saving().saveAs());
            QVERIFY(fixture.prompts.takeAsked().contains(u"“f.py” is open in another tab."_s));
            QCOMPARE(fixture.state->documents().openFiles().size(), isConfirmed ? 2 : 3);
            QCOMPARE(bytesOf(fixture.at(u"f.py"_s)), isConfirmed ? "2"_ba : "1"_ba);
        }
        // What is typed into it after that question is kept, in a document without a file.
        EditorFile &replaced = *fixture.state->documents().selectedFile();
        fixture.state->documents().newFile();
        fixture.write(u"3"_s);
        fixture.prompts.meanwhile = [&] {
            if (isOtherTab())
                replaced.setContent(u"typed"_s);
        };
        awaited(fixture.state->saving().saveAs());
        QCOMPARE(bytesOf(fixture.at(u"f.py"_s)), "3"_ba);
        fixture.state->documents().select(replaced.id());
        QCOMPARE(fixture.place() + fixture.file().content(), u"||*typed"_s);
        // A file of this computer is asked about, and declining opens the dialog again.
        fixture.prompts.asked.clear();
        fixture.prompts.meanwhile = [&] {
            if (fixture.prompts.asked.last().startsWith(u"Replace"))
                fixture.prompts.name.clear();
        };
        fixture.prompts.confirmation.confirmed = false;
        awaited(fixture.state->saving().saveAs());
        QVERIFY(fixture.prompts.asked.size() == 3 && fixture.place() == u"||*");
    }

    void asksForANameInTheBrowsedFolder()
    {
        SaverFixture fixture;
        const QString home = fixture.home.path();
        put(fixture.at(u"there.py"_s), "old");
        fixture.write(u"text"_s);
        const auto save = [&](const QString &name, bool replaces = false) {
            fixture.prompts.name = name;
            fixture.prompts.confirmation.confirmed = replaces;
            fixture.save();
            return fixture.takeShellLines().replace(home, u"~"_s);
        };
        const QString question = u"Save File | Save to %1. | untitled.py | Save"_s.arg(home);
        QCOMPARE(save({}), QString());
        QCOMPARE(fixture.prompts.takeAsked(), question);
        for (const QString &name : {u"a/b"_s, u"a:b"_s, u"."_s, u".."_s})
            QCOMPARE(save(name), u"error: “%1” isn't a usable file name."_s.arg(name));
        fixture.prompts.asked.clear();
        QCOMPARE(save(u"there.py"_s), u"info: Save cancelled — ~/there.py is unchanged."_s);
        QCOMPARE(fixture.prompts.takeAsked(),
                 question + u"\nReplace “there.py”? | there.py already exists in "_s + home
                     + u". Saving replaces it. | Replace"_s);
        QCOMPARE(fixture.place() + QString::fromUtf8(bytesOf(fixture.at(u"there.py"_s))),
                 u"||*old"_s);
        const int version = fixture.state->localFiles().localFilesVersion();
        QCOMPARE(save(u"there.py"_s, true), u"info: Saved ~/there.py"_s);
        QCOMPARE(fixture.place(), fixture.at(u"there.py"_s) + u"||"_s);
        QCOMPARE(bytesOf(fixture.at(u"there.py"_s)), "text"_ba);
        QCOMPARE(fixture.state->localFiles().localFilesVersion(), version + 1);
        fixture.state->documents().newFile();
        fixture.prompts.asked.clear();
        QCOMPARE(save(u"new.py"_s), u"info: Saved ~/new.py"_s);
        QCOMPARE(fixture.prompts.asked.size(), 1);
        QCOMPARE(fixture.file().name(), u"new.py"_s);
    }

    void savesToTheBoard()
    {
        SaverFixture fixture;
        connectBoard(fixture);
        DeviceFiles &files = fixture.state->deviceFiles();
        QVERIFY(awaited(files.makeDeviceFolders({u"/lib"_s}, files.permitWrite(u"/lib"_s))));
        awaited(files.refreshDeviceFiles());
        files.setDeviceWorkingDir(u"/lib"_s);
        fixture.write(u"one\n"_s);
        fixture.prompts.name = u"mine.py"_s;
        fixture.save();
        QCOMPARE(fixture.prompts.takeAsked(),
                 u"Save File | Save to the device at /lib. | untitled.py | Save"_s);
        QCOMPARE(fixture.takeShellLines(), u"info: Saved mine.py to device as /lib/mine.py"_s);
        QCOMPARE(fixture.place(), u"|/lib/mine.py|"_s);
        QCOMPARE(onBoard(fixture, u"/lib/mine.py"_s), "one\n"_ba);

        const QString two = u"two\n"_s.repeated(1000); // compared by its digest
        fixture.write(two);
        fixture.save();
        QVERIFY2(fixture.prompts.asked.isEmpty(), "its own place needs no question");
        QCOMPARE(fixture.takeShellLines(), u"info: Saved mine.py to device."_s);
        QCOMPARE(fixture.place(), u"|/lib/mine.py|"_s);
        fixture.write(two + u'3');
        awaited(fixture.state->boardDocuments().sendCurrentFileToDevice());
        QVERIFY2(fixture.prompts.asked.isEmpty() && !fixture.file().isModified(), "its own place");
        QCOMPARE(onBoard(fixture, u"/lib/mine.py"_s), two.toUtf8() + '3');
        fixture.takeShellLines();

        // The same place again, from another document: that is asked about.
        fixture.state->documents().newFile();
        fixture.write(u"three\n"_s);
        fixture.prompts.confirmation.confirmed = false;
        fixture.save();
        QCOMPARE(fixture.takeShellLines(),
                 u"info: Send cancelled — /lib/mine.py on the device is unchanged."_s);
        QCOMPARE(fixture.place(), u"||*"_s);
        QCOMPARE(onBoard(fixture, u"/lib/mine.py"_s), two.toUtf8() + '3');
        // Nor is anything written to a board that was connected while the name was typed.
        fixture.prompts.name = u"other.py"_s;
        fixture.prompts.meanwhile = [&] {
            fixture.state->link().disconnectDevice();
            connectBoard(fixture);
        };
        fixture.save();
        QVERIFY(fixture.takeShellLines().contains(u"nothing more was changed"_s));
    }

    void savesToItsPlaceOnly()
    {
        SaverFixture fixture;
        connectBoard(fixture);
        DeviceFiles &files = fixture.state->deviceFiles();
        QVERIFY(awaited(files.writeDeviceFile("1"_ba, files.permitWrite(u"/a.py"_s), {})));
        awaited(files.refreshDeviceFiles());
        BoardDocuments &board = fixture.state->boardDocuments();
        awaited(board.openDeviceFile(*files.deviceNode(u"/a.py"_s)));
        fixture.write(u"2"_s);
        fixture.prompts.name = fixture.at(u"a.py"_s);
        awaited(fixture.state->saving().saveAs());
        fixture.write(u"3"_s);
        fixture.save();
        QCOMPARE(fixture.place(), fixture.at(u"a.py"_s) + u"||"_s);
        QCOMPARE(onBoard(fixture, u"/a.py"_s), "1"_ba);
        QCOMPARE(bytesOf(fixture.at(u"a.py"_s)), "3"_ba);

        // The file of the same path on another board is another document.
        fixture.state->documents().open(u"a.py"_s, DocumentPlace::onBoard(u"B"_s, u"/a.py"_s),
                                        u"B's"_s);
        fixture.write(u"B's, edited"_s);
        fixture.takeShellLines();
        fixture.save();
        QVERIFY(fixture.takeShellLines().contains(u"/a.py belongs to another board."_s));
        QCOMPARE(onBoard(fixture, u"/a.py"_s), "1"_ba);
        awaited(board.openDeviceFile(*files.deviceNode(u"/a.py"_s)));
        QCOMPARE(fixture.file().content(), u"1"_s);
        QVERIFY(awaited(files.writeDeviceFile("5"_ba, files.permitWrite(u"/a.py"_s), {})));
        for (const int length : {4, 4000}) {
            fixture.write(QString(length, u'#'));
            fixture.save();
            QVERIFY(fixture.prompts.takeAsked().contains(u"was changed by another program"_s));
            QCOMPARE(onBoard(fixture, u"/a.py"_s), "5"_ba);
        }
    }

    void followsItsFileOnTheBoard()
    {
        SaverFixture fixture;
        connectBoard(fixture);
        DeviceFiles &files = fixture.state->deviceFiles();
        FileWatch &watch = fixture.state->fileWatch();
        fixture.write(u"1"_s);
        fixture.prompts.name = u"f.py"_s;
        fixture.save();
        const QUuid id = fixture.file().id();
        const auto put = [&](const QByteArray &bytes) {
            return awaited(files.writeDeviceFile(bytes, files.permitWrite(u"/f.py"_s), {}));
        };
        QVERIFY(awaited(fixture.state->link().executeOnDevice(
            u"with open('/f.py','w') as f:f.write('a program wrote this')"_s,
            std::chrono::seconds(5))));
        awaited(files.refreshDeviceFiles());
        QTRY_COMPARE(fixture.file().content(), u"a program wrote this"_s);
        QVERIFY(put("theirs"_ba));
        QTRY_COMPARE(fixture.place() + fixture.file().content(), u"|/f.py|theirs"_s);
        for (const bool keeps : {false, true}) {
            fixture.write(u"mine"_s);
            QVERIFY(put(keeps ? "again"_ba : "more"_ba));
            QTRY_COMPARE(fixture.file().fileChange(), EditorFile::FileChange::Changed);
            keepOrReload(fixture, keeps);
        }
        fixture.prompts.asked.clear();
        fixture.save();
        QVERIFY2(fixture.prompts.asked.isEmpty(), "the change was known");
        QVERIFY(awaited(files.deleteDeviceNode(*files.deviceNode(u"/f.py"_s))));
        QTRY_COMPARE(fixture.file().fileChange(), EditorFile::FileChange::Deleted);
        fixture.state->link().disconnectDevice();
        QVERIFY(!awaited(watch.reload(id)));
        awaited(watch.keep(id));
        QCOMPARE(fixture.place(), u"|/f.py|*"_s);
    }

    void opensABoardFileOnceAndWritesItBackAsItWas()
    {
        SaverFixture fixture;
        connectBoard(fixture);
        DeviceFiles &files = fixture.state->deviceFiles();
        QVERIFY(
            awaited(files.writeDeviceFile("\uFEFFa\r\nb", files.permitWrite(u"/crlf.py"_s), {})));
        QVERIFY(awaited(files.writeDeviceFile("\xFF", files.permitWrite(u"/bin"_s), {})));
        awaited(files.refreshDeviceFiles());
        const DeviceFileNode node = *files.deviceNode(u"/crlf.py"_s);
        auto first = fixture.state->boardDocuments().openDeviceFile(node);
        awaited(fixture.state->boardDocuments().openDeviceFile(node));
        QTRY_VERIFY(first.isReady());
        fixture.write(fixture.file().content() + u"\nc"_s);
        fixture.save();
        QCOMPARE(onBoard(fixture, u"/crlf.py"_s), "\uFEFFa\r\nb\r\nc"_ba);
        QCOMPARE(fixture.place(), u"|/crlf.py|"_s);
        fixture.takeShellLines();
        awaited(fixture.state->boardDocuments().openDeviceFile(*files.deviceNode(u"/bin"_s)));
        QCOMPARE(fixture.takeShellLines(), u"error: Cannot decode bin as text"_s);
        QCOMPARE(fixture.state->documents().openFiles().size(), 2);
    }

    void sendsADocument()
    {
        SaverFixture fixture;
        const auto send = [&fixture] {
            awaited(fixture.state->boardDocuments().sendCurrentFileToDevice());
            return fixture.takeShellLines();
        };
        const QString sent = u"info: ↑ Sending untitled.py to /untitled.py…\n"
                             "info: ↑ Sent untitled.py to device as /untitled.py."_s;
        const QString declined =
            u"info: Send cancelled — /untitled.py on the device is unchanged."_s;
        fixture.state->documents().openUnsaved(u"untitled.py"_s, {}, u"\uFEFFprint(1)\r\n"_s);
        QCOMPARE(send(), u"error: Connect a device before sending untitled.py."_s);
        connectBoard(fixture);
        fixture.state->setSidebarTab(AppState::SidebarTab::Local);
        QCOMPARE(send(), sent);
        QCOMPARE(onBoard(fixture, u"/untitled.py"_s), "\uFEFFprint(1)\r\n"_ba);
        QCOMPARE(fixture.state->sidebarTab(), AppState::SidebarTab::Device);
        QVERIFY(!fixture.state->transfer().isSendingToDevice());
        QVERIFY2(fixture.file().isModified(), "a copy on the board is not the document's place");

        fixture.prompts.confirmation = {false, true};
        QCOMPARE(send(), declined);
        QCOMPARE(
            fixture.prompts.takeAsked(),
            u"Replace “untitled.py” on the device? | /untitled.py (13 bytes) already exists on "
            "%1. Writing replaces it, and the copy on the board is lost. | Replace | "
            "/untitled.py"_s.arg(m_board.port()));
        fixture.prompts.confirmation = {true, true};
        QCOMPARE(send(), sent); // asked: Cancel is not remembered
        fixture.prompts.confirmation = {false, false};
        QCOMPARE(send(), sent);
        QCOMPARE(fixture.prompts.asked.size(), 1);
        fixture.state->link().disconnectDevice();
        connectBoard(fixture);
        fixture.prompts.meanwhile = [&fixture] {
            fixture.prompts.meanwhile = {};
            fixture.state->boardDocuments().sendCurrentFileToDevice();
        };
        QCOMPARE(send(), // forgotten with the link
                 u"info: /untitled.py is already being written.\n"_s + declined);
        QCOMPARE(fixture.prompts.asked.size(), 2);
    }
};

QTEST_GUILESS_MAIN(tst_DocumentSaver)
#include "tst_DocumentSaver.moc"
