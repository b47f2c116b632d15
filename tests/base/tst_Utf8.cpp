#include "base/Utf8.h"

#include <QTest>

using namespace Korvane;

class tst_Utf8 final : public QObject
{
    Q_OBJECT

private slots:
    void findsTheUnfinishedTail()
    {
        const QList<std::pair<QByteArray, int>> cases{
            {"", 0},
            {"whole \xE2\x82\xAC", 0},
            {"a\xE2", 1},
            {"a\xE2\x82", 2},
            {"a\x80", 0},
            {"three of \xF0\x9F\x98", 3},
            {"impossible \xFF", 0},
            {"overlong \xC0", 0},
        };
        for (const auto &[bytes, length] : cases)
            QVERIFY2(Utf8::unfinishedTailLength(bytes) == length, bytes.toPercentEncoding());
    }

    void dropsAnIllFormedChunkAndRecovers()
    {
        Utf8::ChunkDecoder decoder;
        QCOMPARE(decoder.feed("a\xE2\x82"), QStringLiteral("a"));
        QVERIFY(!decoder.feed("b\xFF"));
        QVERIFY(!decoder.feed("surrogate \xED\xA0\x80"));
        QCOMPARE(decoder.feed("c\xE2\x82\xAC"), QStringLiteral("c€"));
        // Nothing continues this character, but what follows it is whole.
        QCOMPARE(decoder.feed("d\xC3"), QStringLiteral("d"));
        QCOMPARE(decoder.feed("\x04\x04>"), QStringLiteral("\x04\x04>"));
    }
};

QTEST_GUILESS_MAIN(tst_Utf8)
#include "tst_Utf8.moc"
