#include "board/BoardFixture.h"
#include "board/BoardScripts.h"
#include "board/DeviceFileOperations.h"
#include "board/DeviceListing.h"
#include "support/EmulatedMicrobit.h"
#include "support/Files.h"
#include "support/VirtualBoard.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// File operations on a board without most of the modules that they use on others.
class tst_FilesOfMicrobit final : public QObject
{
    Q_OBJECT

private slots:
    void worksWithoutMissingModules()
    {
        EmulatedMicrobit microbit;
        QVERIFY2(microbit.start(), qPrintable(microbit.errorText()));
        BoardFixture board;
        QVERIFY(board.connectTo(microbit.port()));
        awaited(board.files.refreshDeviceFiles());
        QCOMPARE(board.takeLog(), u""_s);
        QVERIFY(board.files.deviceFileNodes().isEmpty());

        QByteArray bytes;
        for (int i = 0; i < 5000; ++i)
            bytes += static_cast<char>(i * 37 >> 3);
        QVERIFY2(board.write(bytes, u"/data.bin"_s, u"data.bin"_s), qPrintable(board.takeLog()));
        QVERIFY2(board.write("print('it\\'s “small”')\n", u"/main.py"_s, u"main.py"_s),
                 qPrintable(board.takeLog()));
        QVERIFY(awaited(board.files.deviceFileExists(u"/main.py"_s)));
        QVERIFY(!awaited(board.files.deviceFileExists(u"/main2.py"_s)));
        awaited(board.files.refreshDeviceFiles());
        QCOMPARE(board.takeLog(), u""_s);
        QVERIFY(board.files.deviceNode(u"/data.bin"_s));
        QCOMPARE(board.files.deviceNode(u"/data.bin"_s)->size, 5000);

        QTemporaryDir folder;
        QVERIFY2(board.done(board.copies.copyFileFromDevice(*board.files.deviceNode(u"/data.bin"_s),
                                                            folder.path())),
                 qPrintable(board.takeLog()));
        QCOMPARE(bytesOf(folder.filePath(u"data.bin"_s)), bytes);
        QCOMPARE(board.done(board.files.readDeviceFile(u"/main.py"_s, u"main.py"_s)),
                 "print('it\\'s “small”')\n");

        QVERIFY(!board.makeFolders({u"/lib"_s}));
        QVERIFY2(board.done(board.files.deleteDeviceNode(*board.files.deviceNode(u"/data.bin"_s))),
                 qPrintable(board.takeLog()));
        QCOMPARE(board.files.deviceFileNodes().size(), 1);

        DeviceFileOperations operations(*board.fixture.link, board.files);
        const auto permit = [&board](const QString &path) { return board.files.permitWrite(path); };
        using Kind = DeviceFileOperations::Kind;
        QVERIFY(!board.done(operations.createFile(permit(u"/main.py"_s))));
        QVERIFY(!board.done(operations.createFolder(permit(u"/lib"_s))));
        QVERIFY(!board.done(operations.move(u"/main.py"_s, permit(u"/new.py"_s),
                                            DeviceFileOperations::Existing::Refuse)));
        QCOMPARE(board.takeLog(),
                 u"error: File exists\nerror: the board has no folders\nerror: the "
                 "board cannot rename files"_s);
        QVERIFY2(board.done(operations.createFile(permit(u"/new.py"_s))),
                 qPrintable(board.takeLog()));
        const auto remove = [&] {
            return operations.remove(permit(u"/main.py"_s), [] { return false; });
        };
        QVERIFY2(board.done(remove()), qPrintable(board.takeLog()));
        QVERIFY(!board.done(remove()));
        QCOMPARE(*board.done(operations.kindsOf({u"/new.py"_s, u"/main.py"_s})),
                 (QList{Kind::File, Kind::Missing}));
    }

    void listsWithoutJsonAndWithoutStat_data()
    {
        QTest::addColumn<bool>("hasStat");
        QTest::newRow("without json") << true;
        QTest::newRow("without os.stat") << false;
    }
    void listsWithoutJsonAndWithoutStat()
    {
        QFETCH(bool, hasStat);
        VirtualBoard virtualBoard;
        QVERIFY2(virtualBoard.start(), qPrintable(virtualBoard.errorText()));
        BoardFixture board;
        QVERIFY(board.connectTo(virtualBoard.port()));
        QVERIFY(board.makeFolders({u"/a"_s, u"/a/empty"_s}));
        QVERIFY(board.write("12345", u"/a/it's \"ü\".py"_s, u"x"_s));
        BoardCapabilities capabilities;
        capabilities.hasStat = hasStat;
        const auto plain =
            awaited(board.fixture.link->executeOnDevice(BoardScripts::listPlain(capabilities), 5s));
        const auto nodes = DeviceListing::parse(*plain);
        QVERIFY2(nodes, qPrintable(*plain));
        QCOMPARE(nodes->size(), 1);
        const QList<DeviceFileNode> children = *nodes->first().children;
        QCOMPARE(children.size(), 2);
        QVERIFY(children[0].isDirectory && children[0].children->isEmpty());
        QCOMPARE(children[1].path, u"/a/it's \"ü\".py"_s);
        QCOMPARE(children[1].size, hasStat ? 5 : 0);
        for (const char *path : {"/a", "/a/it's \"ü\".py", "/b"}) {
            const QString code = BoardScripts::existsPlain(QString::fromUtf8(path));
            QCOMPARE(awaited(board.fixture.link->executeOnDevice(code, 5s))->trimmed(),
                     path[1] == 'b' ? u"__EXISTS__0"_s : u"__EXISTS__1"_s);
        }
    }
};

QTEST_GUILESS_MAIN(tst_FilesOfMicrobit)
#include "tst_FilesOfMicrobit.moc"
