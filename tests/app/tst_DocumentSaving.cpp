#include "Workshop.h"
#include "support/Awaited.h"
#include "support/Files.h"
#include "support/VirtualBoard.h"

#include <QDir>
#include <QFile>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// A workshop with a folder being browsed.
struct Desk : Workshop
{
    Desk() { state->localFiles().setLocalWorkingDir(home.path()); }

    QString at(const QString &name) const { return home.filePath(name); }
    QString said()
    {
        return lines(std::exchange(m_seen, state->shell().replLines().size())).join(u'\n');
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
        QTest::newRow("plain") << "a\nb\n"_ba
                               << "new\na\nb\n"_ba;
        QTest::newRow("empty") << ""_ba
                               << "new\n"_ba;
        QTest::newRow("no last line end") << "a\nb"_ba
                                          << "new\na\nb"_ba;
        QTest::newRow("pairs and a mark") << "\xEF\xBB\xBF"
                                             "a\r\nb\r\n"_ba
                                          << "\xEF\xBB\xBFnew\r\na\r\nb\r\n"_ba;
        QTest::newRow("mixed") << "a\r\nb\r\nc\nd\r\n"_ba
                               << "new\r\na\r\nb\r\nc\nd\r\n"_ba;
        QTest::newRow("odd characters") << "a\xC2\xA0\xE2\x80\xA8\xE2\x80\xA9z\n"_ba
                                        << "new\na\xC2\xA0\xE2\x80\xA8\xE2\x80\xA9z\n"_ba;
    }

