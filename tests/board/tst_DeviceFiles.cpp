#include "board/BoardFixture.h"

#include "support/Awaited.h"
#include "support/ScriptedBoard.h"
#include "support/VirtualBoard.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// The board's files, on a real MicroPython and on boards with unexpected replies.
class tst_DeviceFiles final : public QObject
{
    Q_OBJECT

private:
    VirtualBoard m_board;
    BoardFixture m_fixture;

    DeviceFiles &files() { return m_fixture.files; }
    bool remove(const QString &path)
    {
        return m_fixture.done(files().deleteDeviceNode(*files().deviceNode(path)));
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(m_board.start(), qPrintable(m_board.errorText()));
        QVERIFY(m_fixture.connectTo(m_board.port()));
    }

    void init() { m_fixture.fixture.log.clear(); }

    void writesAndReadsBack_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("size");
        for (const int size : {0, 1, 767, 768, 769, 3000, 200'000})
            QTest::addRow("%d bytes", size) << u"/plain.bin"_s << size;
        for (const QString &path :
             {u"/it's \"so\".py"_s, u"/a\\b\\'c"_s, u"/ 100 %s %1 "_s, u"/Grüße 😀.txt"_s,
              u"/MODE.QPATH'PIECE.FN"_s, u"/a\x04print('run')\x04\x01\x02\x03\r\n\t\x7f.py"_s,
              QString(u'/' + QString(255, u'n'))})
            QTest::newRow(qPrintable(path)) << path << 300;
    }

    void writesAndReadsBack()
    {
        QFETCH(QString, path);
        QFETCH(int, size);
        QByteArray bytes(size, '\0');
        for (qsizetype i = 0; i < size; ++i)
            bytes[i] = static_cast<char>((i * 31 + i / 256) & 0xFF); // each of the 256 values
        QVERIFY(m_fixture.write(bytes, path, u"it"_s));
        QVERIFY(awaited(files().deviceFileExists(path)));
        const auto read = m_fixture.done(files().readDeviceFile(path, u"it"_s));
        QVERIFY(read && *read == bytes);

        awaited(files().refreshDeviceFiles());
        QVERIFY(files().deviceNode(path));
        QCOMPARE(files().deviceNode(path)->size, size);
        QVERIFY(remove(path));
        QVERIFY(!files().deviceNode(path));
        QVERIFY(!awaited(files().deviceFileExists(path)));
        QCOMPARE(m_fixture.takeLog(), QString());
    }

    void reportsWhatTheBoardRefuses()
    {
        QVERIFY(m_fixture.makeFolders({u"/folder"_s, u"/folder/in"_s, u"/folder"_s}));
        awaited(files().refreshDeviceFiles());
        QVERIFY(!m_fixture.done(files().readDeviceFile(u"/missing"_s, u"missing"_s)));
        QCOMPARE(m_fixture.takeLog(), u"error: Cannot read missing: No such file or directory"_s);
        QVERIFY(!m_fixture.done(files().readDeviceFile(u"/folder"_s, u"folder"_s)));
        QVERIFY(m_fixture.takeLog().startsWith(u"error: Cannot read folder: "));
        QVERIFY(!m_fixture.write("x", u"/no/parent"_s, u"parent"_s));
        QCOMPARE(m_fixture.takeLog(), u"error: Device write failed: No such file or directory"_s);
        QVERIFY(!remove(u"/folder"_s)); // not empty
        QVERIFY(m_fixture.takeLog().startsWith(u"error: Delete failed: "));
        QVERIFY(remove(u"/folder/in"_s) && remove(u"/folder"_s));
        QVERIFY(!m_fixture.done(files().writeTextToDevice(QString(QChar(0xD800)),
                                                          files().permitWrite(u"/f"_s), u"f"_s)));
        QCOMPARE(m_fixture.takeLog(), u"error: Cannot encode f as UTF-8"_s);
    }

    void writesToTheBoardOfItsPermitOnly()
    {
        for (const qint64 size : {1, 5000}) { // by one command, and in pieces
            bool isRead = false;
            const PieceTransfer::Source next = [&](qsizetype) -> Async<QByteArray> {
                m_fixture.fixture.link->disconnectDevice(); // during a slow read of the disk
                Q_UNUSED(m_fixture.fixture.link->connectDevice(m_board.port()));
                co_return QByteArray(std::exchange(isRead, true) ? "" : "x");
            };
            DeviceFileContent::Source source{[next] { return next; }, size};
            const WritePermit permit = files().permitWrite(u"/other"_s);
            QVERIFY(!m_fixture.done(files().sendFile(source, permit, u"it"_s, {})));
            QVERIFY(m_fixture.takeLog().contains(u"was disconnected before the command ended"_s));
        }
        QVERIFY(!awaited(files().deviceFileExists(u"/other"_s)));
    }

    void namesALocalFileThatCannotBeRead()
    {
        for (const qint64 size : {1, 5000}) { // by one command, and in pieces
            const PieceTransfer::Source next = [](qsizetype) -> Async<QByteArray> {
                co_return Error{ErrorCode::File, u"Input/output error"_s};
            };
            DeviceFileContent::Source source{[next] { return next; }, size};
            const WritePermit permit = files().permitWrite(u"/f"_s);
            QVERIFY(!m_fixture.done(files().sendFile(source, permit, u"it"_s, {})));
            const QString log = m_fixture.takeLog();
            QVERIFY2(log.startsWith(u"error: Cannot read it: Input/output error"), qPrintable(log));
        }
    }

    void runsOtherCommandsDuringTransfersWithLittleMemory()
    {
        VirtualBoard small({u"--heap"_s, u"64K"_s});
        QVERIFY2(small.start(), qPrintable(small.errorText()));
        BoardFixture fixture;
        QVERIFY(fixture.connectTo(small.port()));
        const QByteArray a(50'000, 'a');
        const QByteArray b(50'000, 'b');
        auto &files = fixture.files;
        auto first = files.writeDeviceFile(a, files.permitWrite(u"/a"_s), u"a"_s);
        auto second = files.writeDeviceFile(b, files.permitWrite(u"/b"_s), u"b"_s);
        QVERIFY(!awaited(files.deviceFileExists(u"/a"_s))); // in between
        QVERIFY(fixture.done(std::move(first)) && fixture.done(std::move(second)));
        // The file is not in the tree yet, and one command has not enough memory for it.
        QVERIFY(fixture.done(files.readDeviceFile(u"/a"_s, u"a"_s)) == a);
        awaited(files.refreshDeviceFiles());
        QVERIFY(fixture.done(files.readDeviceFile(u"/b"_s, u"b"_s)) == b);
    }

    void listsFiveThousandEntries()
    {
        QVERIFY(awaited(m_fixture.fixture.link->executeOnDevice(
            u"import os\nos.mkdir('/many')\n"
            "for i in range(50):\n d='/many/d%d'%i\n os.mkdir(d)\n"
            " for j in range(99): open('%s/f%d'%(d,j),'w').close()"_s,
            std::chrono::seconds(15))));
        awaited(files().refreshDeviceFiles());
        QCOMPARE(m_fixture.takeLog(), QString());
        qsizetype count = 0;
        for (const DeviceFileNode &folder : *files().deviceChildren(u"/many"_s))
            count += 1 + folder.children->size();
        QCOMPARE(count, 5000);
        QCOMPARE(files().deviceChildren(u"/many/d9"_s)->at(10).name, u"f10"_s);
    }

    void handlesUnexpectedReplies_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QStringList>("outcome"); // of listing, reading, writing and deleting
        const QString list = u"error: Could not parse device file listing"_s;
        const QString read = u"error: Cannot decode f"_s;
        const QString write = u"error: Device write failed for f: "_s;
        const QString memory = u"MemoryError: memory allocation failed"_s;
        const auto row = [](const char *name, const QByteArray &reply, const QStringList &outcome) {
            QTest::newRow(name) << reply << outcome;
        };
        row("other text", ScriptedBoard::reply("  hello \r\n"),
            {list, read, write + u"hello"_s, {}});
        row("out of memory", ScriptedBoard::reply({}, "Traceback:\r\n" + memory.toUtf8() + "\r\n"),
            {u"error: Device file listing failed: "_s + memory,
             u"error: Failed to read f: "_s + memory, u"error: Device write failed: "_s + memory,
             u"error: Delete failed: "_s + memory});
        row("soft reset", "\r\nMPY: soft reboot\r\nraw REPL; CTRL-B to exit\r\n>\x04\x04>",
            {list, read, write + u"MPY: soft reboot\nraw REPL; CTRL-B to exit\n>"_s, {}});
        row("bad base64", ScriptedBoard::reply("__FILE__!!!!\r\n"),
            {list, read, write + u"__FILE__!!!!"_s, {}});
        row("base64 cut off", ScriptedBoard::reply("__FILE__aGVsbG8\r\n"),
            {list, read, write + u"__FILE__aGVsbG8"_s, {}});
        row("refused", ScriptedBoard::reply("__FILEERR__[Errno 5] EIO\r\n__ERR__39"),
            {list, u"error: Cannot read f: [Errno 5] EIO\n__ERR__39"_s,
             write + u"__FILEERR__[Errno 5] EIO\n__ERR__39"_s,
             u"error: Delete failed: Directory not empty"_s});
        row("text around the markers", ScriptedBoard::reply("up\r\n__OK__\r\n__FILE__aGk=\r\n"),
            {list, u"hi"_s, {}, list});
    }

    void handlesUnexpectedReplies()
    {
        QFETCH(QByteArray, reply);
        ScriptedBoard board;
        BoardFixture fixture;
        QVERIFY(fixture.connectTo(board.port()));
        board.onProgram = [](const QByteArray &) {
            return ScriptedBoard::reply(R"(__LS__[{"n":"f","p":"/f","d":false,"s":3}])");
        };
        awaited(fixture.files.refreshDeviceFiles());
        board.onProgram = [reply](const QByteArray &) { return reply; };

        awaited(fixture.files.refreshDeviceFiles());
        QStringList outcome{fixture.takeLog()};
        QVERIFY(fixture.files.deviceNode(u"/f"_s));
        const auto bytes = fixture.done(fixture.files.readDeviceFile(u"/f"_s, u"f"_s));
        outcome << fixture.takeLog() + QString::fromUtf8(bytes.value_or(""));
        fixture.write("x", u"/f"_s, u"f"_s);
        outcome << fixture.takeLog();
        QTRY_VERIFY(!fixture.files.isLoadingDeviceFiles()); // listed again after a failure
        fixture.takeLog();
        fixture.done(fixture.files.deleteDeviceNode(*fixture.files.deviceNode(u"/f"_s)));
        outcome << fixture.takeLog();
        QTEST(outcome, "outcome");
        // Without a valid reply the tree is searched.
        QVERIFY(awaited(fixture.files.deviceFileExists(u"/f"_s)));
        QVERIFY(!awaited(fixture.files.deviceFileExists(u"/g"_s)));
        QCOMPARE(fixture.takeLog(), QString());
    }

    void readsCapabilitiesAgainAfterAnEmptyReply()
    {
        ScriptedBoard board;
        BoardFixture fixture;
        QVERIFY(fixture.connectTo(board.port()));
        QByteArray capabilities; // of a board without folders
        board.onProgram = [&capabilities](const QByteArray &program) {
            if (program.contains("__CAPS__"))
                return ScriptedBoard::reply(capabilities);
            if (program.contains("__EXISTS__"))
                return ScriptedBoard::reply("__EXISTS__0");
            const bool isPlain = program.contains("def _e(q)");
            return ScriptedBoard::reply(isPlain ? R"(__LS__[{"n":"f","p":"/f","d":false}])"
                                                : "__LS__[]");
        };
        awaited(fixture.files.refreshDeviceFiles());
        QVERIFY(!awaited(fixture.files.checkDeviceFileExists(u"/f"_s)));
        capabilities = "__CAPS__ 9000 0 0 0 0 0 1 0 1 0 1";
        awaited(fixture.files.refreshDeviceFiles());
        QVERIFY(fixture.files.deviceNode(u"/f"_s));
    }

    void dropsAListingThatArrivesAfterItsLinkEnded()
    {
        ScriptedBoard board;
        BoardFixture fixture;
        QVERIFY(fixture.connectTo(board.port()));
        board.onProgram = [&fixture](const QByteArray &) {
            fixture.fixture.link->disconnectDevice();
            return ScriptedBoard::reply(R"(__LS__[{"n":"f","p":"/f","d":false}])");
        };
        awaited(fixture.files.refreshDeviceFiles());
        QCOMPARE(fixture.takeLog(), u"ended\ninfo: Disconnected."_s);
        QVERIFY(fixture.files.deviceFileNodes().isEmpty() && !fixture.files.isLoadingDeviceFiles());
    }
};

QTEST_GUILESS_MAIN(tst_DeviceFiles)
#include "tst_DeviceFiles.moc"
