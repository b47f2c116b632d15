#include "board/BoardFixture.h"

#include "board/FileDigest.h"
#include "support/Awaited.h"
#include "support/Files.h"
#include "support/ScriptedBoard.h"
#include "support/VirtualBoard.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// Copies in both directions with a real MicroPython, and unplugs the board during copies.
class tst_FileTransfer final : public QObject
{
    Q_OBJECT

private:
    VirtualBoard m_board;
    BoardFixture m_fixture;
    QTemporaryDir m_folder;

    QString local(const QString &name) const { return m_folder.filePath(name); }
    void write(const QByteArray &bytes, const QString &path)
    {
        QVERIFY(m_fixture.write(bytes, path, path));
    }
    QByteArray onBoard(const QString &path)
    {
        return m_fixture.done(m_fixture.files.readDeviceFile(path, path)).value_or("none");
    }
    DeviceFileNode node(const QString &path) { return *m_fixture.files.deviceNode(path); }

private slots:
    void initTestCase()
    {
        QVERIFY2(m_board.start(), qPrintable(m_board.errorText()));
        QVERIFY(m_fixture.connectTo(m_board.port()));
    }

    void init()
    {
        m_fixture.fixture.log.clear();
        m_fixture.prompts.confirmation = {true, false};
        m_fixture.prompts.asked.clear();
    }

