#include "document/EditorFile.h"
#include "document/PythonTextStorage.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_TextFormat final : public QObject
{
    Q_OBJECT

private slots:
    void givesBackWhatItTook_data()
    {
        QTest::addColumn<QString>("fileText");
        QTest::addColumn<QString>("shown");
        QTest::newRow("only a mark") << u"\uFEFF"_s << u""_s;
        QTest::newRow("no last line end") << u"a\r\nb"_s << u"a\nb"_s;
        QTest::newRow("second mark is text") << u"\uFEFF\uFEFFa\r\n"_s << u"\uFEFFa\n"_s;
        QTest::newRow("old line ends") << u"a\rb\r"_s << u"a\nb\n"_s;
        QTest::newRow("mixed") << u"a\r\nb\nc\rd\r\r\n\n"_s << u"a\nb\nc\nd\n\n\n"_s;
        QTest::newRow("what the text engine takes for line ends") << u"a\u2029b\xFDD0"
                                                                     "c\xFDD1"
                                                                     "d\n"_s
                                                                  << u"a\nb\nc\nd\n"_s;
        QTest::newRow("left alone") << u"a\u2028b\u0085\f\0e\n"_s << u"a\u2028b\u0085\f\0e\n"_s;
    }

    void givesBackWhatItTook()
    {
        QFETCH(QString, fileText);
        QFETCH(QString, shown);
        TextFormat format;
        QCOMPARE(format.detach(fileText), shown);
        QCOMPARE(format.attach(shown), fileText);
    }

    void keepsTheLineEndsThatAnEditDidNotTouch_data()
    {
        QTest::addColumn<QString>("fileText");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("saved");
        QTest::newRow("new lines end as the others")
            << u"a\r\nb\r\n"_s << u"a\nx\ny\nb\n"_s << u"a\r\nx\r\ny\r\nb\r\n"_s;
        QTest::newRow("inserted into a mix")
            << u"a\r\nb\r\nc\nd\n\r\n"_s << u"a\nb\nnew\nc\nd\n\n"_s
            << u"a\r\nb\r\nnew\r\nc\nd\n\r\n"_s;
        QTest::newRow("removed from a mix")
            << u"a\r\nb\nc\r\nd\n"_s << u"a\nd\n"_s << u"a\r\nd\n"_s;
        QTest::newRow("joined lines of a mix")
            << u"a\nb\r\nc\rd\r\n"_s << u"a\nbc\nd\n"_s << u"a\nbc\rd\r\n"_s;
        QTest::newRow("everything replaced")
            << u"a\nb\r\nc\r\n"_s << u"x\ny\n"_s << u"x\r\ny\r\n"_s;
    }

    void keepsTheLineEndsThatAnEditDidNotTouch()
    {
        QFETCH(QString, fileText);
        QFETCH(QString, after);
        EditorFile file(u"f.py"_s, {}, DocumentText::fromFile(fileText));
        file.setContent(after);
        QTEST(file.text().fileText(), "saved");
        file.storage().undo();
        QCOMPARE(file.text().fileText(), fileText);
    }

    void neverLosesALineOverManyEdits()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        EditorFile file(u"f.py"_s, {}, DocumentText::fromFile(u"1\r\n2\n3\r4\r\n5\n6"_s));
        for (int i = 0; i < 500; ++i) {
            QString after = file.content();
            const int at = random.bounded(int(after.size()) + 1);
            after.replace(at, random.bounded(4), u"\n\na"_s.first(random.bounded(4)));
            file.setContent(after);
            const DocumentText reread = DocumentText::fromFile(file.text().fileText());
            QVERIFY2(reread.content == after, qPrintable(u"seed %1"_s.arg(seed)));
        }
    }
};

QTEST_GUILESS_MAIN(tst_TextFormat)
#include "tst_TextFormat.moc"
