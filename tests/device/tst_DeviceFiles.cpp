#include "BoardDesk.h"

#include "support/Awaited.h"
#include "support/ScriptedBoard.h"
#include "support/VirtualBoard.h"

#include <QSignalSpy>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QByteArray everyByte(qsizetype size)
{
    QByteArray bytes(size, '\0');
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 31 + i / 256) & 0xFF);
    return bytes;
}

DeviceFileNode node(const QString &path, bool isDirectory = false)
{
    DeviceFileNode node;
    node.name = path.section(u'/', -1);
    node.path = path;
    node.isDirectory = isDirectory;
    return node;
}

} // namespace

/// The board's files, on a real MicroPython and on boards that misbehave.
class tst_DeviceFiles final : public QObject
{
    Q_OBJECT

private:
    VirtualBoard m_board;
    BoardDesk m_desk;

    DeviceFiles &files() { return m_desk.files; }

private slots:
    void initTestCase()
    {
        QVERIFY2(m_board.start(), qPrintable(m_board.errorText()));
        QVERIFY(m_desk.connectTo(m_board.port()));
    }

    void init() { m_desk.desk.log.clear(); }

    void writesAndReadsBack_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("size");
        for (const int size : {0, 1, 767, 768, 769, 3000, 200'000})
            QTest::addRow("%d bytes", size) << u"/plain.bin"_s << size;
        QTest::newRow("quotes") << u"/it's \"so\".py"_s << 300;
        QTest::newRow("backslashes") << u"/a\\b\\'c"_s << 300;
        QTest::newRow("blanks and percent") << u"/ 100 %s %1 "_s << 300;
        QTest::newRow("beyond ASCII") << u"/Grüße 😀.txt"_s << 300;
        QTest::newRow("a long name") << QString(u'/' + QString(251, u'n') + u".bin"_s) << 300;
    }

    void writesAndReadsBack()
    {
        QFETCH(QString, path);
        QFETCH(int, size);
        const QByteArray bytes = everyByte(size);
        QVERIFY(awaited(files().writeDeviceFile(bytes, path, u"it"_s)));
        QVERIFY(awaited(files().deviceFileExists(path)));
        const auto read = awaited(files().readDeviceFile(path, u"it"_s));
        QVERIFY(read);
        QCOMPARE(read->size(), bytes.size());
        QVERIFY(*read == bytes);

        awaited(files().refreshDeviceFiles());
        const DeviceFileNode *listed = files().deviceNode(path);
        QVERIFY(listed);
        QCOMPARE(listed->size, size);
        awaited(files().deleteDeviceNode(*listed));
        QVERIFY(!files().deviceNode(path));
        QVERIFY(!awaited(files().deviceFileExists(path)));
        QCOMPARE(m_desk.said(), QString());
    }

    void saysWhatTheBoardRefuses()
    {
        QVERIFY(awaited(files().makeDeviceFolders({u"/folder"_s, u"/folder/in"_s, u"/folder"_s})));
        QVERIFY(!awaited(files().readDeviceFile(u"/missing"_s, u"missing"_s)));
        QCOMPARE(m_desk.said(), u"error: Cannot read missing: [Errno 2] ENOENT"_s);
        QVERIFY(!awaited(files().readDeviceFile(u"/folder"_s, u"folder"_s)));
        QVERIFY(m_desk.said().startsWith(u"error: Cannot read folder: "));
        QVERIFY(!awaited(files().writeDeviceFile("x", u"/no/parent"_s, u"parent"_s)));
        QCOMPARE(m_desk.said(), u"error: Device write failed: OSError: [Errno 2] ENOENT"_s);
        QVERIFY(!awaited(files().writeDeviceFile("x", u"/folder"_s, u"folder"_s)));
        QVERIFY(m_desk.said().startsWith(u"error: Device write failed: OSError"));

        awaited(files().deleteDeviceNode(node(u"/folder"_s, true)));
        QVERIFY(m_desk.said().startsWith(u"error: Delete failed: "));
        QVERIFY(awaited(files().deviceFileExists(u"/folder"_s)));
        awaited(files().deleteDeviceNode(node(u"/folder/in"_s, true)));
        awaited(files().deleteDeviceNode(node(u"/folder"_s, true)));
        QCOMPARE(m_desk.said(), QString());
        QVERIFY(!awaited(files().deviceFileExists(u"/folder"_s)));

        QVERIFY(!awaited(files().writeTextToDevice(QString(QChar(0xD800)), u"/f"_s, u"f"_s)));
        QCOMPARE(m_desk.said(), u"error: Cannot encode f as UTF-8"_s);
    }

    void goesToTheRootWhenItsFolderHasGone()
    {
        QVERIFY(awaited(files().makeDeviceFolders({u"/gone"_s})));
        awaited(files().refreshDeviceFiles());
        files().setDeviceWorkingDir(u"/gone"_s);
        awaited(files().refreshDeviceFiles());
        QCOMPARE(files().deviceWorkingDir(), u"/gone"_s);
        awaited(files().deleteDeviceNode(node(u"/gone"_s, true)));
        QCOMPARE(files().deviceWorkingDir(), u"/"_s);
    }

    void listsFiveThousandEntries()
    {
        QVERIFY(awaited(m_desk.desk.link->executeOnDevice(
            u"import os\nos.mkdir('/many')\n"
            "for i in range(50):\n d='/many/d%d'%i\n os.mkdir(d)\n"
            " for j in range(99): open('%s/f%d'%(d,j),'w').close()"_s,
            std::chrono::seconds(15))));
        awaited(files().refreshDeviceFiles());
        QCOMPARE(m_desk.said(), QString());
        QCOMPARE(m_desk.paths().filter(u"/many/"_s).size(), 5000);
        QCOMPARE(files().deviceChildren(u"/many/d9"_s)->at(10).name, u"f10"_s);
    }

    void asksBeforeReplacing()
    {
        QVERIFY(awaited(files().writeDeviceFile("12345", u"/main.py"_s, u"main.py"_s)));
        awaited(files().refreshDeviceFiles());
        m_desk.questions.confirmation = {false, true};
        QVERIFY(!awaited(files().confirmOverwrite(u"main.py"_s, u"/main.py"_s)));
        QCOMPARE(m_desk.questions.takeAsked(),
                 u"Replace “main.py” on the device? | /main.py (5 bytes) already exists on "_s
                     + m_board.port()
                     + u". Writing replaces it, and the copy on the board is lost. | Replace | "
                       "/main.py"_s);
        QVERIFY2(!files().isOverwriteConfirmed(u"/main.py"_s), "Cancel must not be remembered");
        m_desk.questions.confirmation = {true, true};
        QVERIFY(awaited(files().confirmOverwrite(u"main.py"_s, u"/main.py"_s)));
        QVERIFY(files().isOverwriteConfirmed(u"/main.py"_s));
        files().linkEnded();
        QVERIFY(!files().isOverwriteConfirmed(u"/main.py"_s));
        QVERIFY(m_desk.paths().isEmpty());
    }

    void survivesOddReplies_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("listing");
        QTest::addColumn<QString>("reading");
        QTest::addColumn<QString>("writing");
        QTest::addColumn<QString>("deleting");
        const QString memory = u"MemoryError: memory allocation failed, allocating 65536 bytes"_s;
        const auto row = [](const char *name, const QByteArray &reply, const QString &listing,
                            const QString &reading, const QString &writing,
                            const QString &deleting) {
            QTest::newRow(name) << reply << listing << reading << writing << deleting;
        };
        row("nothing", ScriptedBoard::reply({}), u"error: Could not parse device file listing"_s,
            u"error: Cannot decode f"_s, u"error: Device write failed for f: "_s, QString());
        row("other text", ScriptedBoard::reply("  hello \r\n"),
            u"error: Could not parse device file listing"_s, u"error: Cannot decode f"_s,
            u"error: Device write failed for f: hello"_s, QString());
        row("out of memory",
            ScriptedBoard::reply(
                {}, "Traceback (most recent call last):\r\n" + memory.toUtf8() + "\r\n"),
            u"error: Device file listing failed: "_s + memory,
            u"error: Failed to read f: "_s + memory, u"error: Device write failed: "_s + memory,
            u"error: Delete failed: "_s + memory);
        row("disk full in the middle",
            ScriptedBoard::reply({},
                                 "Traceback (most recent call last):\r\n"
                                 "  File \"<stdin>\", line 6, in <module>\r\nOSError: 28\r\n"),
            u"error: Device file listing failed: OSError: 28"_s,
            u"error: Failed to read f: OSError: 28"_s, u"error: Device write failed: OSError: 28"_s,
            u"error: Delete failed: OSError: 28"_s);
        row("a soft reset in the middle",
            "\r\nMPY: soft reboot\r\nhello from boot.py\r\nraw REPL; CTRL-B to exit\r\n>\x04\x04>",
            u"error: Could not parse device file listing"_s, u"error: Cannot decode f"_s,
            u"error: Device write failed for f: MPY: soft reboot\nhello from boot.py\n"
            "raw REPL; CTRL-B to exit\n>"_s,
            QString());
        row("bad base64", ScriptedBoard::reply("__FILE__!!!!\r\n"),
            u"error: Could not parse device file listing"_s, u"error: Cannot decode f"_s,
            u"error: Device write failed for f: __FILE__!!!!"_s, QString());
        row("base64 cut off", ScriptedBoard::reply("__FILE__aGVsbG8\r\n"),
            u"error: Could not parse device file listing"_s, u"error: Cannot decode f"_s,
            u"error: Device write failed for f: __FILE__aGVsbG8"_s, QString());
        row("refused", ScriptedBoard::reply("__ERR__39\r\n__FILEERR__[Errno 5] EIO\r\n"),
            u"error: Could not parse device file listing"_s,
            u"error: Cannot read f: [Errno 5] EIO"_s,
            u"error: Device write failed for f: __ERR__39\n__FILEERR__[Errno 5] EIO"_s,
            u"error: Delete failed: 39\n__FILEERR__[Errno 5] EIO\n"_s);
    }

