#include "device/BoardScripts.h"
#include "device/CopyPlan.h"
#include "device/DeviceListing.h"
#include "support/Files.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

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
        texts << item.relativePath + (item.isDirectory ? u"/"_s : QString::number(item.size));
    return texts.join(u' ');
}

} // namespace

class tst_BoardScripts final : public QObject
{
    Q_OBJECT

private slots:
    void quotesPaths()
    {
        QCOMPARE(BoardScripts::pathLiteral(u"/a b.py"_s), u"'/a b.py'"_s);
        QCOMPARE(BoardScripts::pathLiteral(u"/it's \\ \\'"_s), u"'/it\\'s \\\\ \\\\\\''"_s);
    }

    void takesPlaceholdersInAPathForText()
    {
        QCOMPARE(BoardScripts::read(u"/QPATH'PIECE"_s).count(u"'/QPATH\\'PIECE'"_s), 1);
        const QString script = BoardScripts::write(u"/MODE.QPATH.PIECE"_s, "x");
        QCOMPARE(script,
                 u"import ubinascii as _u\n"
                 "_f=open('/MODE.QPATH.PIECE','wb')\n"
                 "_f.write(_u.a2b_base64('eA=='))\n"
                 "_f.close()\n"
                 "print('__OK__')"_s);
        QVERIFY(BoardScripts::remove(u"/FN"_s, BoardScripts::NodeKind::Folder)
                    .contains(u"\n os.rmdir('/FN')\n"_s));
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
        const QString script = BoardScripts::write(u"/f"_s, QByteArray(size, '\xA5'));
        QList<int> lengths;
        for (const QString &line : script.split(u'\n')) {
            if (line.startsWith(u"_f.write"_s))
                lengths << static_cast<int>(line.section(u'\'', 1, 1).size());
        }
        QCOMPARE(lengths, pieces);
        QCOMPARE(script.count(u"'wb'"_s), 1);
        QCOMPARE(script.count(u"'ab'"_s), pieces.size() - 1);
        QVERIFY(script.endsWith(u"_f.close()\nprint('__OK__')"_s));
    }

    void makesFoldersInOrder()
    {
        const QString script = BoardScripts::makeFolders({u"/a"_s, u"/a/b"_s});
        QVERIFY(script.endsWith(u"  pass\n_mk('/a')\n_mk('/a/b')\nprint('__OK__')"_s));
    }

    void readsListings_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("tree");
        const QString unreadable = u"unreadable"_s;
        QTest::newRow("empty board") << u"__LS__[]\n"_s << QString();
        QTest::newRow("folders first, numbers by value")
            << uR"(noise __LS__[{"n":"a10.py","p":"/a10.py","d":false,"s":10},
                {"n":"a2.py","p":"/a2.py","d":false,"s":2},{"n":"lib","p":"/lib","d":true,"s":0,
                "c":[{"n":"x","p":"/lib/x","d":true,"c":[]}]}]  )"_s
            << u"/lib(/lib/x()) /a2.py:2 /a10.py:10"_s;
        QTest::newRow("entries without what they need are left out")
            << uR"(__LS__[{"n":1,"p":"/a","d":false},{"n":"b","d":false},
                {"n":"c","p":"/c","d":1},{"n":"d","p":"/d","d":false,"s":"big"}])"_s
            << u"/d:0"_s;
        QTest::newRow("names that lead elsewhere are left out")
            << uR"(__LS__[{"n":"..","p":"/..","d":true,"c":[]},
                {"n":"a/../../b","p":"/x","d":false},{"n":"","p":"/","d":false}])"_s
            << QString();
        QTest::newRow("no marker") << u"[]"_s << unreadable;
        QTest::newRow("text behind") << u"__LS__[]\nMPY: soft reboot"_s << unreadable;
        QTest::newRow("cut off") << u"__LS__[{\"n\":\"a\""_s << unreadable;
        QTest::newRow("not objects") << u"__LS__[1]"_s << unreadable;
        QTest::newRow("not an array") << u"__LS__{}"_s << unreadable;
    }

    void readsListings()
    {
        QFETCH(QString, output);
        QFETCH(QString, tree);
        const auto nodes = DeviceListing::parse(output);
        QCOMPARE(nodes ? rendered(*nodes) : u"unreadable"_s, tree);
    }

    void survivesAListingMadeToExhaustTheStack()
    {
        QString output = u"__LS__"_s;
        for (int i = 0; i < 20'000; ++i)
            output += uR"([{"n":"a","p":"/a","d":true,"c":)"_s;
        output += u"[]"_s + u"}]"_s.repeated(20'000);
        QVERIFY(DeviceListing::parse(output));
    }

    void walksDownTheTree()
    {
        const auto tree = DeviceListing::parse(
            uR"(__LS__[{"n":"lib","p":"/lib","d":true,"c":[{"n":"x","p":"/lib/x","d":false,"s":1},
            {"n":"e","p":"/lib/e","d":true}]},{"n":"f","p":"/f","d":false,"s":1}])"_s);
        QVERIFY(tree);
        const auto at = [&tree](const QString &path) {
            const auto *found = DeviceListing::children(*tree, path);
            return found ? rendered(*found) : u"none"_s;
        };
        QCOMPARE(at(u"/"_s), u"/lib(/lib/e() /lib/x:1) /f:1"_s);
        QCOMPARE(at({}), at(u"/"_s));
        QCOMPARE(at(u"/lib"_s), u"/lib/e() /lib/x:1"_s);
        QCOMPARE(at(u"//lib/"_s), at(u"/lib"_s));
        QCOMPARE(at(u"/lib/e"_s), QString());
        QCOMPARE(at(u"/f"_s), u"none"_s); // a file
        QCOMPARE(at(u"/lib/e/z"_s), u"none"_s);
        QVERIFY(DeviceListing::find(*tree, u"/lib/x"_s) && !DeviceListing::find(*tree, u"/x"_s));
        QCOMPARE(rendered(planDeviceFolder(*tree).items), u"lib/ lib/e/ lib/x1 f1"_s);
    }

    void plansALocalFolder()
    {
        QTemporaryDir folder;
        const QString src = folder.filePath(u"src"_s);
        put(src + u"/b/in10.py"_s, "1");
        put(src + u"/b/in2.py"_s, "12");
        put(src + u"/a.py"_s, "123");
        put(src + u"/.hidden"_s, "x");
        put(src + u"/.git/config"_s, "x");
        put(folder.filePath(u"secret"_s), "x");
        QVERIFY(QDir().mkpath(src + u"/empty/deep"_s));
        QVERIFY(QFile::link(u".."_s, src + u"/loop"_s));
        QVERIFY(QFile::link(u"../secret"_s, src + u"/out"_s));
        QVERIFY(QFile::link(u"a.py"_s, src + u"/same.py"_s));
        QVERIFY(QFile::link(u"nowhere"_s, src + u"/broken"_s));

        const CopyPlan plan = planLocalFolder(src);

        QCOMPARE(rendered(plan.items),
                 u"b/ b/in2.py2 b/in10.py1 empty/ empty/deep/ a.py3 same.py3"_s);
        QStringList skipped = plan.skipped;
        skipped.sort();
        QCOMPARE(skipped.join(u' '), u"broken loop out"_s);
        QCOMPARE(plan.totalSize(), 9);
        QVERIFY(planLocalFolder(u"/no/such/folder"_s).items.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_BoardScripts)
#include "tst_BoardScripts.moc"
