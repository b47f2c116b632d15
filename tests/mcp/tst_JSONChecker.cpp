#include "mcp/JSONChecker.h"

#include <QTest>

using namespace Korvane;

namespace {

using Verdict = JSONChecker::Verdict;

Verdict check(const QByteArray &text, qsizetype step)
{
    JSONChecker checker(text);
    auto verdict = checker.advance(step);
    for (qsizetype steps = 0; verdict == Verdict::Unfinished && steps <= text.size(); ++steps)
        verdict = checker.advance(step);
    return verdict;
}

bool isWellFormed(const QByteArray &text)
{
    const bool whole = check(text, text.size()) == Verdict::WellFormed;
    for (const qsizetype step : {1, 3, 7}) {
        if (whole != (check(text, step) == Verdict::WellFormed))
            qFatal("Another verdict in steps of %d: %s", int(step), text.constData());
    }
    return whole;
}

} // namespace

class tst_JSONChecker final : public QObject
{
    Q_OBJECT

private slots:
    void knowsWhatIsJSON_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("isJSON");
        const QByteArray readable = " \"[]{}:,\\";
        const QByteArray good =
            "{}|[]| [ ] |\t{\r\n}|0|-0|1e5|1E+5|1.50e-400|true|null|"
            "123456789012345678901234567890|[1,2]|{\"\":[{}],\"a\":null}|\"\"|"
            "\"\\u0000\"|\"\\ud83d\\uDE00\"|\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"|\"\x7f\"|"
            "\"ä€😀\"|\"\xef\xbb\xbf\"|{\"a\":1,\"a\":2}|[[[[]]],{\"b\":{\"c\":[false]}}]";
        for (const QByteArray &text : good.split('|'))
            QTest::newRow(text.toPercentEncoding(readable)) << text << true;
        const QByteArray bad =
            "| |{|[|]|}|[}|{]|[1,]|[,1]|[1 2]|{\"a\"}|{\"a\":}|{\"a\":1,}|{,}|{a:1}|"
            "{1:1}|{\"a\" 1}|{\"a\":1 \"b\":2}|{} {}|{}x|[]]|01|-|+1|1.|.1|1e|1e+|1.e1|"
            "0x1|Infinity|NaN|tru|True|nul|truex|\"|\"\\|\"\\x\"|\"\\u12\"|\"\\u12g4\"|"
            "\"a\nb\"|\"\x1f\"|\"\\ud83d\"|\"\\ud83dx\"|\"\\ud83d\\n\"|"
            "\"\\ud83d\\ud83d\"|\"\\ude00\"|\"\xff\"|\"\xc3\"|\"\xc0\xaf\"|"
            "\"\xed\xa0\x80\"|\xef\xbb\xbf{}|{}\xef\xbb\xbf|'a'|// a\n1|[\v]|\xc2\xa0[]";
        for (const QByteArray &text : bad.split('|'))
            QTest::newRow("not " + text.toPercentEncoding(readable)) << text << false;
        QTest::newRow("a null byte") << QByteArray("[]\0", 3) << false;
        QTest::newRow("a null byte in a string") << QByteArray("\"\0\"", 3) << false;
    }
    void knowsWhatIsJSON()
    {
        QFETCH(const QByteArray, text);
        QFETCH(const bool, isJSON);
        QCOMPARE(isWellFormed(text), isJSON);
        QCOMPARE(isWellFormed(" [" + text + ",{\"a\":" + text + "}]\n"),
                 isJSON && text != "" && text != " ");
    }

    void needsNoStackForDepth()
    {
        constexpr qsizetype depth = 200'000;
        const QByteArray open = QByteArray(R"([{"a":)").repeated(depth);
        const QByteArray close = QByteArray("}]").repeated(depth);
        QCOMPARE(check(open + '1' + close, 1'000'000), Verdict::WellFormed);
        QCOMPARE(check(open + '1' + close + ']', 1'000'000), Verdict::Malformed);
        QCOMPARE(check(open, 1'000'000), Verdict::Malformed);
    }
};

QTEST_GUILESS_MAIN(tst_JSONChecker)
#include "tst_JSONChecker.moc"