    void savesWhatWasThere()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QByteArray, saved);
        Desk desk;
        put(desk.at(u"f.py"_s), bytes);
        QVERIFY(desk.open(desk.at(u"f.py"_s)));
        QCOMPARE(desk.place(), desk.at(u"f.py"_s) + u"||"_s);
        desk.save();
        QCOMPARE(bytesOf(desk.at(u"f.py"_s)), bytes);
        desk.write(u"new\n"_s + desk.file().content);
        QVERIFY(desk.file().isModified);
        desk.save();
        QVERIFY(!desk.file().isModified);
        QCOMPARE(bytesOf(desk.at(u"f.py"_s)), saved);
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
        auto second = desk.state->documents().openFile(desk.at(u"f.py"_s));
        QVERIFY(awaited(std::move(second)));
        QCOMPARE(desk.file().content, u"edited"_s);
        QCOMPARE(desk.state->documents().openFiles().size(), 3);

        put(desk.at(u"binary"_s), "\xFF\x00");
        const auto refused = desk.open(desk.at(u"binary"_s));
        QVERIFY(!refused);
        QCOMPARE(refused.error().code, ErrorCode::NotText);
        QCOMPARE(desk.state->documents().openFiles().size(), 3);
    }

    void keepsTheEditsOfASaveThatFailed()
    {
        Desk desk;
        QVERIFY(QDir().mkpath(desk.at(u"folder"_s)));
        put(desk.at(u"folder/f.py"_s), "old");
        QVERIFY(desk.open(desk.at(u"folder/f.py"_s)));
        desk.write(u"new"_s);
        QVERIFY(QDir(desk.at(u"folder"_s)).removeRecursively());
        desk.save();
        QVERIFY(desk.said().startsWith(u"error: Save failed: "));
        QVERIFY(desk.file().isModified);
        QCOMPARE(desk.file().content, u"new"_s);
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
        QTest::addColumn<QByteArray>("there");
        QTest::newRow("cancelled") << QString() << false << QString() << "old"_ba;
        for (const QString &name : {u"a/b"_s, u"a:b"_s, u"."_s, u".."_s})
            QTest::newRow(qPrintable(name))
                << name << false << u"error: “%2” isn't a usable file name."_s << "old"_ba;
        QTest::newRow("new") << u"new.py"_s << false << u"info: Saved %1/new.py"_s << "old"_ba;
        QTest::newRow("declined") << u"there.py"_s << false
                                  << u"info: Save cancelled — %1/there.py is unchanged."_s
                                  << "old"_ba;
        QTest::newRow("replaced") << u"there.py"_s << true << u"info: Saved %1/there.py"_s
                                  << "text"_ba;
    }

    void asksForANameInTheBrowsedFolder()
    {
        QFETCH(QString, name);
        QFETCH(bool, replace);
        QFETCH(QString, said);
        QFETCH(QByteArray, there);
        Desk desk;
        put(desk.at(u"there.py"_s), "old");
        desk.write(u"text"_s);
        desk.questions.name = name;
        desk.questions.confirmation.confirmed = replace;
        const int version = desk.state->localFiles().localFilesVersion();
        desk.save();
        said.replace(u"%1"_s, desk.home.path()).replace(u"%2"_s, name);
        QCOMPARE(desk.said(), said);
        QCOMPARE(bytesOf(desk.at(u"there.py"_s)), there);
        const QStringList asked = desk.questions.asked;
        QCOMPARE(asked.first(),
                 u"Save File | Save to %1. | untitled.py | Save"_s.arg(desk.home.path()));
        if (name == u"there.py") {
            QCOMPARE(asked.last(),
                     u"Replace “there.py”? | there.py already exists in %1. Saving replaces it. | "
                     "Replace"_s.arg(desk.home.path()));
        }
        const bool isSaved = said.startsWith(u"info: Saved");
        QCOMPARE(desk.place(), isSaved ? desk.at(name) + u"||"_s : u"||*"_s);
        QCOMPARE(desk.file().name, isSaved ? name : u"untitled.py"_s);
        QCOMPARE(desk.state->localFiles().localFilesVersion(), version + (isSaved ? 1 : 0));
    }

    void savesUnderAnotherName()
    {
        Desk desk;
        desk.write(u"text"_s);
        awaited(desk.state->saving().saveAs());
        QCOMPARE(desk.questions.takeAsked(), u"save | untitled.py"_s);
        QCOMPARE(desk.place(), u"||*"_s);
        desk.questions.name = desk.at(u"other.py"_s);
        awaited(desk.state->saving().saveAs());
        QCOMPARE(desk.place(), desk.at(u"other.py"_s) + u"||"_s);
        QCOMPARE(desk.file().name, u"other.py"_s);
        desk.questions.name = desk.at(u"no/such/folder"_s);
        awaited(desk.state->saving().saveAs());
        QVERIFY(desk.said().startsWith(u"error: Save failed: "));
        QCOMPARE(desk.file().name, u"other.py"_s);
    }

    void livesOnTheBoard()
    {
        Desk desk;
        connectBoard(desk);
        QVERIFY(awaited(desk.state->deviceFiles().makeDeviceFolders({u"/lib"_s})));
        awaited(desk.state->deviceFiles().refreshDeviceFiles());
        desk.state->deviceFiles().setDeviceWorkingDir(u"/lib"_s);
        desk.write(u"one\n"_s);
        desk.questions.name = u"mine.py"_s;
        desk.save();
        QCOMPARE(desk.questions.takeAsked(),
                 u"Save File | Save to the device at /lib. | untitled.py | Save"_s);
        QVERIFY(desk.said().contains(u"info: Saved mine.py to device as /lib/mine.py"));
        QCOMPARE(desk.place(), u"|/lib/mine.py|"_s);
        QCOMPARE(onBoard(desk, u"/lib/mine.py"_s), "one\n"_ba);

        desk.write(u"two\n"_s);
        desk.save();
        QVERIFY2(desk.questions.asked.isEmpty(), "its own place needs no question");
        QVERIFY(desk.said().contains(u"info: Saved mine.py to device."));
        QCOMPARE(desk.place(), u"|/lib/mine.py|"_s);
        QVERIFY(desk.state->deviceFiles().deviceNode(u"/lib/mine.py"_s));

        // The same place again, from another document: that is asked about.
        desk.state->documents().newFile();
        desk.write(u"three\n"_s);
        desk.questions.confirmation.confirmed = false;
        desk.save();
        const QString declined = desk.said();
        QVERIFY2(
            declined.contains(u"info: Send cancelled — /lib/mine.py on the device is unchanged."),
            qPrintable(declined));
        QCOMPARE(desk.place(), u"||*"_s);
        QCOMPARE(onBoard(desk, u"/lib/mine.py"_s), "two\n"_ba);
    }

    void opensABoardFileOnceAndWritesItBackAsItWas()
    {
        Desk desk;
        connectBoard(desk);
        QVERIFY(awaited(desk.state->deviceFiles().writeDeviceFile("\xEF\xBB\xBF"
                                                                  "a\r\nb",
                                                                  u"/crlf.py"_s, {})));
        QVERIFY(awaited(desk.state->deviceFiles().writeDeviceFile("\xFF", u"/bin"_s, {})));
        awaited(desk.state->deviceFiles().refreshDeviceFiles());
        const DeviceFileNode node = *desk.state->deviceFiles().deviceNode(u"/crlf.py"_s);
        auto first = desk.state->boardDocuments().openDeviceFile(node);
        awaited(desk.state->boardDocuments().openDeviceFile(node));
        QTRY_VERIFY(first.isReady());
        QCOMPARE(desk.state->documents().openFiles().size(), 2);
        QCOMPARE(desk.file().content, u"a\nb"_s);
        desk.write(u"a\nb\nc"_s);
        desk.save();
        QCOMPARE(onBoard(desk, u"/crlf.py"_s),
                 "\xEF\xBB\xBF"
                 "a\r\nb\r\nc"_ba);
        QCOMPARE(desk.place(), u"|/crlf.py|"_s);

        desk.said();
        awaited(desk.state->boardDocuments().openDeviceFile(
            *desk.state->deviceFiles().deviceNode(u"/bin"_s)));
        QVERIFY(desk.said().contains(u"error: Cannot decode bin as text"));
        QCOMPARE(desk.state->documents().openFiles().size(), 2);
    }

    void sendsADocument()
    {
        Desk desk;
        desk.write(u"print(1)"_s);
        awaited(desk.state->boardDocuments().sendCurrentFileToDevice());
        QCOMPARE(desk.said(), u"error: Connect a device before sending untitled.py."_s);
        connectBoard(desk);
        desk.state->setSidebarTab(AppState::SidebarTab::Local);
        awaited(desk.state->boardDocuments().sendCurrentFileToDevice());
        const QString sent = desk.said();
        QVERIFY2(sent.contains(u"info: ↑ Sending untitled.py to /untitled.py…\n"),
                 qPrintable(sent));
        QVERIFY2(sent.contains(u"info: ↑ Sent untitled.py to device as /untitled.py."),
                 qPrintable(sent));
        QCOMPARE(desk.state->sidebarTab(), AppState::SidebarTab::Device);
        QVERIFY(!desk.state->transfer().isSendingToDevice());
        QVERIFY2(desk.file().isModified, "a copy on the board is not the document's place");

        desk.questions.takeAsked().clear();
        desk.questions.confirmation = {true, true};
        awaited(desk.state->boardDocuments().sendCurrentFileToDevice());
        awaited(desk.state->boardDocuments().sendCurrentFileToDevice());
        QCOMPARE(desk.questions.asked.size(), 1); // not asked again
        desk.state->link().disconnectDevice();
        connectBoard(desk);
        desk.questions.confirmation = {false, false};
        awaited(desk.state->boardDocuments().sendCurrentFileToDevice());
        QCOMPARE(desk.questions.asked.size(), 2); // forgotten with the link
        QVERIFY(desk.said().contains(
            u"info: Send cancelled — /untitled.py on the device is unchanged."));
    }

    void listsAFolderOfTwentyThousand()
    {
        Desk desk;
        for (int i = 0; i < 20'000; ++i)
            put(desk.at(u"f%1"_s.arg(i)), {});
        int ticks = 0;
        QTimer heart;
        connect(&heart, &QTimer::timeout, this, [&] { ++ticks; });
        heart.start(1);
        const auto nodes = awaited(desk.state->localFiles().list(desk.home.path()));
        QCOMPARE(nodes->size(), 20'000);
        QCOMPARE(nodes->at(10).name, u"f10"_s);
        QVERIFY2(ticks > 3, "the event loop went on meanwhile");
    }
};

QTEST_GUILESS_MAIN(tst_DocumentSaving)
#include "tst_DocumentSaving.moc"
