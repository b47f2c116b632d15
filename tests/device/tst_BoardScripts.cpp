#include "device/BoardScripts.h"
#include "device/CopyPlan.h"
#include "device/DeviceListing.h"
#include "support/Files.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;

namespace {

QString rendered(const QList<DeviceFileNode> &nodes)
{
    QStringList texts;
    for (const DeviceFileNode &node : nodes) {
        texts << node.path
                + (node.isDirectory
                       ? u'(' + rendered(node.children.value_or(QList<DeviceFileNode>())) + u')'
                       : u':' + QString::number(node.size));
    }
    return texts.join(u' ');
}

QString rendered(const QList<CopyItem> &items)
{
    QStringList texts;
    for (const CopyItem &item : items)
        texts << item.relativePath
                + (item.isDirectory ? QStringLiteral("/") : QString::number(item.size));
    return texts.join(u' ');
}

} // namespace

class tst_BoardScripts final : public QObject
{
    Q_OBJECT

private slots:
    void quotesPaths_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("literal");
        QTest::newRow("plain") << QStringLiteral("/main.py") << QStringLiteral("'/main.py'");
        QTest::newRow("quote") << QStringLiteral("/it's") << QStringLiteral("'/it\\'s'");
        QTest::newRow("backslash") << QStringLiteral("/a\\b") << QStringLiteral("'/a\\\\b'");
        QTest::newRow("both") << QStringLiteral("\\'") << QStringLiteral("'\\\\\\''");
    }

    void quotesPaths()
    {
        QFETCH(QString, path);
        QFETCH(QString, literal);
        QCOMPARE(BoardScripts::pathLiteral(path), literal);
    }

    void takesPlaceholdersInAPathForText()
    {
        QCOMPARE(BoardScripts::read(QStringLiteral("/QPATH'PIECE"))
                     .count(QStringLiteral("'/QPATH\\'PIECE'")),
                 1);
        const QString script = BoardScripts::write(QStringLiteral("/MODE.QPATH.PIECE"), "x");
        QCOMPARE(script,
                 QStringLiteral("import ubinascii as _u\n"
                                "_f=open('/MODE.QPATH.PIECE','wb')\n"
                                "_f.write(_u.a2b_base64('eA=='))\n"
                                "_f.close()\n"
                                "print('__OK__')"));
        QVERIFY(BoardScripts::remove(QStringLiteral("/FN"), BoardScripts::NodeKind::Folder)
                    .contains(QStringLiteral("\n os.rmdir('/FN')\n")));
    }

    void writesInPieces_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<QList<int>>("pieces");
        QTest::newRow("empty") << 0 << QList<int>{0};
        QTest::newRow("one byte") << 1 << QList<int>{4};
        QTest::newRow("just below a piece") << 767 << QList<int>{1024};
        QTest::newRow("a piece") << 768 << QList<int>{1024};
        QTest::newRow("just above a piece") << 769 << QList<int>{1024, 4};
        QTest::newRow("four pieces") << 3000 << QList<int>{1024, 1024, 1024, 928};
    }

    void writesInPieces()
    {
        QFETCH(int, size);
        QFETCH(QList<int>, pieces);
        const QString script = BoardScripts::write(QStringLiteral("/f"), QByteArray(size, '\xA5'));
        QList<int> lengths;
        for (const QString &line : script.split(u'\n')) {
            if (line.startsWith(QStringLiteral("_f.write")))
                lengths << static_cast<int>(line.section(u'\'', 1, 1).size());
        }
        QCOMPARE(lengths, pieces);
        QCOMPARE(script.count(QStringLiteral("'wb'")), 1);
        QCOMPARE(script.count(QStringLiteral("'ab'")), pieces.size() - 1);
        QVERIFY(script.endsWith(QStringLiteral("_f.close()\nprint('__OK__')")));
    }

    void makesFoldersInOrder()
    {
        const QString script =
            BoardScripts::makeFolders({QStringLiteral("/a"), QStringLiteral("/a/b")});
        QVERIFY(script.endsWith(QStringLiteral("  pass\n_mk('/a')\n_mk('/a/b')\nprint('__OK__')")));
    }

    void readsListings_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("tree");
        const QString unreadable = QStringLiteral("unreadable");
        QTest::newRow("empty board") << QStringLiteral("__LS__[]\n") << QString();
        QTest::newRow("folders first, numbers by value")
            << QStringLiteral(R"(noise __LS__[{"n":"a10.py","p":"/a10.py","d":false,"s":10},
                {"n":"a2.py","p":"/a2.py","d":false,"s":2},{"n":"lib","p":"/lib","d":true,"s":0,
                "c":[{"n":"x","p":"/lib/x","d":true,"c":[]}]}]  )")
            << QStringLiteral("/lib(/lib/x()) /a2.py:2 /a10.py:10");
        QTest::newRow("entries without what they need are left out")
            << QStringLiteral(R"(__LS__[{"n":1,"p":"/a","d":false},{"n":"b","d":false},
                {"n":"c","p":"/c","d":1},{"n":"d","p":"/d","d":false,"s":"big"}])")
            << QStringLiteral("/d:0");
        QTest::newRow("names that lead elsewhere are left out")
            << QStringLiteral(R"(__LS__[{"n":"..","p":"/..","d":true,"c":[]},
                {"n":"a/../../b","p":"/x","d":false},{"n":"","p":"/","d":false}])")
            << QString();
        QTest::newRow("no marker") << QStringLiteral("[]") << unreadable;
        QTest::newRow("text behind") << QStringLiteral("__LS__[]\nMPY: soft reboot") << unreadable;
        QTest::newRow("cut off") << QStringLiteral("__LS__[{\"n\":\"a\"") << unreadable;
        QTest::newRow("not objects") << QStringLiteral("__LS__[1]") << unreadable;
        QTest::newRow("not an array") << QStringLiteral("__LS__{}") << unreadable;
    }

    void readsListings()
    {
        QFETCH(QString, output);
        QFETCH(QString, tree);
        const auto nodes = DeviceListing::parse(output);
        QCOMPARE(nodes ? rendered(*nodes) : QStringLiteral("unreadable"), tree);
    }

    void survivesAListingMadeToExhaustTheStack()
    {
        QString output = QStringLiteral("__LS__");
        for (int i = 0; i < 20'000; ++i)
            output += QStringLiteral(R"([{"n":"a","p":"/a","d":true,"c":)");
        output += QStringLiteral("[]") + QStringLiteral("}]").repeated(20'000);
        QVERIFY(DeviceListing::parse(output));
    }

    void walksDownTheTree_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("entries");
        QTest::newRow("root") << QStringLiteral("/")
                              << QStringLiteral("/lib(/lib/e() /lib/x:1) /f:1");
        QTest::newRow("no path") << QString() << QStringLiteral("/lib(/lib/e() /lib/x:1) /f:1");
        QTest::newRow("folder") << QStringLiteral("/lib") << QStringLiteral("/lib/e() /lib/x:1");
        QTest::newRow("slashes") << QStringLiteral("//lib/") << QStringLiteral("/lib/e() /lib/x:1");
        QTest::newRow("empty folder") << QStringLiteral("/lib/e") << QString();
        QTest::newRow("file") << QStringLiteral("/f") << QStringLiteral("none");
        QTest::newRow("missing") << QStringLiteral("/lib/e/z") << QStringLiteral("none");
    }

    void walksDownTheTree()
    {
        QFETCH(QString, path);
        QFETCH(QString, entries);
        const auto tree = DeviceListing::parse(QStringLiteral(
            R"(__LS__[{"n":"lib","p":"/lib","d":true,"c":[{"n":"x","p":"/lib/x","d":false,"s":1},
            {"n":"e","p":"/lib/e","d":true}]},{"n":"f","p":"/f","d":false,"s":1}])"));
        QVERIFY(tree);
        const auto *found = DeviceListing::children(*tree, path);
        QCOMPARE(found ? rendered(*found) : QStringLiteral("none"), entries);
        QVERIFY(DeviceListing::find(*tree, QStringLiteral("/lib/x")));
        QVERIFY(!DeviceListing::find(*tree, QStringLiteral("/x")));
    }

    void plansALocalFolder()
    {
        QTemporaryDir folder;
        const QString src = folder.filePath(QStringLiteral("src"));
        put(src + QStringLiteral("/b/in10.py"), "1");
        put(src + QStringLiteral("/b/in2.py"), "12");
        put(src + QStringLiteral("/a.py"), "123");
        put(src + QStringLiteral("/.hidden"), "x");
        put(src + QStringLiteral("/.git/config"), "x");
        put(folder.filePath(QStringLiteral("secret")), "x");
        QVERIFY(QDir().mkpath(src + QStringLiteral("/empty/deep")));
        QVERIFY(QFile::link(QStringLiteral(".."), src + QStringLiteral("/loop")));
        QVERIFY(QFile::link(QStringLiteral("../secret"), src + QStringLiteral("/out")));
        QVERIFY(QFile::link(QStringLiteral("a.py"), src + QStringLiteral("/same.py")));
        QVERIFY(QFile::link(QStringLiteral("nowhere"), src + QStringLiteral("/broken")));

        const CopyPlan plan = planLocalFolder(src);

        QCOMPARE(rendered(plan.items),
                 QStringLiteral("b/ b/in2.py2 b/in10.py1 empty/ empty/deep/ a.py3 same.py3"));
        QStringList skipped = plan.skipped;
        skipped.sort();
        QCOMPARE(skipped.join(u' '), QStringLiteral("broken loop out"));
        QCOMPARE(plan.totalSize(), 9);
        QVERIFY(planLocalFolder(QStringLiteral("/no/such/folder")).items.isEmpty());
    }

    void plansABoardFolder()
    {
        const auto tree = DeviceListing::parse(QStringLiteral(
            R"(__LS__[{"n":"lib","p":"/lib","d":true,"s":9,"c":[{"n":"x","p":"/lib/x","d":false,
            "s":5}]},{"n":"f","p":"/f","d":false,"s":1}])"));
        QVERIFY(tree);
        QCOMPARE(rendered(planDeviceFolder(*tree).items), QStringLiteral("lib/ lib/x5 f1"));
    }
};

QTEST_GUILESS_MAIN(tst_BoardScripts)
#include "tst_BoardScripts.moc"
