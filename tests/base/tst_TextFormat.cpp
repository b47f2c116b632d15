#include "base/TextFormat.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Korvane;

class tst_TextFormat final : public QObject
{
    Q_OBJECT

private slots:
    void givesBackWhatItTook_data()
    {
        QTest::addColumn<QString>("fileText");
        QTest::addColumn<QString>("shown");
        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("only a mark") << QStringLiteral("\uFEFF") << QString();
        QTest::newRow("plain") << QStringLiteral("a\nb\n") << QStringLiteral("a\nb\n");
        QTest::newRow("no last line end") << QStringLiteral("a\r\nb") << QStringLiteral("a\nb");
        QTest::newRow("mark and pairs")
            << QStringLiteral("\uFEFFa\r\n\r\n") << QStringLiteral("a\n\n");
        QTest::newRow("second mark is text")
            << QStringLiteral("\uFEFF\uFEFFa") << QStringLiteral("\uFEFFa");
        QTest::newRow("old line ends") << QStringLiteral("a\rb\r") << QStringLiteral("a\nb\n");
        QTest::newRow("mixed") << QStringLiteral("a\r\nb\nc\rd\r\r\n\n")
                               << QStringLiteral("a\nb\nc\nd\n\n\n");
        QTest::newRow("what the text engine takes for line ends")
            << QStringLiteral("a\u2029b\xFDD0") + QStringLiteral("c\xFDD1") + QStringLiteral("d\n")
            << QStringLiteral("a\nb\nc\nd\n");
        QTest::newRow("left alone") << QStringLiteral("a\u2028b\u0085c\u00A0\fd\0e\n")
                                    << QStringLiteral("a\u2028b\u0085c\u00A0\fd\0e\n");
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
            << QStringLiteral("a\r\nb\r\n") << QStringLiteral("a\nx\ny\nb\n")
            << QStringLiteral("a\r\nx\r\ny\r\nb\r\n");
        QTest::newRow("inserted into a mix")
            << QStringLiteral("a\r\nb\r\nc\nd\n\r\n") << QStringLiteral("a\nb\nnew\nc\nd\n\n")
            << QStringLiteral("a\r\nb\r\nnew\r\nc\nd\n\r\n");
        QTest::newRow("removed from a mix")
            << QStringLiteral("a\r\nb\nc\r\nd\n") << QStringLiteral("a\nd\n")
            << QStringLiteral("a\r\nd\n");
        QTest::newRow("joined lines of a mix")
            << QStringLiteral("a\nb\r\nc\rd\r\n") << QStringLiteral("a\nbc\nd\n")
            << QStringLiteral("a\nbc\rd\r\n");
        QTest::newRow("everything replaced")
            << QStringLiteral("a\nb\r\nc\r\n") << QStringLiteral("x\ny\n")
            << QStringLiteral("x\r\ny\r\n");
    }

    void keepsTheLineEndsThatAnEditDidNotTouch()
    {
        QFETCH(QString, fileText);
        QFETCH(QString, after);
        QFETCH(QString, saved);
        TextFormat format;
        const QString before = format.detach(fileText);
        format.edited(before, after);
        QCOMPARE(format.attach(after), saved);
    }

    void neverLosesALineOverManyEdits()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        TextFormat format;
        QString text = format.detach(QStringLiteral("1\r\n2\n3\r4\r\n5\n6"));
        for (int i = 0; i < 500; ++i) {
            const int at = random.bounded(static_cast<int>(text.size()) + 1);
            const int length = random.bounded(static_cast<int>(text.size()) - at + 1) % 4;
            QString after = text;
            after.replace(at, length, QStringLiteral("\n\na").first(random.bounded(4)));
            format.edited(text, after);
            text = after;
            TextFormat reread;
            QCOMPARE(reread.detach(format.attach(text)), text);
        }
    }
};

QTEST_GUILESS_MAIN(tst_TextFormat)
#include "tst_TextFormat.moc"
