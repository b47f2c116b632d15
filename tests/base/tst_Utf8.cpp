#include "base/Utf8.h"

#include <QTest>

using namespace Korvane;

class tst_Utf8 final : public QObject
{
    Q_OBJECT

private slots:
    void dropsAnIllFormedChunkAndRecovers()
    {
        Utf8::ChunkDecoder decoder;
        QCOMPARE(decoder.feed("a\xE2\x82"), QStringLiteral("a"));
        QVERIFY(!decoder.feed("b\xFF"));
        QVERIFY(!decoder.feed("surrogate \xED\xA0\x80"));
        QCOMPARE(decoder.feed("c\xE2\x82\xAC"), QStringLiteral("c€"));
        // The character is incomplete, but what follows it is valid.
        QCOMPARE(decoder.feed("d\xC3"), QStringLiteral("d"));
        QCOMPARE(decoder.feed("\x04\x04>"), QStringLiteral("\x04\x04>"));
    }
};

QTEST_GUILESS_MAIN(tst_Utf8)
#include "tst_Utf8.moc"
