#include "mcp/JSONChecker.h"

#include <QTest>

using namespace Korvane;

namespace {

using Verdict = JSONChecker::Verdict;

Verdict check(const QByteArray &text, qsizetype step = 1'000'000)
{
    JSONChecker checker(text);
    auto verdict = checker.advance(step);
    for (qsizetype steps = 0; verdict == Verdict::Unfinished && steps <= text.size(); ++steps)
        verdict = checker.advance(step);
    return verdict;
}

} // namespace

class tst_JSONChecker final : public QObject
{
    Q_OBJECT

private slots:
    void knowsWhatIsJSON()
    {
        const QByteArray good =
            "{}|[]| [ ] |\t{\r\n}|0|-0|1e5|1E+5|1.50e-400|true|null|"
            "123456789012345678901234567890|[1,2]|{\"\":[{}],\"a\":null}|\"\"|"
            "\"\\u0000\"|\"\\ud83d\\uDE00\"|\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"|\"\x7f\"|"
            "\"ä€😀\"|\"\xef\xbb\xbf\"|{\"a\":1,\"a\":2}|[[[[]]],{\"b\":{\"c\":[false]}}]";
        const QByteArray bad =
            "{|[|]|}|[}|{]|[1,]|[,1]|[1 2]|{\"a\"}|{\"a\":}|{\"a\":1,}|{,}|{a:1}|"
            "{1:1}|{\"a\" 1}|{\"a\":1 \"b\":2}|{} {}|{}x|[]]|01|-|+1|1.|.1|1e|1e+|1.e1|"
            "0x1|Infinity|NaN|tru|True|nul|truex|\"|\"\\|\"\\x\"|\"\\u12\"|\"\\u12g4\"|"
            "\"a\nb\"|\"\x1f\"|\"\\ud83d\"|\"\\ud83dx\"|\"\\ud83d\\n\"|"
            "\"\\ud83d\\ud83d\"|\"\\ude00\"|\"\xff\"|\"\xc3\"|\"\xc0\xaf\"|"
            "\"\xed\xa0\x80\"|\xef\xbb\xbf{}|{}\xef\xbb\xbf|'a'|// a\n1|[\v]|\xc2\xa0[]";
        QByteArrayList texts = good.split('|');
        const qsizetype goodCount = texts.size();
        texts += bad.split('|');
        texts += {QByteArray("[]\0", 3), QByteArray("\"\0\"", 3)};
        for (qsizetype i = 0; i < texts.size(); ++i) {
            const auto verdict = i < goodCount ? Verdict::WellFormed : Verdict::Malformed;
            for (const qsizetype step : {1, 3, 7, 1000}) {
                QVERIFY2(check(texts[i], step) == verdict, texts[i]);
                const QByteArray inOthers = " [" + texts[i] + ",{\"a\":" + texts[i] + "}]\n";
                QVERIFY2(check(inOthers, step) == verdict, inOthers);
            }
        }
        QCOMPARE(check(""), Verdict::Malformed);
        QCOMPARE(check(" "), Verdict::Malformed);
    }

    void needsNoStackForDepth()
    {
        const QByteArray open = QByteArray(R"([{"a":)").repeated(200'000);
        const QByteArray close = QByteArray("}]").repeated(200'000);
        QCOMPARE(check(open + '1' + close), Verdict::WellFormed);
        QCOMPARE(check(open + '1' + close + ']'), Verdict::Malformed);
        QCOMPARE(check(open), Verdict::Malformed);
    }
};

QTEST_GUILESS_MAIN(tst_JSONChecker)
#include "tst_JSONChecker.moc"