    void mergesAFolderIntoWhatIsThereAndBringsItBack()
    {
        QVERIFY(m_fixture.makeFolders({u"/src"_s}));
        write("kept", u"/src/other.py"_s);
        write("old", u"/src/main.py"_s);
        put(local(u"src/main.py"_s), "new");
        put(local(u"src/lib/it's.bin"_s), QByteArray(70'000, '\xA5'));
        put(local(u"src/lib/empty"_s), {});
        QVERIFY(QDir().mkpath(local(u"src/no/files/here"_s)));
        QVERIFY(QFile::link(u"/etc/passwd"_s, local(u"src/out"_s)));

        m_fixture.done(m_fixture.copies.copyFolderToDevice(local(u"src"_s)));
        QCOMPARE(m_fixture.prompts.takeAsked(),
                 u"Copy “src” to the device? | 3 files (70.0 kB) will be written to /src on "_s
                     + m_board.port()
                     + u", replacing any file already there with the same name. Large folders take "
                       "a while over serial. | Copy"_s);
        QCOMPARE(
            m_fixture.takeLog(),
            u"info: ↑ Copying src → /src…\n"
            "info: Not copied (links to folders, links out of the folder and special files): out.\n"
            "info: ↑ Copied 3 files to /src."_s);

        QVERIFY(QDir().mkpath(local(u"back"_s)));
        QSignalSpy reloads(&m_fixture.copies, &FileTransfer::localFilesChanged);
        m_fixture.done(m_fixture.copies.copyFolderFromDevice(node(u"/src"_s), local(u"back"_s)));
        const QString target = local(u"back/src"_s);
        QCOMPARE(m_fixture.prompts.takeAsked(),
                 u"Copy “src” to %1? | 4 files (70.0 kB) will be written to %2, replacing any file "
                 "already there with the same name. | Copy"_s.arg(local(u"back"_s), target));
        QCOMPARE(m_fixture.takeLog(),
                 u"info: ↓ Copying src → %1…\ninfo: ↓ Copied 4 files to %1."_s.arg(target));
        QCOMPARE(reloads.size(), 1);
        QVERIFY(bytesOf(target + u"/lib/it's.bin"_s) == QByteArray(70'000, '\xA5'));
        QCOMPARE(bytesOf(target + u"/main.py"_s), "new"_ba);
        QCOMPARE(bytesOf(target + u"/other.py"_s), "kept"_ba);
        QCOMPARE(bytesOf(target + u"/lib/empty"_s), ""_ba);
        QVERIFY(QFileInfo(target + u"/no/files/here"_s).isDir());
    }

    void copiesSingleFilesIntoTheBrowsedFolder()
    {
        QVERIFY(m_fixture.makeFolders({u"/lib"_s}));
        awaited(m_fixture.files.refreshDeviceFiles());
        m_fixture.files.setDeviceWorkingDir(u"/lib"_s);
        const QString file = local(u"a.txt"_s);
        put(file, "first");
        m_fixture.done(m_fixture.copies.copyFileToDevice(file));
        QCOMPARE(m_fixture.takeLog(), u"info: ↑ Copied a.txt to /lib/a.txt."_s);
        QVERIFY2(m_fixture.prompts.asked.isEmpty(), "nothing was there to replace");

        m_fixture.prompts.confirmation.confirmed = false;
        put(file, "second");
        m_fixture.done(m_fixture.copies.copyFileToDevice(file));
        QCOMPARE(m_fixture.takeLog(),
                 u"info: Copy cancelled — /lib/a.txt on the device is unchanged."_s);
        m_fixture.prompts.asked.clear();
        m_fixture.done(m_fixture.copies.copyFileFromDevice(node(u"/lib/a.txt"_s), m_folder.path()));
        QCOMPARE(m_fixture.prompts.takeAsked(),
                 u"Replace “a.txt”? | a.txt already exists in %1. Copying from the device replaces "
                 "it. | Replace"_s.arg(m_folder.path()));
        QCOMPARE(m_fixture.takeLog(), u"info: Copy cancelled — %1 is unchanged."_s.arg(file));
        QCOMPARE(bytesOf(file), "second"_ba);

        m_fixture.prompts.confirmation.confirmed = true;
        m_fixture.done(m_fixture.copies.copyFileFromDevice(node(u"/lib/a.txt"_s), m_folder.path()));
        QCOMPARE(m_fixture.takeLog(), u"info: ↓ Copied a.txt to %1."_s.arg(file));
        QCOMPARE(bytesOf(file), "first"_ba);
        m_fixture.files.setDeviceWorkingDir(u"/"_s);
    }

    void reportsWhyItStopped()
    {
        QVERIFY(QDir().mkpath(local(u"hollow"_s)));
        QVERIFY(QFile::link(u"/"_s, local(u"hollow/out"_s)));
        m_fixture.done(m_fixture.copies.copyFolderToDevice(local(u"hollow"_s)));
        QCOMPARE(m_fixture.takeLog(),
                 u"info: Not copied (links to folders, links out of the folder and special files): "
                 u"out.\n"
                 "error: hollow is empty — nothing to copy."_s);
        m_fixture.done(m_fixture.copies.copyFileToDevice(local(u"missing"_s)));
        QCOMPARE(m_fixture.takeLog(), u"error: Cannot read %1."_s.arg(local(u"missing"_s)));

        // The board holds a folder where a file of that name should go, and the reverse.
        put(local(u"clash/a"_s), "1");
        put(local(u"clash/b"_s), "2");
        QVERIFY(m_fixture.makeFolders({u"/clash"_s, u"/clash/b"_s}));
        m_fixture.done(m_fixture.copies.copyFolderToDevice(local(u"clash"_s)));
        const QString stopped = m_fixture.takeLog();
        QVERIFY2(stopped.contains(u"error: Device write failed: "), qPrintable(stopped));
        QVERIFY2(stopped.endsWith(u"\nerror: Copy stopped at b."), qPrintable(stopped));
        QCOMPARE(onBoard(u"/clash/a"_s), "1"_ba);
        put(local(u"taken/f"_s), "1");
        write("a file", u"/taken"_s);
        m_fixture.done(m_fixture.copies.copyFolderToDevice(local(u"taken"_s)));
        QVERIFY(m_fixture.takeLog().endsWith(u"\nerror: Copy stopped at f."_s));
        QCOMPARE(onBoard(u"/taken"_s), "a file"_ba);

        awaited(m_fixture.files.refreshDeviceFiles());
        put(local(u"into/clash"_s), "a file");
        m_fixture.done(m_fixture.copies.copyFolderFromDevice(node(u"/clash"_s), local(u"into"_s)));
        QVERIFY(m_fixture.takeLog().contains(u"error: Copy failed: "));
        QCOMPARE(bytesOf(local(u"into/clash"_s)), "a file"_ba);
        const QString nowhere = local(u"no/folder"_s);
        m_fixture.done(m_fixture.copies.copyFileFromDevice(node(u"/clash/a"_s), nowhere));
        QVERIFY(m_fixture.takeLog().startsWith(u"error: Cannot write %1/a: "_s.arg(nowhere)));
        QVERIFY(QDir().mkpath(local(u"limited"_s)));
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit unlimited{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &unlimited), 0);
        const rlimit none{0, unlimited.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &none), 0);
        m_fixture.done(
            m_fixture.copies.copyFileFromDevice(node(u"/clash/a"_s), local(u"limited"_s)));
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &unlimited), 0);
        const QString limited = u"error: Cannot write %1: File too large"_s;
        QCOMPARE(m_fixture.takeLog(), limited.arg(local(u"limited/a"_s)));

        m_fixture.prompts.confirmation.confirmed = false;
        QSignalSpy running(&m_fixture.transfer, &TransferStatus::isSendingToDeviceChanged);
        m_fixture.done(m_fixture.copies.copyFolderToDevice(local(u"into"_s)));
        QCOMPARE(m_fixture.takeLog(), QString()); // no message after a refusal
        QCOMPARE(running.size(), 0);
    }