    void survivesOddReplies()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, listing);
        QFETCH(QString, reading);
        QFETCH(QString, writing);
        QFETCH(QString, deleting);
        ScriptedBoard board;
        BoardDesk desk;
        QVERIFY(desk.connectTo(board.port()));
        board.onProgram = [](const QByteArray &) {
            return ScriptedBoard::reply(R"(__LS__[{"n":"f","p":"/f","d":false,"s":3}])");
        };
        awaited(desk.files.refreshDeviceFiles());
        board.onProgram = [reply](const QByteArray &) { return reply; };

        QSignalSpy loading(&desk.files, &DeviceFiles::isLoadingDeviceFilesChanged);
        awaited(desk.files.refreshDeviceFiles());
        QCOMPARE(desk.said(), listing);
        QCOMPARE(loading.size(), 2);
        QCOMPARE(desk.paths(), QStringList{u"/f"_s});
        QVERIFY(!awaited(desk.files.readDeviceFile(u"/f"_s, u"f"_s)));
        QCOMPARE(desk.said(), reading);
        QVERIFY(!awaited(desk.files.writeDeviceFile("x", u"/f"_s, u"f"_s)));
        QCOMPARE(desk.said(), writing);
        awaited(desk.files.deleteDeviceNode(node(u"/f"_s)));
        QCOMPARE(desk.said(), deleting);
        // Without an answer the tree knows, of files alone.
        QVERIFY(awaited(desk.files.deviceFileExists(u"/f"_s)));
        QVERIFY(!awaited(desk.files.deviceFileExists(u"/g"_s)));
        QCOMPARE(desk.said(), QString());
    }

    void ignoresTextAroundTheMarkers()
    {
        ScriptedBoard board;
        BoardDesk desk;
        QVERIFY(desk.connectTo(board.port()));
        board.onProgram = [](const QByteArray &) {
            return ScriptedBoard::reply("WLAN up\r\n__OK__\r\n__EXISTS__1\r\n__FILE__aGk=\r\n");
        };
        QVERIFY(awaited(desk.files.deviceFileExists(u"/f"_s)));
        QVERIFY(awaited(desk.files.writeDeviceFile("x", u"/f"_s, u"f"_s)));
        QCOMPARE(awaited(desk.files.readDeviceFile(u"/f"_s, u"f"_s)), QByteArray("hi"));
    }

    void showsAListingThatArrivesAfterItsLinkEndedToNobody()
    {
        ScriptedBoard board;
        BoardDesk desk;
        QVERIFY(desk.connectTo(board.port()));
        board.onProgram = [&desk](const QByteArray &) {
            desk.files.linkEnded();
            return ScriptedBoard::reply(R"(__LS__[{"n":"f","p":"/f","d":false}])");
        };
        awaited(desk.files.refreshDeviceFiles());
        QVERIFY(desk.paths().isEmpty());
        QVERIFY(!desk.files.isLoadingDeviceFiles());
    }
};

QTEST_GUILESS_MAIN(tst_DeviceFiles)
#include "tst_DeviceFiles.moc"
