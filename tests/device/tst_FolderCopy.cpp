#include "BoardDesk.h"

#include "support/Awaited.h"
#include "support/Files.h"
#include "support/ScriptedBoard.h"
#include "support/VirtualBoard.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

using namespace Korvane;

/// Copies both ways, on a real MicroPython; and a board that goes in the middle of one.
class tst_FolderCopy final : public QObject
{
    Q_OBJECT

private:
    VirtualBoard m_board;
    BoardDesk m_desk;
    QTemporaryDir m_folder;

    QString local(const QString &name) const { return m_folder.filePath(name); }

private slots:
    void initTestCase()
    {
        QVERIFY2(m_board.start(), qPrintable(m_board.errorText()));
        QVERIFY(m_desk.connectTo(m_board.port()));
    }

    void init()
    {
        m_desk.desk.log.clear();
        m_desk.questions.confirmation = {true, false};
        m_desk.questions.asked.clear();
    }

    void copiesAFolderThereAndBack()
    {
        QByteArray binary(70'000, '\0');
        for (qsizetype i = 0; i < binary.size(); ++i)
            binary[i] = static_cast<char>(i % 251);
        put(local(u"src/main.py"_qs), "print('hi')\r\n");
        put(local(u"src/lib/it's.bin"_qs), binary);
        put(local(u"src/lib/empty"_qs), {});
        put(local(u"src/.hidden"_qs), "x");
        QVERIFY(QDir().mkpath(local(u"src/no/files/here"_qs)));
        QVERIFY(QFile::link(u"/etc/passwd"_qs, local(u"src/out"_qs)));

        awaited(m_desk.copies.copyFolderToDevice(local(u"src"_qs)));
        QCOMPARE(m_desk.questions.takeAsked(),
                 u"Copy “src” to the device? | 3 files (70.0 kB) will be written to /src on "_qs
                     + m_board.port()
                     + u", replacing any file already there with the same name. Large folders take "
                       "a while over serial. | Copy"_qs);
        QCOMPARE(m_desk.said(),
                 u"info: ↑ Copying src → /src…\n"
                 "info: Not copied (links out of the folder and special files): out.\n"
                 "info: ↑ Copied 3 files to /src."_qs);
        for (const QString &path : {u"/src/no/files/here"_qs, u"/src/lib/it's.bin"_qs})
            QVERIFY2(m_desk.files.deviceNode(path), qPrintable(path));
        QVERIFY(!m_desk.transfer.isSendingToDevice());

        const DeviceFileNode src = *m_desk.files.deviceNode(u"/src"_qs);
        QVERIFY(QDir().mkpath(local(u"back"_qs)));
        QSignalSpy reloads(&m_desk.copies, &FolderCopy::localFilesChanged);
        awaited(m_desk.copies.copyFolderFromDevice(src, local(u"back"_qs)));
        QCOMPARE(m_desk.questions.takeAsked(),
                 u"Copy “src” to "_qs + local(u"back"_qs)
                     + u"? | 3 files (70.0 kB) will be written to "_qs + local(u"back/src"_qs)
                     + u", replacing any file already there with the same name. | Copy"_qs);
        QCOMPARE(m_desk.said(),
                 u"info: ↓ Copying src → %1…\ninfo: ↓ Copied 3 files to %1."_qs.arg(
                     local(u"back/src"_qs)));
        QCOMPARE(reloads.size(), 1);
        QVERIFY(bytesOf(local(u"back/src/lib/it's.bin"_qs)) == binary);
        QCOMPARE(bytesOf(local(u"back/src/main.py"_qs)), QByteArray("print('hi')\r\n"));
        QCOMPARE(bytesOf(local(u"back/src/lib/empty"_qs)), QByteArray());
        QVERIFY(QFileInfo(local(u"back/src/no/files/here"_qs)).isDir());
    }

    void mergesIntoWhatIsThere()
    {
        put(local(u"merge/one.py"_qs), "1");
        awaited(m_desk.copies.copyFolderToDevice(local(u"merge"_qs)));
        put(local(u"merge/one.py"_qs), "new");
        put(local(u"merge/two.py"_qs), "2");
        awaited(m_desk.files.writeDeviceFile("kept", u"/merge/other.py"_qs, u"other.py"_qs));
        awaited(m_desk.copies.copyFolderToDevice(local(u"merge"_qs)));
        QCOMPARE(awaited(m_desk.files.readDeviceFile(u"/merge/one.py"_qs, {})), QByteArray("new"));
        QCOMPARE(awaited(m_desk.files.readDeviceFile(u"/merge/other.py"_qs, {})),
                 QByteArray("kept"));
        QVERIFY(m_desk.files.deviceNode(u"/merge/two.py"_qs));
    }

    void copiesSingleFilesIntoTheBrowsedFolder()
    {
        QVERIFY(awaited(m_desk.files.makeDeviceFolders({u"/lib"_qs})));
        awaited(m_desk.files.refreshDeviceFiles());
        m_desk.files.setDeviceWorkingDir(u"/lib"_qs);
        put(local(u"a.txt"_qs), "first");
        awaited(m_desk.copies.copyFileToDevice(local(u"a.txt"_qs)));
        QCOMPARE(m_desk.said(), u"info: ↑ Copied a.txt to /lib/a.txt."_qs);
        QVERIFY2(m_desk.questions.asked.isEmpty(), "nothing was there to replace");

        m_desk.questions.confirmation.confirmed = false;
        put(local(u"a.txt"_qs), "second");
        awaited(m_desk.copies.copyFileToDevice(local(u"a.txt"_qs)));
        QCOMPARE(m_desk.said(),
                 u"info: Copy cancelled — /lib/a.txt on the device is unchanged."_qs);
        const DeviceFileNode file = *m_desk.files.deviceNode(u"/lib/a.txt"_qs);
        m_desk.questions.asked.clear();
        awaited(m_desk.copies.copyFileFromDevice(file, m_folder.path()));
        QCOMPARE(m_desk.questions.takeAsked(),
                 u"Replace “a.txt”? | a.txt already exists in %1. Copying from the device replaces "
                 "it. | Replace"_qs.arg(m_folder.path()));
        QCOMPARE(m_desk.said(),
                 u"info: Copy cancelled — %1 is unchanged."_qs.arg(local(u"a.txt"_qs)));
        QCOMPARE(bytesOf(local(u"a.txt"_qs)), QByteArray("second"));

        m_desk.questions.confirmation.confirmed = true;
        awaited(m_desk.copies.copyFileFromDevice(file, m_folder.path()));
        QCOMPARE(m_desk.said(), u"info: ↓ Copied a.txt to %1."_qs.arg(local(u"a.txt"_qs)));
        QCOMPARE(bytesOf(local(u"a.txt"_qs)), QByteArray("first"));
        m_desk.files.setDeviceWorkingDir(u"/"_qs);
    }

    void saysWhyItStopped()
    {
        QVERIFY(QDir().mkpath(local(u"hollow"_qs)));
        awaited(m_desk.copies.copyFolderToDevice(local(u"hollow"_qs)));
        QCOMPARE(m_desk.said(), u"error: hollow is empty — nothing to copy."_qs);
        awaited(m_desk.copies.copyFileToDevice(local(u"missing"_qs)));
        QCOMPARE(m_desk.said(), u"error: Cannot read %1."_qs.arg(local(u"missing"_qs)));

        // The board holds a folder where a file of that name should go, and the reverse.
        put(local(u"clash/a"_qs), "1");
        put(local(u"clash/b"_qs), "2");
        QVERIFY(awaited(m_desk.files.makeDeviceFolders({u"/clash"_qs, u"/clash/b"_qs})));
        awaited(m_desk.copies.copyFolderToDevice(local(u"clash"_qs)));
        const QString stopped = m_desk.said();
        QVERIFY2(stopped.contains(u"error: Device write failed: OSError"), qPrintable(stopped));
        QVERIFY2(stopped.endsWith(u"\nerror: Copy stopped at b."), qPrintable(stopped));
        QCOMPARE(awaited(m_desk.files.readDeviceFile(u"/clash/a"_qs, {})), QByteArray("1"));
        put(local(u"taken/f"_qs), "1");
        QVERIFY(awaited(m_desk.files.writeDeviceFile("a file", u"/taken"_qs, {})));
        awaited(m_desk.copies.copyFolderToDevice(local(u"taken"_qs)));
        QVERIFY(m_desk.said().endsWith(u"\nerror: Copy stopped at f."_qs));
        QCOMPARE(awaited(m_desk.files.readDeviceFile(u"/taken"_qs, {})), QByteArray("a file"));

        awaited(m_desk.files.refreshDeviceFiles());
        put(local(u"into/clash"_qs), "a file");
        awaited(m_desk.copies.copyFolderFromDevice(*m_desk.files.deviceNode(u"/clash"_qs),
                                                   local(u"into"_qs)));
        QVERIFY(m_desk.said().contains(u"error: Copy failed: "));
        QVERIFY(!m_desk.transfer.isSendingToDevice());
        QCOMPARE(bytesOf(local(u"into/clash"_qs)), QByteArray("a file"));
    }

    void changesNothingWhenDeclinedOrNotConnected()
    {
        put(local(u"no/f"_qs), "1");
        m_desk.questions.confirmation.confirmed = false;
        QSignalSpy running(&m_desk.transfer, &Transfer::isSendingToDeviceChanged);
        awaited(m_desk.copies.copyFolderToDevice(local(u"no"_qs)));
        QCOMPARE(m_desk.said(), QString());
        QCOMPARE(running.size(), 0);
        QVERIFY(!awaited(m_desk.files.deviceFileExists(u"/no"_qs)));

        BoardDesk lonely;
        awaited(lonely.copies.copyFolderToDevice(local(u"no"_qs)));
        awaited(lonely.copies.copyFileToDevice(local(u"no/f"_qs)));
        QCOMPARE(lonely.said(),
                 u"error: Connect a device before copying no.\n"
                 "error: Connect a device before copying f."_qs);
    }

    void stopsWhereTheBoardFailsAndCompletesLater_data()
    {
        QTest::addColumn<QByteArray>("reply"); // to the twentieth file; none: the board vanishes
        QTest::addColumn<QString>("reason");   // none: it goes on
        QTest::newRow("vanishes") << QByteArray() << u"Command timed out after 15s"_qs;
        QTest::newRow("out of memory")
            << ScriptedBoard::reply({}, "Traceback (most recent call last):\r\nMemoryError: \r\n")
            << u"MemoryError:"_qs;
        QTest::newRow("resets") << QByteArray(
            "\r\nMPY: soft reboot\r\nraw REPL; CTRL-B to exit\r\n>\x04\x04>")
                                << u"MPY: soft reboot\nraw REPL; CTRL-B to exit\n>"_qs;
        QTest::newRow("says more than it should")
            << ScriptedBoard::reply("WLAN up\r\n__OK__\r\nWLAN down\r\n") << QString();
    }

    void stopsWhereTheBoardFailsAndCompletesLater()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, reason);
        for (int i = 0; i < 50; ++i)
            put(local(u"many/f%1"_qs.arg(i)), QByteArray::number(i));
        ScriptedBoard board;
        BoardDesk desk;
        QVERIFY(desk.connectTo(board.port()));
        QStringList written;
        bool isSound = false;
        board.onProgram = [&](const QByteArray &program) {
            if (program.contains("'wb'"))
                written << QString::fromUtf8(program).section(u'\'', 1, 1);
            const bool fails = !isSound && written.size() == 20;
            if (fails && reply.isEmpty())
                board.vanish();
            return fails ? reply
                         : ScriptedBoard::reply(program.contains("__LS__") ? "__LS__[]" : "__OK__");
        };
        QStringList status;
        connect(&desk.transfer, &Transfer::statusChanged, this,
                [&] { status << desk.transfer.status(); });