    void usesAConfirmationOnceAndForItsConnectionOnly()
    {
        put(local(u"once/a.py"_s), "new");
        ScriptedBoard board;
        BoardFixture fixture;
        QVERIFY(fixture.connectTo(board.port()));
        int written = 0;
        board.onProgram = [&](const QByteArray &program) {
            written += program.contains("'wb'") ? 1 : 0;
            return ScriptedBoard::reply(program.contains("__EXISTS__") ? "__EXISTS__1" : "__OK__");
        };
        const auto copies = [&](bool isFolder) {
            return isFolder ? fixture.copies.copyFolderToDevice(local(u"once"_s))
                            : fixture.copies.copyFileToDevice(local(u"once/a.py"_s));
        };
        for (const bool isFolder : {false, true}) {
            const QString target = isFolder ? u"/once"_s : u"/a.py"_s;
            std::optional<Async<void>> second;
            fixture.prompts.meanwhile = [&] { second = copies(isFolder); };
            QVERIFY(fixture.done(copies(isFolder)));
            const auto refused = awaited(*std::move(second));
            QCOMPARE(refused.error().message, target + u" is already being written."_s);
            QCOMPARE(fixture.prompts.asked.size(), 1);
            QCOMPARE(std::exchange(written, 0), 1);

            fixture.prompts.meanwhile = [&] {
                fixture.fixture.link->disconnectDevice();
                QVERIFY(fixture.fixture.connectTo(board.port()));
            };
            QCOMPARE(awaited(copies(isFolder)).error().code, ErrorCode::BoardReplaced);
            QCOMPARE(written, 0);
            fixture.prompts.asked.clear();
        }
    }

    void stopsWhereTheBoardFailsOrTheUserCancels_data()
    {
        QTest::addColumn<QByteArray>("reply"); // to the twentieth file; none: the user cancels
        QTest::addColumn<QString>("outcome");
        const QString stopped = u"error: Copy stopped at f19."_s;
        QTest::newRow("canceled") << QByteArray()
                                  << u"info: Copy canceled at f20 (21 of 50); the files before it "
                                     "were copied."_s;
        QTest::newRow("no memory") << ScriptedBoard::reply({}, "MemoryError: \r\n") << stopped;
        QTest::newRow("resets")
            << "\r\nMPY: soft reboot\r\nraw REPL; CTRL-B to exit\r\n>\x04\x04>"_ba << stopped;
        QTest::newRow("other output around the reply")
            << ScriptedBoard::reply("WLAN up\r\n__OK__\r\nWLAN down\r\n")
            << u"info: ↑ Copied 50 files to /many."_s;
    }

