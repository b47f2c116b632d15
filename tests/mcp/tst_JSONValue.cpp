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
    void readsStrings_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *text, const QString &expected) {
            QTest::addRow("%s", text) << QByteArray(text) << expected;
        };
        row(R"("")", {});
        row(R"("plain ä€😀")", u"plain ä€😀"_s);
        row("\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"", u"\"\\/\b\f\n\r\t"_s);
        row(R"("\u0041\u00e4\u20ac\ud83d\ude00\uFFFF")", u"Aä€😀\uFFFF"_s);
        row(R"("a\u0000b")", QString::fromLatin1("a\0b", 3));
        row("\"\xef\xbb\xbfx\"", u"\uFEFFx"_s); // a mark inside is text
        row(R"("\uFEFFx\n")", u"\uFEFFx\n"_s);
        row("\"\\\\u0041\\\\\\\"\"", u"\\u0041\\\""_s);
        row("12", {});
    }
    void readsStrings()
    {
        QFETCH(const QByteArray, text);
        QFETCH(const QString, expected);
        QCOMPARE(JSONValue(" " + text + "\n").string(), expected);
        if (text != "12")
            QCOMPARE(QString::fromStdString(
                         nlohmann::json::parse(text.toStdString()).get<std::string>()),
                     QString::fromUtf8(expected.toUtf8()));
    }

    void readsNumbers_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<double>("expected");
        QTest::newRow("integer") << QByteArray("-12") << -12.0;
        QTest::newRow("fraction") << QByteArray("0.1") << 0.1;
        QTest::newRow("exponent") << QByteArray("25E-1") << 2.5;
        QTest::newRow("too large") << QByteArray("1e400") << HUGE_VAL;
        QTest::newRow("far below zero") << QByteArray("-1e400") << -HUGE_VAL;
        QTest::newRow("too small") << QByteArray("1e-400") << 0.0;
        QTest::newRow("no number") << QByteArray("\"1\"") << 0.0;
    }
    void readsNumbers()
    {
        QFETCH(const QByteArray, text);
        QFETCH(const double, expected);
        QCOMPARE(JSONValue(text).number(), expected);
    }

    void goesThroughItems()
    {
        const QByteArray text =
            " { \"a\" : [1, {\"]}\":2 } ] , \"\\u0062\":\"}\\\\\" ,\"c\": -1.0 ,\"\":{}}  ";
        QStringList names;
        QByteArrayList values;
        for (JSONItems items{JSONValue(text)}; items.next();) {
            names += items.name().string();
            values += items.value().text().toByteArray();
        }
        QCOMPARE(names, (QStringList{u"a"_s, u"b"_s, u"c"_s, {}}));
        QCOMPARE(values, (QByteArrayList{"[1, {\"]}\":2 } ]", "\"}\\\\\"", "-1.0", "{}"}));

        QByteArrayList elements;
        for (JSONItems items{JSONValue("[ true,\n[ ] ,\"a,b\"]")}; items.next();)
            elements += items.value().text().toByteArray();
        QCOMPARE(elements, (QByteArrayList{"true", "[ ]", "\"a,b\""}));

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
        const auto read = nlohmann::json::parse(json.toStdString()).get<std::string>();
        QCOMPARE(QString::fromStdString(read), text);
        QVERIFY(json.startsWith(R"("\"\\/ä)"));
    }
};

QTEST_GUILESS_MAIN(tst_JSONValue)
#include "tst_JSONValue.moc"
