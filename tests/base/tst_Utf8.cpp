#include "base/Utf8.h"

#include <QTest>

using namespace Korvane;

class tst_Utf8 final : public QObject
{
    Q_OBJECT

private slots:
    void findsTheUnfinishedTail_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("length");
        QTest::newRow("nothing") << QByteArray() << 0;
        QTest::newRow("plain") << QByteArray("abc") << 0;
        QTest::newRow("whole euro sign") << QByteArray("\xE2\x82\xAC") << 0;
        QTest::newRow("one of three") << QByteArray("a\xE2") << 1;
        QTest::newRow("two of three") << QByteArray("a\xE2\x82") << 2;
        QTest::newRow("three of four") << QByteArray("\xF0\x9F\x98") << 3;
        QTest::newRow("whole emoji") << QByteArray("\xF0\x9F\x98\x80") << 0;
        QTest::newRow("lone continuation") << QByteArray("a\x80") << 0;
        QTest::newRow("impossible lead byte") << QByteArray("a\xFF") << 0;
        QTest::newRow("overlong lead byte") << QByteArray("a\xC0") << 0;
    }

    void findsTheUnfinishedTail()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, length);
        QCOMPARE(Utf8::unfinishedTailLength(bytes), length);
    }

    void joinsCharactersSplitAtEveryByte()
    {
        const QString text = QStringLiteral("\uFEFFé€😀z");
        const QByteArray bytes = text.toUtf8();
        Utf8::ChunkDecoder decoder;
        QString joined;
        for (const char byte : bytes) {
            const auto piece = decoder.feed(QByteArrayView(&byte, 1));
            QVERIFY(piece);
            joined += *piece;
        }
        QCOMPARE(joined, text);
    }

    void dropsAnIllFormedChunkAndRecovers()
    {
        Utf8::ChunkDecoder decoder;
        QCOMPARE(decoder.feed("a\xE2\x82"), QStringLiteral("a"));
        QVERIFY(!decoder.feed("b\xFF"));
        QCOMPARE(decoder.feed("c\xE2\x82\xAC"), QStringLiteral("c€"));
        // Nothing continues this character, but what follows it is whole.
        QCOMPARE(decoder.feed("d\xC3"), QStringLiteral("d"));
        QCOMPARE(decoder.feed("\x04\x04>"), QStringLiteral("\x04\x04>"));
    }

    void keepsAByteOrderMark()
    {
        const QByteArray bytes("\xEF\xBB\xBFx");
        QCOMPARE(Utf8::decodeStrict(bytes).value_or(QString()).toUtf8(), bytes);
        QVERIFY(!Utf8::decodeStrict("\xED\xA0\x80"));
    }
};

QTEST_GUILESS_MAIN(tst_Utf8)
#include "tst_Utf8.moc"
