#include "document/IcuColoring.h"
#include "document/PythonColoring.h"
#include "document/PythonSamples.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// One letter for each unit of the text.
QString letters(const std::vector<PythonToken> &tokens)
{
    QString result;
    for (const PythonToken token : tokens)
        result += u".#snbk@fc"[static_cast<int>(token)];
    return result;
}

QString colored(const QString &text)
{
    std::vector<PythonToken> tokens;
    PythonColoring::color(text, tokens);
    return letters(tokens);
}

/// Empty when the scanners and the regular expressions agree; otherwise where they do not.
QString difference(const IcuColoring &reference, const QString &text)
{
    const QString expected = letters(reference.color(text));
    const QString found = colored(text);
    if (found == expected)
        return {};
    const auto at = std::mismatch(found.begin(), found.end(), expected.begin()).first;
    const qsizetype start = std::max<qsizetype>(0, at - found.begin() - 30);
    return u"at %1 in %2: %3 instead of %4"_s.arg(at - found.begin())
        .arg(QDebug::toString(text.mid(start, 60)), found.mid(start, 60), expected.mid(start, 60));
}

} // namespace

class tst_PythonColoring final : public QObject
{
    Q_OBJECT

private slots:
    void colorsSource_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const QString &text, const char *expected) {
            QTest::addRow("%s", qPrintable(QString(text).replace(u'\n', u'|')))
                << text << QString::fromLatin1(expected);
        };
        row(u""_s, "");
        row(u"x = 0x1F # c"_s, "....nnnn.###");
        row(u"print(\"a#b\") # c"_s, "bbbbb.sssss#####");
        row(u"def run(self):"_s, "kkk.fff.......");
        row(u"class Board:"_s, "kkkkk.ccccc.");
        row(u"async def print ( )"_s, "kkkkk.kkk.fffff....");
        row(u"def\n class x"_s, "kkk..fffff.c");
        row(u"class class class def"_s, "kkkkk.ccccc.kkkkk.ccc");
        row(u"@property\n@ def f"_s, "@@@@@@@@@...kkk.f");
        row(u"a@0x1F@@b.if"_s, ".@@@@@.@@.kk");
        row(u"# 'if' 1"_s, "##skks#n");
        row(u"'if 1 @x def g # '#"_s, "skksns@@skkksfssss#");
        row(u"\"\"\"a\n'b\"\"\"c"_s, "ssssssssss.");
        row(u"\"\"\"abc\nd"_s, "ss......");
        row(u"''''''' 'a''"_s, "sssssssss.ss");
        row(u"it's\nit's"_s, ".........");
        row(u"'a\\\nb' 'c\nd'"_s, "ssssss......");
        row(u"'a\\'b' \"\\\\\" '\\"_s, "ssssss.ssss...");
        row(u"1.5e-3 42 x2 1.5e 1.e5"_s, "nnnnnn.nn....n....n...");
        row(u"12abc 1_0 0b1 1e5 1e5x 1.2.3"_s, "..............nnn......nnn.n");
        row(u"a0x1Fg 00x1 0x 0X1"_s, ".nnnn...nnn.......");
        row(u"Falsey False_ None."_s, "..............kkkk.");
        row(u"if\u0301 if\u200B \u0301if\u00A0in\u00ADin"_s, ".........kk......");
        row(u"٣ ².5 𝟘1 é1 def\u2003naïve"_s, "n...n.nnn....kkk.fffff");
    }
    void colorsSource()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(letters(IcuColoring().color(text)), expected);
        QCOMPARE(colored(text), expected);
    }

    void agreesWithRegularExpressionsOnEveryFile()
    {
        const IcuColoring reference;
        const QStringList files = installedPythonFiles(200, 200'000);
        QVERIFY(files.size() > 50);
        for (const QString &text : files)
            QCOMPARE(difference(reference, text), QString());
    }

    void agreesWithRegularExpressionsAfterRandomEdits()
    {
        const IcuColoring reference;
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        for (QString text : installedPythonFiles(80, 8'000)) {
            for (int edit = 0; edit < 20; ++edit) {
                const RandomEdit change(text, random);
                text.replace(change.position, change.removed, change.added);
                QCOMPARE(difference(reference, text), QString());
            }
        }
        for (int i = 0; i < 10'000; ++i)
            QCOMPARE(difference(reference, nastyText(random, 1 + random.bounded(24))), QString());
    }

    // Each of these makes some engine or some scanner go back over the same text again and again,
    // or overrun its stack.
    void takesTimeLinearInTheText_data()
    {
        QTest::addColumn<QString>("piece");
        for (const char *piece : {"\\\"", "\"\"\" ", "''''\"", "1", "1.", "1e", "1e+", "1e1.", "0x",
                                  "def ", "def", " \n", "@", "'\\\n", "x", "\xCC\x81", "1\xCC\x81"})
            QTest::addRow("%s", QByteArray(piece).replace('\n', "|").constData())
                << QString::fromUtf8(piece);
    }
    void takesTimeLinearInTheText()
    {
        QFETCH(QString, piece);
        for (const QString &start : {u"\""_s, u"'"_s, u"def"_s, u"1."_s}) {
            const QString text = start + piece.repeated(1'000'000 / piece.size());
            QElapsedTimer time;
            time.start();
            colored(text);
            QVERIFY2(time.elapsed() < 3000, qPrintable(start));
        }
        // The reference has no limits here, but time.
        const QString text = u"\""_s + piece.repeated(3'000) + u"\" if"_s;
        QCOMPARE(difference(IcuColoring(), text), QString());
    }
};

QTEST_GUILESS_MAIN(tst_PythonColoring)
#include "tst_PythonColoring.moc"
