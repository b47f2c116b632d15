#include "board/DeviceStreamScanner.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

const QByteArray record("\x1E{\"line\": 4, \"vars\": [{\"n\": \"é\", \"v\": \"'ü'\"}]}\x1E");
const QString stop = u"4 é:?='ü'"_s;

/// Converts the symbols of control characters to bytes; "®" is a complete record.
QByteArray wire(QByteArray notation)
{
    return notation.replace("␞", "\x1E").replace("␄", "\x04").replace("®", record);
}

/// The collected results of a stream; each pause as its line and its variables.
struct Outcome
{
    QString text;
    QStringList pauses;
    QString end = {}; // "ended", or "whole" when the reply is complete

    void add(const DeviceStreamScanner::Scan &scan)
    {
        text += scan.text;
        for (const DebugPause &pause : scan.pauses) {
            QString shown = QString::number(pause.line);
            for (const PythonVariable &variable : pause.variables)
                shown += u" %1:%2=%3"_s.arg(variable.name, variable.type, variable.value);
            pauses << shown;
        }
        if (scan.ended && end.isEmpty())
            end = u"ended"_s;
        if (scan.isReplyComplete)
            end = u"whole"_s;
    }

    friend bool operator==(const Outcome &, const Outcome &) = default;
};

[[maybe_unused]] char *toString(const Outcome &outcome)
{
    const QStringList parts{outcome.text, outcome.pauses.join(u"; "_s), outcome.end};
    return QTest::toString(parts.join(u" | "_s));
}

Outcome fed(const QList<QByteArray> &chunks)
{
    DeviceStreamScanner scanner;
    Outcome outcome;
    for (const QByteArray &chunk : chunks)
        outcome.add(scanner.feed(chunk));
    return outcome;
}

QList<QByteArray> split(const QByteArray &bytes, qsizetype size)
{
    QList<QByteArray> chunks;
    for (qsizetype at = 0; at < bytes.size(); at += size)
        chunks << bytes.mid(at, size);
    return chunks;
}

} // namespace

class tst_DeviceStreamScanner final : public QObject
{
    Q_OBJECT

private slots:
    void scansTheSameForEverySplit_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<Outcome>("expected");
        const auto row = [](const char *name, const QByteArray &notation, Outcome expected) {
            QTest::newRow(name) << wire(notation) << expected;
        };
        const QString ended = u"ended"_s;
        const QString whole = u"whole"_s;

        row("text", "plain é€😀 text\r\n", {u"plain é€😀 text\r\n"_s, {}});
        row("a whole reply", "OKhi\r\n␄␄>", {u"OKhi\r\n>"_s, {}, whole});
        row("a traceback", "OK␄in \"<stdin>\" é\r\n␄>", {u"OKin \"<stdin>\" é\r\n>"_s, {}, whole});
        row("a reply without its prompt", "OK␄ x> ␄", {u"OK x> "_s, {}, ended});
        row("a prompt that comes too late", "OK␄␄ >", {u"OK >"_s, {}, ended});
        row("the program's own end mark, then a traceback", "a␄> b␄ <stdin>␄>",
            {u"a> b <stdin>>"_s, {}, whole});
        row("the program's own end mark, still running", "a␄> b␄ <stdin>",
            {u"a> b <stdin>"_s, {}, ended});

        row("a record in text", "a®b", {u"ab"_s, {stop}});
        row("a record and a bare line feed", "®\n\nb", {u"\nb"_s, {stop}});
        row("one line end of two", "®\r\n\r\nb", {u"\r\nb"_s, {stop}});
        row("a carriage return without a line feed", "®\rb\r\n", {u"\rb\r\n"_s, {stop}});
        row("a line end further on", "®b\r\n", {u"b\r\n"_s, {stop}});
        row("records in a row, then the end", "®\r\n®®␄␄>", {u">"_s, {stop, stop, stop}, whole});
        row("the end after half a line end", "®\r␄", {u"\r"_s, {stop}, ended});
        row("a malformed record", "a␞{oops␞\r\nb®", {u"ab"_s, {stop}});
        row("an empty record", "a␞␞b", {u"ab"_s, {}});

        row("a stray mark, then the end", "a␞b␄␄>®", {u"a\u001Eb>"_s, {stop}, whole});
        row("stray marks around the end", "a␞b␄c␞d␄>", {u"a\u001Ebc\u001Ed>"_s, {}, whole});
        row("an ill-formed byte in text", "ab\xFF--++~~␄", {u"ab\uFFFD--++~~"_s, {}, ended});
        row("an ill-formed byte right before the end", "ab\xFF␄␄>", {u"ab\uFFFD>"_s, {}, whole});
        row("half a character before a record", "\xE2®", {u"\uFFFD"_s, {stop}});
    }

    void scansTheSameForEverySplit()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(Outcome, expected);
        for (const qsizetype size : {bytes.size(), qsizetype(1), qsizetype(2), qsizetype(5)})
            QCOMPARE(fed(split(bytes, size)), expected);
    }

    void readsRecords_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QStringList>("pauses");
        const auto row = [](const QByteArray &json, const QString &pause) {
            QTest::addRow("%s", json.constData()) << json << QStringList{pause};
        };
        row(R"({"line": 7})", u"7"_s);
        row(R"({"vars": [{"n":"a","t":"int","v":"1"},{}], "line": -1})", u"-1 a:int=1 ?:?=?"_s);
        row(R"({"line":1,"vars":[{"n":"x","t":"str","v":"\u001e\n"}]})", u"1 x:str=\u001E\n"_s);
        for (const char *bad :
             {"3", "{}", "[1]", R"([{"n":"a","v":1}])", R"([{"n":"a"},{"x":null}])"})
            row(R"({"line":2,"vars":)" + QByteArray(bad) + '}', u"2"_s);
        for (const char *bad :
             {"", "[]", "4", "{}", R"({"line":"4"})", R"({"line":4.0})", R"({"line":null})",
              R"({"line":2147483648})", R"({"line":-9999999999})", R"({"line":4)",
              R"({"line":4} x)", "{\"line\":4,\"vars\":[{\"n\":\"\xFF\"}]}"})
            QTest::addRow("no pause: %s", bad) << QByteArray(bad) << QStringList();
    }

    void readsRecords()
    {
        QFETCH(QByteArray, json);
        QFETCH(QStringList, pauses);
        const Outcome expected{u"ab"_s, pauses + QStringList{stop}};
        QCOMPARE(fed({wire("a␞" + json + "␞\r\nb®")}), expected);
    }

    void holdsBackOnlyIncompleteCharactersAndRecords()
    {
        DeviceStreamScanner scanner;
        QCOMPARE(scanner.feed("before\x1E{\"li").text, u"before"_s);
        QCOMPARE(scanner.feed("ne\": 1}").text, QString());
        QCOMPARE(scanner.feed("\x1Eh\xC3").text, u"h"_s);
        QCOMPARE(scanner.feed("\xA9\xF0\x9F\x98").text, u"é"_s);
        // Ill-formed text is held back for at most four bytes, and only until the end mark.
        QCOMPARE(scanner.feed("\xFF").text, QString());
        QCOMPARE(scanner.feed("abc").text, u"\uFFFD\uFFFD\uFFFD"_s);
        const auto end = scanner.feed("\x04\xE2");
        QCOMPARE(end.text, u"\uFFFDabc"_s);
        QVERIFY(end.ended);
        QCOMPARE(scanner.feed("\x82\xAC").text, u"€"_s);
    }
};

QTEST_GUILESS_MAIN(tst_DeviceStreamScanner)
#include "tst_DeviceStreamScanner.moc"
