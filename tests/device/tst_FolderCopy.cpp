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
using namespace Qt::StringLiterals;

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
        put(local(u"src/main.py"_s), "print('hi')\r\n");
        put(local(u"src/lib/it's.bin"_s), binary);
        put(local(u"src/lib/empty"_s), {});
        put(local(u"src/.hidden"_s), "x");
        QVERIFY(QDir().mkpath(local(u"src/no/files/here"_s)));
        QVERIFY(QFile::link(u"/etc/passwd"_s, local(u"src/out"_s)));

        awaited(m_desk.copies.copyFolderToDevice(local(u"src"_s)));
        QCOMPARE(m_desk.questions.takeAsked(),
                 u"Copy “src” to the device? | 3 files (70.0 kB) will be written to /src on "_s
                     + m_board.port()
                     + u", replacing any file already there with the same name. Large folders take "
                       "a while over serial. | Copy"_s);
        QCOMPARE(m_desk.said(),
                 u"info: ↑ Copying src → /src…\n"
                 "info: Not copied (links out of the folder and special files): out.\n"
                 "info: ↑ Copied 3 files to /src."_s);
        for (const QString &path : {u"/src/no/files/here"_s, u"/src/lib/it's.bin"_s})
            QVERIFY2(m_desk.files.deviceNode(path), qPrintable(path));
        QVERIFY(!m_desk.transfer.isSendingToDevice());

        const DeviceFileNode src = *m_desk.files.deviceNode(u"/src"_s);
        QVERIFY(QDir().mkpath(local(u"back"_s)));
        QSignalSpy reloads(&m_desk.copies, &FolderCopy::localFilesChanged);
        awaited(m_desk.copies.copyFolderFromDevice(src, local(u"back"_s)));
        QCOMPARE(m_desk.questions.takeAsked(),
                 u"Copy “src” to "_s + local(u"back"_s)
                     + u"? | 3 files (70.0 kB) will be written to "_s + local(u"back/src"_s)
                     + u", replacing any file already there with the same name. | Copy"_s);
        QCOMPARE(m_desk.said(),
                 u"info: ↓ Copying src → %1…\ninfo: ↓ Copied 3 files to %1."_s.arg(
                     local(u"back/src"_s)));
        QCOMPARE(reloads.size(), 1);
        QVERIFY(bytesOf(local(u"back/src/lib/it's.bin"_s)) == binary);
        QCOMPARE(bytesOf(local(u"back/src/main.py"_s)), QByteArray("print('hi')\r\n"));
        QCOMPARE(bytesOf(local(u"back/src/lib/empty"_s)), QByteArray());
        QVERIFY(QFileInfo(local(u"back/src/no/files/here"_s)).isDir());
    }

    void mergesIntoWhatIsThere()
    {
        put(local(u"merge/one.py"_s), "1");
        awaited(m_desk.copies.copyFolderToDevice(local(u"merge"_s)));
        put(local(u"merge/one.py"_s), "new");
        put(local(u"merge/two.py"_s), "2");
        awaited(m_desk.files.writeDeviceFile("kept", u"/merge/other.py"_s, u"other.py"_s));
        awaited(m_desk.copies.copyFolderToDevice(local(u"merge"_s)));
        QCOMPARE(awaited(m_desk.files.readDeviceFile(u"/merge/one.py"_s, {})), QByteArray("new"));
        QCOMPARE(awaited(m_desk.files.readDeviceFile(u"/merge/other.py"_s, {})),
                 QByteArray("kept"));
        QVERIFY(m_desk.files.deviceNode(u"/merge/two.py"_s));
    }

    void copiesSingleFilesIntoTheBrowsedFolder()
    {
        QVERIFY(awaited(m_desk.files.makeDeviceFolders({u"/lib"_s})));
        awaited(m_desk.files.refreshDeviceFiles());
        m_desk.files.setDeviceWorkingDir(u"/lib"_s);
        put(local(u"a.txt"_s), "first");
        awaited(m_desk.copies.copyFileToDevice(local(u"a.txt"_s)));
        QCOMPARE(m_desk.said(), u"info: ↑ Copied a.txt to /lib/a.txt."_s);
        QVERIFY2(m_desk.questions.asked.isEmpty(), "nothing was there to replace");

        m_desk.questions.confirmation.confirmed = false;
        put(local(u"a.txt"_s), "second");
        awaited(m_desk.copies.copyFileToDevice(local(u"a.txt"_s)));
        QCOMPARE(m_desk.said(), u"info: Copy cancelled — /lib/a.txt on the device is unchanged."_s);
        const DeviceFileNode file = *m_desk.files.deviceNode(u"/lib/a.txt"_s);
        m_desk.questions.asked.clear();
        awaited(m_desk.copies.copyFileFromDevice(file, m_folder.path()));
        QCOMPARE(m_desk.questions.takeAsked(),
                 u"Replace “a.txt”? | a.txt already exists in %1. Copying from the device replaces "
                 "it. | Replace"_s.arg(m_folder.path()));
        QCOMPARE(m_desk.said(),
                 u"info: Copy cancelled — %1 is unchanged."_s.arg(local(u"a.txt"_s)));
        QCOMPARE(bytesOf(local(u"a.txt"_s)), QByteArray("second"));

        m_desk.questions.confirmation.confirmed = true;
        awaited(m_desk.copies.copyFileFromDevice(file, m_folder.path()));
        QCOMPARE(m_desk.said(), u"info: ↓ Copied a.txt to %1."_s.arg(local(u"a.txt"_s)));
        QCOMPARE(bytesOf(local(u"a.txt"_s)), QByteArray("first"));
        m_desk.files.setDeviceWorkingDir(u"/"_s);
    }

    void saysWhyItStopped()
    {
        QVERIFY(QDir().mkpath(local(u"hollow"_s)));
        awaited(m_desk.copies.copyFolderToDevice(local(u"hollow"_s)));
        QCOMPARE(m_desk.said(), u"error: hollow is empty — nothing to copy."_s);
        awaited(m_desk.copies.copyFileToDevice(local(u"missing"_s)));
        QCOMPARE(m_desk.said(), u"error: Cannot read %1."_s.arg(local(u"missing"_s)));

        // The board holds a folder where a file of that name should go, and the reverse.
        put(local(u"clash/a"_s), "1");
        put(local(u"clash/b"_s), "2");
        QVERIFY(awaited(m_desk.files.makeDeviceFolders({u"/clash"_s, u"/clash/b"_s})));
        awaited(m_desk.copies.copyFolderToDevice(local(u"clash"_s)));
        const QString stopped = m_desk.said();
        QVERIFY2(stopped.contains(u"error: Device write failed: OSError"), qPrintable(stopped));
        QVERIFY2(stopped.endsWith(u"\nerror: Copy stopped at b."), qPrintable(stopped));
        QCOMPARE(awaited(m_desk.files.readDeviceFile(u"/clash/a"_s, {})), QByteArray("1"));
        put(local(u"taken/f"_s), "1");
        QVERIFY(awaited(m_desk.files.writeDeviceFile("a file", u"/taken"_s, {})));
        awaited(m_desk.copies.copyFolderToDevice(local(u"taken"_s)));
        QVERIFY(m_desk.said().endsWith(u"\nerror: Copy stopped at f."_s));
        QCOMPARE(awaited(m_desk.files.readDeviceFile(u"/taken"_s, {})), QByteArray("a file"));

        awaited(m_desk.files.refreshDeviceFiles());
        put(local(u"into/clash"_s), "a file");
        awaited(m_desk.copies.copyFolderFromDevice(*m_desk.files.deviceNode(u"/clash"_s),
                                                   local(u"into"_s)));
        QVERIFY(m_desk.said().contains(u"error: Copy failed: "));
        QVERIFY(!m_desk.transfer.isSendingToDevice());
        QCOMPARE(bytesOf(local(u"into/clash"_s)), QByteArray("a file"));
    }

    void changesNothingWhenDeclinedOrNotConnected()
    {
        put(local(u"no/f"_s), "1");
        m_desk.questions.confirmation.confirmed = false;
        QSignalSpy running(&m_desk.transfer, &Transfer::isSendingToDeviceChanged);
        awaited(m_desk.copies.copyFolderToDevice(local(u"no"_s)));
        QCOMPARE(m_desk.said(), QString());
        QCOMPARE(running.size(), 0);
        QVERIFY(!awaited(m_desk.files.deviceFileExists(u"/no"_s)));

        BoardDesk lonely;
        awaited(lonely.copies.copyFolderToDevice(local(u"no"_s)));
        awaited(lonely.copies.copyFileToDevice(local(u"no/f"_s)));
        QCOMPARE(lonely.said(),
                 u"error: Connect a device before copying no.\n"
                 "error: Connect a device before copying f."_s);
    }

    void stopsWhereTheBoardFailsAndCompletesLater_data()
    {
        QTest::addColumn<QByteArray>("reply"); // to the twentieth file; none: the board vanishes
        QTest::addColumn<QString>("reason");   // none: it goes on
        QTest::newRow("vanishes") << QByteArray() << u"Command timed out after 15s"_s;
        QTest::newRow("out of memory")
            << ScriptedBoard::reply({}, "Traceback (most recent call last):\r\nMemoryError: \r\n")
            << u"MemoryError:"_s;
        QTest::newRow("resets") << QByteArray(
            "\r\nMPY: soft reboot\r\nraw REPL; CTRL-B to exit\r\n>\x04\x04>")
                                << u"MPY: soft reboot\nraw REPL; CTRL-B to exit\n>"_s;
        QTest::newRow("says more than it should")
            << ScriptedBoard::reply("WLAN up\r\n__OK__\r\nWLAN down\r\n") << QString();
    }

    void stopsWhereTheBoardFailsAndCompletesLater()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, reason);
        for (int i = 0; i < 50; ++i)
            put(local(u"many/f%1"_s.arg(i)), QByteArray::number(i));
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

        awaited(desk.copies.copyFolderToDevice(local(u"many"_s)));
        QCOMPARE(desk.said().split(u'\n').last(),
                 reason.isEmpty() ? u"info: ↑ Copied 50 files to /many."_s
                                  : u"error: Copy stopped at f19."_s);
        QCOMPARE(written.size(), reason.isEmpty() ? 50 : 20);
        QVERIFY(!desk.transfer.isSendingToDevice());
        QVERIFY(status.contains(u"Copying f19 (20 of 50)…"_s));
        QCOMPARE(desk.transfer.status(), QString());

        isSound = true;
        if (reply.isEmpty()) {
            board.plugIn();
            QVERIFY(desk.connectTo(board.port()));
        }
        written.clear();
        awaited(desk.copies.copyFolderToDevice(local(u"many"_s)));
        QCOMPARE(written.size(), 50);
        QVERIFY(desk.said().endsWith(u"info: ↑ Copied 50 files to /many."));
    }

    void stopsWhereTheDiskIsFull()
    {
        VirtualBoard small({u"--disk"_s, u"50000"_s});
        QVERIFY2(small.start(), qPrintable(small.errorText()));
        BoardDesk desk;
        QVERIFY(desk.connectTo(small.port()));
        for (const char *name : {"a", "b", "c"})
            put(local(u"full/"_s + QString::fromLatin1(name)), QByteArray(20'000, name[0]));
        awaited(desk.copies.copyFolderToDevice(local(u"full"_s)));
        QCOMPARE(desk.said(),
                 u"info: ↑ Copying full → /full…\n"
                 "error: Device write failed: OSError: 28\n"
                 "error: Copy stopped at c."_s);
        QCOMPARE(awaited(desk.files.readDeviceFile(u"/full/b"_s, {})), QByteArray(20'000, 'b'));
    }

    void endsQuietlyWhenEverythingGoesInTheMiddle()
    {
        put(local(u"quit/f"_s), "1");
        ScriptedBoard board;
        board.onProgram = [](const QByteArray &) { return QByteArray(); };
        auto desk = std::make_unique<BoardDesk>();
        QVERIFY(desk->connectTo(board.port()));
        auto copying = desk->copies.copyFolderToDevice(local(u"quit"_s));
        auto listing = desk->files.refreshDeviceFiles();
        QTRY_VERIFY(desk->transfer.isSendingToDevice());
        desk.reset();
        QVERIFY(copying.isReady());
        QVERIFY(listing.isReady());
    }
};

QTEST_GUILESS_MAIN(tst_FolderCopy)
#include "tst_FolderCopy.moc"
