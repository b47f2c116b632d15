#include "mcp/JSONItems.h"
#include "mcp/JSONText.h"

#include <QTest>

#include <nlohmann/json.hpp>

#include <cmath>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_JSONValue final : public QObject
{
    Q_OBJECT

private slots:
    void readsStrings()
    {
        const std::pair<QByteArray, QString> cases[] = {
            {R"("plain ä€😀")", u"plain ä€😀"_s},
            {"\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"", u"\"\\/\b\f\n\r\t"_s},
            {R"("\u0041\u00e4\u20ac\ud83d\ude00\uFFFF")", u"Aä€😀\uFFFF"_s},
            {R"("a\u0000b")", QString::fromLatin1("a\0b", 3)},
            {"\"\xef\xbb\xbfx\"", u"\uFEFFx"_s}, // a mark inside is text
            {R"("\uFEFFx\n")", u"\uFEFFx\n"_s},
            {"\"\\\\u0041\\\\\\\"\"", u"\\u0041\\\""_s},
            {"12", {}},
        };
        for (const auto &[text, expected] : cases)
            QCOMPARE(JSONValue(" " + text + "\n").string(), expected);
    }

    void readsNumbers()
    {
        const std::pair<QByteArray, double> cases[] = {
            {"-12", -12},          {"0.1", 0.1},  {"25E-1", 2.5}, {"1e400", HUGE_VAL},
            {"-1e400", -HUGE_VAL}, {"1e-400", 0}, {"\"1\"", 0}};
        for (const auto &[text, expected] : cases)
            QCOMPARE(JSONValue(text).number(), expected);
    }

    void goesThroughItems()
    {
        const auto told = [](const QByteArray &text) {
            QByteArrayList all;
            for (JSONItems items{JSONValue(text)}; items.next();)
                all << items.name().text().toByteArray() + '=' + items.value().text().toByteArray();
            return all.join('|');
        };
        QCOMPARE(
            told(" { \"a\" : [1, {\"]}\":2 } ] , \"\\u0062\":\"}\\\\\" ,\"c\": -1.0 ,\"\":{}}  "),
            "\"a\"=[1, {\"]}\":2 } ]|\"\\u0062\"=\"}\\\\\"|\"c\"=-1.0|\"\"={}");
        QCOMPARE(told("[ true,\n[ ] ,\"a,b\"]"), "=true|=[ ]|=\"a,b\"");
        for (const char *empty : {"{}", "[ ]", "12", "\"ab\"", "null", ""})
            QVERIFY(!JSONItems(JSONValue(QByteArrayView(empty))).next());
    }

    void writesStringsThatOthersRead()
    {
        QString text = u"\"\\/ä€😀\u2028\x7f"_s;
        for (char16_t c = 0; c < 0x20; ++c)
            text += QChar(c);
        QByteArray json;
        appendJSONString(json, text);
        QVERIFY(json.startsWith("\"\\\"\\\\/ä"));
        const auto read = nlohmann::json::parse(json.toStdString()).get<std::string>();
        QCOMPARE(QString::fromStdString(read), text);
    }
};

QTEST_GUILESS_MAIN(tst_JSONValue)
#include "tst_JSONValue.moc"
