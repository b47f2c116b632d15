#include "Workshop.h"
#include "support/Awaited.h"
#include "support/Files.h"
#include "support/VirtualBoard.h"

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// A workshop with a folder being browsed.
struct Desk : Workshop
{
    Desk() { state->localFiles().setLocalWorkingDir(home.path()); }

    QString at(const QString &name) const { return home.filePath(name); }
    /// What the Shell was told since, without the board's greeting, which comes when it likes.
    QString said()
    {
        QStringList told = lines(std::exchange(m_seen, state->shell().replLines().size()));
        told.removeIf([](const QString &line) { return line.startsWith(u"output: "); });
        return told.join(u'\n');
    }
    void save() { awaited(state->saving().save()); }
    Result<void> open(const QString &path) { return awaited(state->documents().openFile(path)); }
    const EditorFile &file() { return *state->documents().selectedFile(); }
    /// Where the document lives, and whether it has edits: "/tmp/x.py|/main.py|*".
    QString place()
    {
        return file().path + u'|' + file().devicePath + u'|'
            + (file().isModified ? u"*"_s : QString());
    }

    QTemporaryDir home;

private:
    qsizetype m_seen = 1;
};

} // namespace

/// Opening, saving and sending documents, to disk and to a real MicroPython.
class tst_DocumentSaving final : public QObject
{
    Q_OBJECT

private:
    VirtualBoard m_board;

    void connectBoard(Desk &desk)
    {
        desk.state->link().connectDevice(m_board.port());
        QTRY_VERIFY(desk.isBoardIdle());
        desk.state->deviceFiles().setDeviceWorkingDir(u"/"_s);
        desk.said();
    }
    QByteArray onBoard(Desk &desk, const QString &path)
    {
        return awaited(desk.state->deviceFiles().readDeviceFile(path, path)).value_or("none");
    }

private slots:
    void initTestCase() { QVERIFY2(m_board.start(), qPrintable(m_board.errorText())); }

