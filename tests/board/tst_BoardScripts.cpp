#include "board/BoardScripts.h"
#include "board/CopyPlan.h"
#include "board/DeviceListing.h"
#include "support/Files.h"

#include <QTemporaryDir>
#include <QTest>

#include <fstream>

#include <sys/fsuid.h>
#include <unistd.h>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QString rendered(const QList<DeviceFileNode> &nodes)
{
    QStringList texts;
    for (const DeviceFileNode &node : nodes) {
        const QString inside = rendered(node.children.value_or(QList<DeviceFileNode>()));
        texts << node.path + (node.isDirectory ? u"(%1)"_s.arg(inside) : u":%1"_s.arg(node.size));
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
    void writesInPiecesThatASmallBoardCanHold()
    {
        const QString script = BoardScripts::write(u"/f"_s, QByteArray(3000, '\xA5'));
        for (const QString &line : script.split(u'\n'))
            QVERIFY2(line.size() < 1100, qPrintable(line));
    }

    void readsListings_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("tree");
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
        for (const char *output :
             {"[]", "__LS__[] MPY: soft reboot", "__LS__[{\"n\":\"a\"", "__LS__[1]", "__LS__{}"})
            QTest::newRow(output) << QString::fromLatin1(output) << u"unreadable"_s;
    }

    void readsListings()
    {
        QFETCH(QString, output);
        const auto nodes = DeviceListing::parse(output);
        QTEST(nodes ? rendered(*nodes) : u"unreadable"_s, "tree");
    }

    void limitsTheDepthOfAListing()
    {
        const QString output = uR"([{"n":"a","p":"/a","d":true,"c":)"_s.repeated(20'000);
        QVERIFY(DeviceListing::parse(u"__LS__"_s + output + u"[]"_s + u"}]"_s.repeated(20'000)));
    }

    void findsEntriesOfTheTree()
    {
        const auto tree = DeviceListing::parse(
            uR"(__LS__[{"n":"lib","p":"/lib","d":true,"c":[{"n":"x","p":"/lib/x","d":false,"s":1},
            {"n":"e","p":"/lib/e","d":true}]},{"n":"f","p":"/f","d":false,"s":1}])"_s);
        QVERIFY(tree);
        QStringList found;
        for (const QString &path :
             {u""_s, u"/"_s, u"//lib/"_s, u"/lib"_s, u"/lib/e"_s, u"/f"_s, u"/lib/e/z"_s}) {
            const auto *children = DeviceListing::children(*tree, path);
            found << (children ? rendered(*children) : u"none"_s);
        }
        const QString root = u"/lib(/lib/e() /lib/x:1) /f:1"_s;
        const QString lib = u"/lib/e() /lib/x:1"_s;
        QCOMPARE(found, (QStringList{root, root, lib, lib, {}, u"none"_s, u"none"_s}));
        QVERIFY(DeviceListing::find(*tree, u"/lib/x"_s) && !DeviceListing::find(*tree, u"/x"_s));
        QCOMPARE(rendered(planDeviceFolder(*tree).items), u"lib/ lib/e/ lib/x1 f1"_s);
    }

    void plansALocalFolder()
    {
        QTemporaryDir folder;
        const QString src = folder.filePath(u"src/"_s);
        for (const char *name :
             {"b/in10.py", "b/in2.py", "a.py", ".hidden", ".git/x", "../src-secret"})
            put(src + QString::fromLatin1(name), "12");
        QVERIFY(QDir().mkpath(src + u"empty/deep"_s));
        QVERIFY(QFile::link(u".."_s, src + u"loop"_s));
        QVERIFY(QFile::link(u"../src-secret"_s, src + u"out"_s));
        QVERIFY(QFile::link(u"a.py"_s, src + u"same.py"_s));
        QVERIFY(QFile::link(u"nowhere"_s, src + u"broken"_s));
        std::ofstream(src.toStdString() + "caf\xe9.py") << "x";
        QVERIFY(QDir().mkpath(src + u"closed"_s));
        QVERIFY(QFile::setPermissions(src + u"closed"_s, {}));
        QVERIFY(QFile::setPermissions(folder.path(), QFileDevice::Permissions(0x7777)));

        ::setfsuid(65534); // as root, which may read every folder
        const CopyPlan plan = planLocalFolder(src);
        ::setfsuid(::geteuid());

        QCOMPARE(rendered(plan.items),
                 u"b/ b/in2.py2 b/in10.py2 empty/ empty/deep/ a.py2 same.py2"_s);
        QString skipped;
        for (const CopyPlan::Skipped &entry : plan.skipped)
            skipped += entry.relativePath + u' ' + entry.reason.first(5) + u"; "_s;
        QCOMPARE(skipped,
                 u"closed Permi; loop links; broken links; caf\uFFFD.py names; out links; "_s);
        QVERIFY(planLocalFolder(u"/no/such/folder"_s).items.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_BoardScripts)
#include "tst_BoardScripts.moc"
