#include "board/BoardFixture.h"

#include "board/FileDigest.h"
#include "support/Awaited.h"
#include "support/Cable.h"
#include "support/Files.h"
#include "support/ScriptedBoard.h"
#include "support/VirtualBoard.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// Copies both ways, on a real MicroPython; and a board that goes in the middle of one.
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
        QCOMPARE(m_fixture.said(),
                 u"info: ↑ Copying src → /src…\n"
                 "info: Not copied (links out of the folder and special files): out.\n"
                 "info: ↑ Copied 3 files to /src."_s);

        QVERIFY(QDir().mkpath(local(u"back"_s)));
        QSignalSpy reloads(&m_fixture.copies, &FileTransfer::localFilesChanged);
        m_fixture.done(m_fixture.copies.copyFolderFromDevice(node(u"/src"_s), local(u"back"_s)));
        const QString target = local(u"back/src"_s);
        QCOMPARE(m_fixture.prompts.takeAsked(),
                 u"Copy “src” to %1? | 4 files (70.0 kB) will be written to %2, replacing any file "
                 "already there with the same name. | Copy"_s.arg(local(u"back"_s), target));
        QCOMPARE(m_fixture.said(),
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
        QCOMPARE(m_fixture.said(), u"info: ↑ Copied a.txt to /lib/a.txt."_s);
        QVERIFY2(m_fixture.prompts.asked.isEmpty(), "nothing was there to replace");

        m_fixture.prompts.confirmation.confirmed = false;
        put(file, "second");
        m_fixture.done(m_fixture.copies.copyFileToDevice(file));
        QCOMPARE(m_fixture.said(),
                 u"info: Copy cancelled — /lib/a.txt on the device is unchanged."_s);
        m_fixture.prompts.asked.clear();
        m_fixture.done(m_fixture.copies.copyFileFromDevice(node(u"/lib/a.txt"_s), m_folder.path()));
        QCOMPARE(m_fixture.prompts.takeAsked(),
                 u"Replace “a.txt”? | a.txt already exists in %1. Copying from the device replaces "
                 "it. | Replace"_s.arg(m_folder.path()));
        QCOMPARE(m_fixture.said(), u"info: Copy cancelled — %1 is unchanged."_s.arg(file));
        QCOMPARE(bytesOf(file), "second"_ba);

        m_fixture.prompts.confirmation.confirmed = true;
        m_fixture.done(m_fixture.copies.copyFileFromDevice(node(u"/lib/a.txt"_s), m_folder.path()));
        QCOMPARE(m_fixture.said(), u"info: ↓ Copied a.txt to %1."_s.arg(file));
        QCOMPARE(bytesOf(file), "first"_ba);
        m_fixture.files.setDeviceWorkingDir(u"/"_s);
    }

    void saysWhyItStopped()
    {
        QVERIFY(QDir().mkpath(local(u"hollow"_s)));
        m_fixture.done(m_fixture.copies.copyFolderToDevice(local(u"hollow"_s)));
        QCOMPARE(m_fixture.said(), u"error: hollow is empty — nothing to copy."_s);
        m_fixture.done(m_fixture.copies.copyFileToDevice(local(u"missing"_s)));
        QCOMPARE(m_fixture.said(), u"error: Cannot read %1."_s.arg(local(u"missing"_s)));

        // The board holds a folder where a file of that name should go, and the reverse.
        put(local(u"clash/a"_s), "1");
        put(local(u"clash/b"_s), "2");
        QVERIFY(m_fixture.makeFolders({u"/clash"_s, u"/clash/b"_s}));
        m_fixture.done(m_fixture.copies.copyFolderToDevice(local(u"clash"_s)));
        const QString stopped = m_fixture.said();
        QVERIFY2(stopped.contains(u"error: Device write failed: "), qPrintable(stopped));
        QVERIFY2(stopped.endsWith(u"\nerror: Copy stopped at b."), qPrintable(stopped));
        QCOMPARE(onBoard(u"/clash/a"_s), "1"_ba);
        put(local(u"taken/f"_s), "1");
        write("a file", u"/taken"_s);
        m_fixture.done(m_fixture.copies.copyFolderToDevice(local(u"taken"_s)));
        QVERIFY(m_fixture.said().endsWith(u"\nerror: Copy stopped at f."_s));
        QCOMPARE(onBoard(u"/taken"_s), "a file"_ba);

        awaited(m_fixture.files.refreshDeviceFiles());
        put(local(u"into/clash"_s), "a file");
        m_fixture.done(m_fixture.copies.copyFolderFromDevice(node(u"/clash"_s), local(u"into"_s)));
        QVERIFY(m_fixture.said().contains(u"error: Copy failed: "));
        QCOMPARE(bytesOf(local(u"into/clash"_s)), "a file"_ba);

        m_fixture.prompts.confirmation.confirmed = false;
        QSignalSpy running(&m_fixture.transfer, &TransferStatus::isSendingToDeviceChanged);
        m_fixture.done(m_fixture.copies.copyFolderToDevice(local(u"into"_s)));
        QCOMPARE(m_fixture.said(), QString()); // who declines knows
        QCOMPARE(running.size(), 0);
    }

    void carriesOutAYesOnceAndOnTheBoardThatWasMeant()
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

    void stopsWhereTheBoardFailsAndCompletesLater_data()
    {
        QTest::addColumn<QByteArray>("reply"); // to the twentieth file; none: the board vanishes
        QTest::addColumn<bool>("isFailure");
        QTest::newRow("vanishes") << QByteArray() << true;
        QTest::newRow("no memory") << ScriptedBoard::reply({}, "MemoryError: \r\n") << true;
        QTest::newRow("resets")
            << "\r\nMPY: soft reboot\r\nraw REPL; CTRL-B to exit\r\n>\x04\x04>"_ba << true;
        QTest::newRow("says more than it should")
            << ScriptedBoard::reply("WLAN up\r\n__OK__\r\nWLAN down\r\n") << false;
    }

    void stopsWhereTheBoardFailsAndCompletesLater()
    {
        QFETCH(QByteArray, reply);
        QFETCH(bool, isFailure);
        for (int i = 0; i < 50; ++i)
            put(local(u"many/f%1"_s.arg(i)), QByteArray::number(i));
        ScriptedBoard board;
        BoardFixture fixture;
        QVERIFY(fixture.connectTo(board.port()));
        int written = 0;
        bool isSound = false;
        board.onProgram = [&](const QByteArray &program) {
            written += program.contains("'wb'") ? 1 : 0;
            const bool fails = !isSound && written == 20;
            if (fails && reply.isEmpty())
                board.vanish();
            return fails ? reply
                         : ScriptedBoard::reply(program.contains("__LS__") ? "__LS__[]" : "__OK__");
        };
        QStringList status;
        connect(&fixture.transfer, &TransferStatus::statusChanged, this,
                [&] { status << fixture.transfer.status(); });

        fixture.done(fixture.copies.copyFolderToDevice(local(u"many"_s)));
        QCOMPARE(fixture.said().split(u'\n').last(),
                 isFailure ? u"error: Copy stopped at f19."_s
                           : u"info: ↑ Copied 50 files to /many."_s);
        QCOMPARE(written, isFailure ? 20 : 50);
        QVERIFY(!fixture.transfer.isSendingToDevice());
        QVERIFY(status.contains(u"Copying f19 (20 of 50)…"_s));
        QCOMPARE(fixture.transfer.status(), QString());

        isSound = true;
        if (reply.isEmpty()) {
            board.plugIn();
            QVERIFY(fixture.connectTo(board.port()));
        }
        written = 0;
        fixture.done(fixture.copies.copyFolderToDevice(local(u"many"_s)));
        QCOMPARE(written, 50);
        QVERIFY(fixture.said().endsWith(u"info: ↑ Copied 50 files to /many."));
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
            fixture.said(),
            u"info: ↑ Copying full → /full…\n"
            "error: Device write failed: No space left on the device — /full/c on the board is "
            "unchanged.\n"
            "error: Copy stopped at c."_s);
        QCOMPARE(fixture.done(fixture.files.readDeviceFile(u"/full/b"_s, {})),
                 QByteArray(20'000, 'x'));
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
        constexpr qsizetype size = 15'000; // 2,048, 4,096, 8,192 and 664 bytes
        const QByteArray old(size, 'o');
        const QByteArray fresh(size, 'n');
        VirtualBoard board;
        QVERIFY2(board.start(), qPrintable(board.errorText()));
        Cable cable(board.port());
        const QString file = local(u"cut/f"_s);
        const QString script = u"import os,binascii\nd=open('/f','rb').read()\n"
                               "print(len(d),binascii.crc32(d),'.f.part' in os.listdir('/'))"_s;
        const auto told = [](const QByteArray &bytes) {
            return u"%1 %2 False\n"_s.arg(bytes.size()).arg(FileDigest::crc32(bytes));
        };
        qsizetype total = 0;
        int counts[3] = {};
        QRandomGenerator random(7);
        // The first copy is not cut; the next ones are cut where the file is replaced and
        // elsewhere.
        for (QElapsedTimer timer; !timer.isValid() || timer.elapsed() < 8'000;) {
            BoardFixture fixture;
            cable.plugIn();
            QVERIFY(fixture.connectTo(cable.port()));
            put(file, isSent ? fresh : old);
            QVERIFY(fixture.write(isSent ? old : fresh, u"/f"_s, u"f"_s));
            awaited(fixture.files.refreshDeviceFiles());
            const qsizetype before = cable.passed();
            const bool isLate = random.bounded(3) == 0;
            const qsizetype cut = isLate ? total - random.bounded(800) : random.bounded(total + 1);
            if (total > 0)
                cable.breakAfter(std::max<qsizetype>(1, cut));
            auto copied = isSent ? awaited(fixture.copies.copyFileToDevice(file))
                                 : awaited(fixture.copies.copyFileFromDevice(
                                     *fixture.files.deviceNode(u"/f"_s), local(u"cut"_s)));
            if (!timer.isValid()) {
                QVERIFY(copied);
                total = cable.passed() - before;
                timer.start();
            }
            const QString message = copied ? QString() : copied.error().message;
            const bool isUnsure = message.endsWith(u"is the old or the new file, whole."_s);
            QVERIFY2(copied || !isSent || isUnsure
                         || message.endsWith(u" — /f on the board is unchanged."_s),
                     qPrintable(message));
            ++counts[copied ? 0 : isUnsure ? 1 : 2];
            if (isSent && cable.isBroken()) {
                cable.plugIn();
                QTRY_COMPARE(fixture.fixture.link->connectionState(),
                             DeviceConnectionState::disconnected());
                QVERIFY(fixture.connectTo(cable.port()));
            }
            if (isSent) {
                QString found;
                const auto isExpected = [&] {
                    const auto output = awaited(
                        fixture.fixture.link->executeOnDevice(script, std::chrono::seconds(5)));
                    found = output ? *output : output.error().message;
                    return ((!copied || isUnsure) && found == told(old))
                        || ((copied || isUnsure) && found == told(fresh));
                };
                QTRY_VERIFY2(isExpected(),
                             qPrintable(u"cut at %1 of %2: %3: %4"_s.arg(cut).arg(total).arg(
                                 message, found)));
            } else {
                QVERIFY(bytesOf(file) == (copied ? fresh : old));
                QCOMPARE(QDir(local(u"cut"_s)).entryList(QDir::Files | QDir::Hidden), {u"f"_s});
            }
        }
        qInfo("%d copied, %d old or new, %d old", counts[0], counts[1], counts[2]);
    }

    void writesOverAFileOnAFullBoardOnlyWhenTheUserAgrees()
    {
        VirtualBoard small({u"--disk"_s, u"50000"_s});
        QVERIFY2(small.start(), qPrintable(small.errorText()));
        BoardFixture fixture;
        QVERIFY(fixture.connectTo(small.port()));
        QVERIFY(fixture.write(QByteArray(30'000, 'o'), u"/f"_s, u"f"_s));
        fixture.prompts.confirmation.confirmed = false;
        QVERIFY(!fixture.write(QByteArray(30'000, 'n'), u"/f"_s, u"f"_s));
        QCOMPARE(fixture.said(),
                 u"error: Device write failed: No space left on the device — /f "
                 "on the board is unchanged."_s);
        QCOMPARE(fixture.prompts.takeAsked(),
                 u"Write over “f” on the device? | The board has no room for the old and the new "
                 "/f. If writing over the old file fails, both are lost on the board. | Write "
                 "Over"_s);
        QCOMPARE(fixture.done(fixture.files.readDeviceFile(u"/f"_s, {})), QByteArray(30'000, 'o'));
        fixture.prompts.confirmation.confirmed = true;
        QVERIFY(fixture.write(QByteArray(30'000, 'n'), u"/f"_s, u"f"_s));
        QCOMPARE(fixture.done(fixture.files.readDeviceFile(u"/f"_s, {})), QByteArray(30'000, 'n'));
    }

    void cancelsACopyAndSaysWhatIsWhere()
    {
        for (const QString &name : {u"a"_s, u"b"_s})
            put(local(u"cancel/"_s + name), QByteArray(10'000, 'x'));
        const QMetaObject::Connection canceling =
            connect(&m_fixture.transfer, &TransferStatus::statusChanged, this, [this] {
                if (m_fixture.transfer.status().startsWith(u"Copying b ")
                    && m_fixture.transfer.canCancel())
                    m_fixture.transfer.cancel();
            });
        QVERIFY(!m_fixture.done(m_fixture.copies.copyFolderToDevice(local(u"cancel"_s))));
        disconnect(canceling);
        QCOMPARE(m_fixture.said(),
                 u"info: ↑ Copying cancel → /cancel…\ninfo: Copy cancelled at b "
                 "(2 of 2); the files before it were copied."_s);
        QCOMPARE(onBoard(u"/cancel/a"_s), QByteArray(10'000, 'x'));
        QVERIFY(!awaited(m_fixture.files.deviceFileExists(u"/cancel/b"_s)));
    }

    void tellsRateAndTimeLeft_data()
    {
        QTest::addColumn<qint64>("done");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<int>("milliseconds");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, qint64 done, qint64 total, int milliseconds,
                            const QString &text) {
            QTest::newRow(name) << done << total << milliseconds << text;
        };
        row("seconds", 45'000, 100'000, 4'500, u"45 %, 10 kB/s, 6 s left"_s);
        row("minutes", 1'000, 100'000, 2'000, u"1 %, 500 B/s, 4 min left"_s);
        row("hours", 10'000'000, 100'000'000'000, 1'000, u"0 %, 10.0 MB/s, 2 h 46 min left"_s);
        row("grown file", 300, 200, 1'000, u"100 %, 300 B/s"_s);
        row("nothing done", 0, 200, 1'000, {});
        row("unknown size", 300, 0, 1'000, {});
    }
    void tellsRateAndTimeLeft()
    {
        QFETCH(qint64, done);
        QFETCH(qint64, total);
        QFETCH(int, milliseconds);
        QTEST(TransferStatus::progressText(done, total, std::chrono::milliseconds(milliseconds)),
              "text");
    }

    void endsQuietlyWhenEverythingGoesInTheMiddle()
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