    void stopsWhereTheBoardFailsOrTheUserCancels()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, outcome);
        for (int i = 0; i < 50; ++i)
            put(local(u"many/f%1"_s.arg(i)), QByteArray::number(i));
        ScriptedBoard board;
        BoardFixture fixture;
        QVERIFY(fixture.connectTo(board.port()));
        int written = 0;
        bool isListed = false; // after the last file
        board.onProgram = [&](const QByteArray &program) {
            isListed = program.contains("__LS__") || (isListed && !program.contains("'wb'"));
            written += program.contains("'wb'") ? 1 : 0;
            if (written == 20 && reply.isEmpty())
                fixture.transfer.cancel();
            else if (written == 20)
                return reply;
            return ScriptedBoard::reply(program.contains("__LS__") ? "__LS__[]" : "__OK__");
        };
        QStringList status;
        connect(&fixture.transfer, &TransferStatus::statusChanged, this,
                [&] { status << fixture.transfer.status(); });

        fixture.done(fixture.copies.copyFolderToDevice(local(u"many"_s)));
        QCOMPARE(fixture.takeLog().split(u'\n').last(), outcome);
        QCOMPARE(written, outcome.startsWith(u"info: ↑") ? 50 : 20);
        QVERIFY(!fixture.transfer.isSendingToDevice());
        QVERIFY(status.contains(u"Copying f19 (20 of 50)…"_s));
        QTRY_VERIFY(isListed); // also after a failure
        QCOMPARE(fixture.transfer.status(), QString());

        QCOMPARE(fixture.transfer.rest() == nullptr, outcome.startsWith(u"info: ↑"));
        if (fixture.transfer.rest()) {
            board.onProgram = [](const QByteArray &) { return ScriptedBoard::reply({}); };
            QVERIFY(!fixture.done(fixture.transfer.resumeRest()));
            const int before = written;
            board.onProgram = [&written](const QByteArray &program) {
                written += program.contains("'wb'") ? 1 : 0;
                return ScriptedBoard::reply(program.contains("__LS__") ? "__LS__[]" : "__OK__");
            };
            auto resumed = fixture.transfer.resumeRest();
            QVERIFY(!fixture.done(fixture.transfer.resumeRest())); // it is running already
            QVERIFY(fixture.done(std::move(resumed)));
            QCOMPARE(written - before, reply.isEmpty() ? 30 : 31); // the file of the failure again
            QVERIFY(!fixture.transfer.rest());
        }
    }

    void stopsWhereTheDiskIsFull()
    {
        VirtualBoard small({u"--disk"_s, u"50000"_s});
        QVERIFY2(small.start(), qPrintable(small.errorText()));
        BoardFixture fixture;
        QVERIFY(fixture.connectTo(small.port()));
        for (const QString &name : {u"a"_s, u"b"_s, u"c"_s})
            put(local(u"full/"_s + name), QByteArray(20'000, 'x'));
        fixture.done(fixture.copies.copyFolderToDevice(local(u"full"_s)));
        QCOMPARE(
            fixture.takeLog(),
            u"info: ↑ Copying full → /full…\n"
            "error: Device write failed: No space left on the device — /full/c on the board is "
            "unchanged.\n"
            "error: Copy stopped at c."_s);
        // There is no room for the old and the new file.
        for (const bool isAgreed : {false, true}) {
            fixture.prompts.confirmation.confirmed = isAgreed;
            fixture.prompts.asked.clear();
            fixture.write(QByteArray(20'000, 'n'), u"/full/b"_s, u"b"_s);
            QCOMPARE(fixture.takeLog(),
                     isAgreed ? QString()
                              : u"error: Device write failed: No space left on the device — "
                                "/full/b on the board is unchanged."_s);
            QCOMPARE(fixture.prompts.takeAsked(),
                     u"Write over “b” on the device? | The board has no room for the old and the "
                     "new /full/b. If writing over the old file fails, both are lost on the board. "
                     "| Write Over"_s);
            QCOMPARE(fixture.done(fixture.files.readDeviceFile(u"/full/b"_s, {})),
                     QByteArray(20'000, isAgreed ? 'n' : 'x'));
        }
        fixture.prompts.meanwhile = [&] { fixture.fixture.link->disconnectDevice(); };
        fixture.write(QByteArray(20'000, 'm'), u"/full/b"_s, u"b"_s);
        QVERIFY(fixture.prompts.wasWithdrawn);
    }

    void leavesTheOldOrTheNewFileWhereTheLinkIsLost_data()
    {
        QTest::addColumn<bool>("isSent");
        QTest::newRow("to the board") << true;
        QTest::newRow("from the board") << false;
    }
    void leavesTheOldOrTheNewFileWhereTheLinkIsLost()
    {
        QFETCH(bool, isSent);
        constexpr qsizetype size = 15'000; // pieces of 2,048, 4,096, 8,192 and 664 bytes
        const QByteArray old(size, 'o');
        const QByteArray fresh(size, 'n');
        VirtualBoard board;
        QVERIFY2(board.start(), qPrintable(board.errorText()));
        ScriptedBoard cable;
        cable.relayTo(board.port());
        const QString file = local(u"cut/f"_s);
        const auto outputFor = [](const QByteArray &bytes) {
            return u"%1 %2 False\n"_s.arg(bytes.size()).arg(FileDigest::crc32(bytes));
        };
        QByteArray commands; // of the first copy, which is not cut
        qsizetype replies = 0;
        QRandomGenerator random(7);
        for (int round = 0; round <= 40; ++round) {
            BoardFixture fixture;
            cable.plugIn();
            QVERIFY(fixture.connectTo(cable.port()));
            put(file, isSent ? fresh : old);
            QVERIFY(fixture.write(isSent ? old : fresh, u"/f"_s, u"f"_s));
            awaited(fixture.files.refreshDeviceFiles());
            cable.forget();
            const qsizetype before = cable.sentBytes();
            // Anywhere, around the end of a command, or in a reply.
            qsizetype cut = random.bounded(std::max<qsizetype>(1, commands.size()));
            const int kind = random.bounded(3);
            if (kind == 0)
                cut = std::max<qsizetype>(0, commands.indexOf('\x04', cut) + random.bounded(3) - 1);
            if (round > 0 && kind == 1)
                cable.vanishAfterSending(random.bounded(replies));
            else if (round > 0)
                cable.vanishAfterReceiving(cut);
            const auto copied = isSent ? awaited(fixture.copies.copyFileToDevice(file))
                                       : awaited(fixture.copies.copyFileFromDevice(
                                           *fixture.files.deviceNode(u"/f"_s), local(u"cut"_s)));
            const QString message = copied ? u"copied"_s : copied.error().message;
            if (round == 0) {
                QVERIFY2(copied, qPrintable(message));
                commands = cable.received();
                replies = cable.sentBytes() - before;
            }
            if (!isSent) {
                QVERIFY(bytesOf(file) == (copied ? fresh : old));
                QCOMPARE(QDir(local(u"cut"_s)).entryList(QDir::Files | QDir::Hidden), {u"f"_s});
                continue;
            }
            const bool isUnsure = message.endsWith(u"is the old or the new file, whole."_s);
            QVERIFY2(copied || isUnsure || message.endsWith(u" — /f on the board is unchanged."_s),
                     qPrintable(message));
            if (!cable.isPluggedIn()) {
                cable.plugIn();
                QTRY_VERIFY(!fixture.fixture.link->connectionState().isConnected());
                QVERIFY(fixture.connectTo(cable.port()));
            }
            QString found;
            const auto isExpected = [&] {
                const auto output = awaited(fixture.fixture.link->executeOnDevice(
                    u"import os,binascii\nd=open('/f','rb').read()\n"
                    "print(len(d),binascii.crc32(d),'.f.part' in os.listdir('/'))"_s,
                    std::chrono::seconds(5)));
                found = output ? *output : output.error().message;
                return ((!copied || isUnsure) && found == outputFor(old))
                    || ((copied || isUnsure) && found == outputFor(fresh));
            };
            QTRY_VERIFY2(isExpected(), qPrintable(message + u' ' + found));
        }
    }

    void showsRateAndTimeLeft()
    {
        const auto text = &TransferStatus::progressText;
        const std::chrono::milliseconds second(1'000);
        QCOMPARE(text(45'000, 100'000, 4 * second), u"45 of 100 kB (45 %), 11 kB/s, 5 s left"_s);
        QCOMPARE(text(10'000'000, 100'000'000'000, second),
                 u"10.0 of 100000.0 MB (0 %), 10.0 MB/s, 2 h 46 min left"_s);
        QCOMPARE(text(300, 200, second),
                 u"300 of 200 bytes (100 %), 300 B/s"_s); // the file has grown
        QCOMPARE(text(0, 200, second), QString());
    }

    void endsItsTasksWhenDestroyedDuringACopy()
    {
        put(local(u"quit/f"_s), "1");
        ScriptedBoard board;
        board.onProgram = [](const QByteArray &) { return QByteArray(); };
        auto fixture = std::make_unique<BoardFixture>();
        QVERIFY(fixture->connectTo(board.port()));
        auto copying = fixture->copies.copyFolderToDevice(local(u"quit"_s));
        auto listing = fixture->files.refreshDeviceFiles();
        QTRY_VERIFY(fixture->transfer.isSendingToDevice());
        fixture.reset();
        QVERIFY(copying.isReady() && listing.isReady());
    }
};

QTEST_GUILESS_MAIN(tst_FileTransfer)
#include "tst_FileTransfer.moc"