    void savesWhatWasThere_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("saved"); // after "new\n" is put in front
        QTest::newRow("no last line end") << "a\nb"_ba
                                          << "new\na\nb"_ba;
        QTest::newRow("pairs and a mark") << "\uFEFFa\r\nb\r\n"_ba
                                          << "\uFEFFnew\r\na\r\nb\r\n"_ba;
        QTest::newRow("odd characters") << "a\u00A0\u2028\u2029z\n"_ba
                                        << "new\na\u00A0\u2028\u2029z\n"_ba;
    }

    void savesWhatWasThere()
    {
        QFETCH(QByteArray, bytes);
        Desk desk;
        const QString path = desk.at(u"f.py"_s);
        put(path, bytes);
        QVERIFY(desk.open(path));
        QCOMPARE(desk.place(), path + u"||"_s);
        desk.save();
        QCOMPARE(bytesOf(path), bytes);
        desk.write(u"new\n"_s + desk.file().content);
        QCOMPARE(desk.place(), path + u"||*"_s);
        desk.save();
        QCOMPARE(desk.place(), path + u"||"_s);
        QTEST(bytesOf(path), "saved");
        QCOMPARE(desk.said(), QString());
    }

    void keepsAnOpenDocumentsEditsWhenOpenedAgain()
    {
        Desk desk;
        put(desk.at(u"f.py"_s), "1");
        QVERIFY(desk.open(desk.at(u"f.py"_s)));
        desk.write(u"edited"_s);
        desk.state->documents().newFile();
        auto first = desk.state->documents().openFile(desk.at(u"f.py"_s));
        QVERIFY(desk.open(desk.at(u"f.py"_s)));
        QCOMPARE(desk.file().content, u"edited"_s);
        put(desk.at(u"binary"_s), "\xFF");
        QCOMPARE(desk.open(desk.at(u"binary"_s)).error().code, ErrorCode::NotText);
        QCOMPARE(desk.state->documents().openFiles().size(), 3);
    }

    void keepsTheEditsUntilTheyAreSavedSomewhere()
    {
        Desk desk;
        const QString path = desk.at(u"folder/f.py"_s);
        put(path, "old");
        QVERIFY(desk.open(path));
        desk.write(u"new"_s);
        QVERIFY(QDir(desk.at(u"folder"_s)).removeRecursively());
        desk.save();
        QVERIFY(desk.said().startsWith(u"error: Save failed: "));
        for (const QString &name : {QString(), desk.at(u"no/such/folder"_s)}) {
            desk.questions.name = name;
            awaited(desk.state->saving().saveAs());
            QCOMPARE(desk.questions.takeAsked(), u"save | f.py"_s);
            QCOMPARE(desk.said().startsWith(u"error: Save failed: "), !name.isEmpty());
            QCOMPARE(desk.place(), path + u"||*"_s);
        }
        desk.questions.name = desk.at(u"other.py"_s);
        awaited(desk.state->saving().saveAs());
        QCOMPARE(desk.place(), desk.at(u"other.py"_s) + u"||"_s);
        QCOMPARE(desk.file().name, u"other.py"_s);
        QCOMPARE(bytesOf(desk.at(u"other.py"_s)), "new"_ba);
    }

    void doesNotCallSavedWhatWasTypedMeanwhile()
    {
        Desk desk;
        put(desk.at(u"f.py"_s), "old");
        QVERIFY(desk.open(desk.at(u"f.py"_s)));
        desk.write(u"first"_s);
        auto saving = desk.state->saving().save();
        desk.write(u"second"_s);
        awaited(std::move(saving));
        QCOMPARE(bytesOf(desk.at(u"f.py"_s)), "first"_ba);
        QVERIFY(desk.file().isModified);
    }

    void asksForANameInTheBrowsedFolder_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("replace");
        QTest::addColumn<QString>("said"); // %1: the folder
        QTest::newRow("cancelled") << QString() << false << QString();
        for (const QString &name : {u"a/b"_s, u"a:b"_s, u"."_s, u".."_s})
            QTest::newRow(qPrintable(name))
                << name << false << u"error: “%1” isn't a usable file name."_s.arg(name);
        QTest::newRow("new") << u"new.py"_s << false << u"info: Saved %1/new.py"_s;
        QTest::newRow("declined") << u"there.py"_s << false
                                  << u"info: Save cancelled — %1/there.py is unchanged."_s;
        QTest::newRow("replaced") << u"there.py"_s << true << u"info: Saved %1/there.py"_s;
    }

    void asksForANameInTheBrowsedFolder()
    {
        QFETCH(QString, name);
        QFETCH(bool, replace);
        QFETCH(QString, said);
        Desk desk;
        put(desk.at(u"there.py"_s), "old");
        desk.write(u"text"_s);
        desk.questions.name = name;
        desk.questions.confirmation.confirmed = replace;
        const int version = desk.state->localFiles().localFilesVersion();
        desk.save();
        const QString home = desk.home.path();
        QCOMPARE(desk.said(), said.replace(u"%1"_s, home));
        QCOMPARE(bytesOf(desk.at(u"there.py"_s)), replace ? "text"_ba : "old"_ba);
        QStringList asked{u"Save File | Save to %1. | untitled.py | Save"_s.arg(home)};
        if (name == u"there.py") {
            asked << u"Replace “there.py”? | there.py already exists in %1. Saving replaces it. | "
                     "Replace"_s.arg(home);
        }
        QCOMPARE(desk.questions.asked, asked);
        const bool isSaved = said.startsWith(u"info: Saved");
        QCOMPARE(desk.place(), isSaved ? desk.at(name) + u"||"_s : u"||*"_s);
        QCOMPARE(desk.file().name, isSaved ? name : u"untitled.py"_s);
        QCOMPARE(desk.state->localFiles().localFilesVersion(), version + (isSaved ? 1 : 0));
    }

    void livesOnTheBoard()
    {
        Desk desk;
        connectBoard(desk);
        DeviceFiles &files = desk.state->deviceFiles();
        QVERIFY(awaited(files.makeDeviceFolders({u"/lib"_s})));
        awaited(files.refreshDeviceFiles());
        files.setDeviceWorkingDir(u"/lib"_s);
        desk.write(u"one\n"_s);
        desk.questions.name = u"mine.py"_s;
        desk.save();
        QCOMPARE(desk.questions.takeAsked(),
                 u"Save File | Save to the device at /lib. | untitled.py | Save"_s);
        QCOMPARE(desk.said(), u"info: Saved mine.py to device as /lib/mine.py"_s);
        QCOMPARE(desk.place(), u"|/lib/mine.py|"_s);
        QCOMPARE(onBoard(desk, u"/lib/mine.py"_s), "one\n"_ba);

        desk.write(u"two\n"_s);
        desk.save();
        QVERIFY2(desk.questions.asked.isEmpty(), "its own place needs no question");
        QCOMPARE(desk.said(), u"info: Saved mine.py to device."_s);
        QCOMPARE(desk.place(), u"|/lib/mine.py|"_s);

        // The same place again, from another document: that is asked about.
        desk.state->documents().newFile();
        desk.write(u"three\n"_s);
        desk.questions.confirmation.confirmed = false;
        desk.save();
        QCOMPARE(desk.said(), u"info: Send cancelled — /lib/mine.py on the device is unchanged."_s);
        QCOMPARE(desk.place(), u"||*"_s);
        QCOMPARE(onBoard(desk, u"/lib/mine.py"_s), "two\n"_ba);
    }

    void opensABoardFileOnceAndWritesItBackAsItWas()
    {
        Desk desk;
        connectBoard(desk);
        DeviceFiles &files = desk.state->deviceFiles();
        QVERIFY(awaited(files.writeDeviceFile("\uFEFFa\r\nb", u"/crlf.py"_s, {})));
        QVERIFY(awaited(files.writeDeviceFile("\xFF", u"/bin"_s, {})));
        awaited(files.refreshDeviceFiles());
        const DeviceFileNode node = *files.deviceNode(u"/crlf.py"_s);
        auto first = desk.state->boardDocuments().openDeviceFile(node);
        awaited(desk.state->boardDocuments().openDeviceFile(node));
        QTRY_VERIFY(first.isReady());
        desk.write(desk.file().content + u"\nc"_s);
        desk.save();
        QCOMPARE(onBoard(desk, u"/crlf.py"_s), "\uFEFFa\r\nb\r\nc"_ba);
        QCOMPARE(desk.place(), u"|/crlf.py|"_s);
        desk.said();
        awaited(desk.state->boardDocuments().openDeviceFile(*files.deviceNode(u"/bin"_s)));
        QCOMPARE(desk.said(), u"error: Cannot decode bin as text"_s);
        QCOMPARE(desk.state->documents().openFiles().size(), 2);
    }

    void sendsADocument()
    {
        Desk desk;
        const auto send = [&desk] {
            awaited(desk.state->boardDocuments().sendCurrentFileToDevice());
            return desk.said();
        };
        const QString sent = u"info: ↑ Sending untitled.py to /untitled.py…\n"
                             "info: ↑ Sent untitled.py to device as /untitled.py."_s;
        const QString declined =
            u"info: Send cancelled — /untitled.py on the device is unchanged."_s;
        desk.write(u"print(1)"_s);
        QCOMPARE(send(), u"error: Connect a device before sending untitled.py."_s);
        connectBoard(desk);
        desk.state->setSidebarTab(AppState::SidebarTab::Local);
        QCOMPARE(send(), sent);
        QCOMPARE(desk.state->sidebarTab(), AppState::SidebarTab::Device);
        QVERIFY(!desk.state->transfer().isSendingToDevice());
        QVERIFY2(desk.file().isModified, "a copy on the board is not the document's place");

        desk.questions.confirmation = {false, true};
        QCOMPARE(send(), declined);
        QCOMPARE(desk.questions.takeAsked(),
                 u"Replace “untitled.py” on the device? | /untitled.py (8 bytes) already exists on "
                 "%1. Writing replaces it, and the copy on the board is lost. | Replace | "
                 "/untitled.py"_s.arg(m_board.port()));
        desk.questions.confirmation = {true, true};
        QCOMPARE(send(), sent); // asked: Cancel is not remembered
        desk.questions.confirmation = {false, false};
        QCOMPARE(send(), sent);
        QCOMPARE(desk.questions.asked.size(), 1);
        desk.state->link().disconnectDevice();
        connectBoard(desk);
        QCOMPARE(send(), declined); // forgotten with the link
    }
};

QTEST_GUILESS_MAIN(tst_DocumentSaving)
#include "tst_DocumentSaving.moc"