        awaited(desk.copies.copyFolderToDevice(local(u"many"_qs)));
        QCOMPARE(desk.said().split(u'\n').last(),
                 reason.isEmpty() ? u"info: ↑ Copied 50 files to /many."_qs
                                  : u"error: Copy stopped at f19."_qs);
        QCOMPARE(written.size(), reason.isEmpty() ? 50 : 20);
        QVERIFY(!desk.transfer.isSendingToDevice());
        QVERIFY(status.contains(u"Copying f19 (20 of 50)…"_qs));
        QCOMPARE(desk.transfer.status(), QString());

        isSound = true;
        if (reply.isEmpty()) {
            board.plugIn();
            QVERIFY(desk.connectTo(board.port()));
        }
        written.clear();
        awaited(desk.copies.copyFolderToDevice(local(u"many"_qs)));
        QCOMPARE(written.size(), 50);
        QVERIFY(desk.said().endsWith(u"info: ↑ Copied 50 files to /many."));
    }

    void stopsWhereTheDiskIsFull()
    {
        VirtualBoard small({u"--disk"_qs, u"50000"_qs});
        QVERIFY2(small.start(), qPrintable(small.errorText()));
        BoardDesk desk;
        QVERIFY(desk.connectTo(small.port()));
        for (const char *name : {"a", "b", "c"})
            put(local(u"full/"_qs + QString::fromLatin1(name)), QByteArray(20'000, name[0]));
        awaited(desk.copies.copyFolderToDevice(local(u"full"_qs)));
        QCOMPARE(desk.said(),
                 u"info: ↑ Copying full → /full…\n"
                 "error: Device write failed: OSError: 28\n"
                 "error: Copy stopped at c."_qs);
        QCOMPARE(awaited(desk.files.readDeviceFile(u"/full/b"_qs, {})), QByteArray(20'000, 'b'));
    }

    void endsQuietlyWhenEverythingGoesInTheMiddle()
    {
        put(local(u"quit/f"_qs), "1");
        ScriptedBoard board;
        board.onProgram = [](const QByteArray &) { return QByteArray(); };
        auto desk = std::make_unique<BoardDesk>();
        QVERIFY(desk->connectTo(board.port()));
        auto copying = desk->copies.copyFolderToDevice(local(u"quit"_qs));
        auto listing = desk->files.refreshDeviceFiles();
        QTRY_VERIFY(desk->transfer.isSendingToDevice());
        desk.reset();
        QVERIFY(copying.isReady());
        QVERIFY(listing.isReady());
    }
};

QTEST_GUILESS_MAIN(tst_FolderCopy)
#include "tst_FolderCopy.moc"
