#include "document/PythonColoring.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// One letter for each unit of the text.
QString colored(const QString &text)
{
    std::vector<PythonToken> tokens;
    PythonColoring::color(text, tokens);
    QString result;
    for (const PythonToken token : tokens)
        result += u".#snbk@fc"[static_cast<int>(token)];
    return result;
}

} // namespace

class tst_PythonColoring final : public QObject
{
    Q_OBJECT

private slots:
    void colorsSource()
    {
        const QList<std::pair<QString, const char *>> cases{
            {u""_s, ""},
            {u"x = 0x1F # c"_s, "....nnnn.###"},
            {u"print(\"a#b\") # c"_s, "bbbbb.sssss#####"},
            {u"def run(self):"_s, "kkk.fff......."},
            {u"class Board:"_s, "kkkkk.ccccc."},
            {u"async def print ( )"_s, "kkkkk.kkk.fffff...."},
            {u"def\n class x"_s, "kkk..fffff.c"},
            {u"class class class def"_s, "kkkkk.ccccc.kkkkk.ccc"},
            {u"@property\n@ def f"_s, "@@@@@@@@@...kkk.f"},
            {u"a@0x1F@@b.if"_s, ".@@@@@.@@.kk"},
            {u"# 'if' 1"_s, "##skks#n"},
            {u"'if 1 @x def g # '#"_s, "skksns@@skkksfssss#"},
            {u"\"\"\"a\n'b\"\"\"c"_s, "ssssssssss."},
            {u"\"\"\"abc\nd"_s, "ss......"},
            {u"''''''' 'a''"_s, "sssssssss.ss"},
            {u"it's\nit's"_s, "........."},
            {u"'a\\\nb' 'c\nd'"_s, "ssssss......"},
            {u"'a\\'b' \"\\\\\" '\\"_s, "ssssss.ssss..."},
            {u"1.5e-3 42 x2 1.5e 1.e5"_s, "nnnnnn.nn....n....n..."},
            {u"12abc 1_0 0b1 1e5 1e5x 1.2.3"_s, "..............nnn......nnn.n"},
            {u"a0x1Fg 00x1 0x 0X1"_s, ".nnnn...nnn......."},
            {u"Falsey False_ None."_s, "..............kkkk."},
            {u"if\u0301 if\u200B \u0301if\u00A0in\u00ADin"_s, ".........kk......"},
            {u"٣ ².5 𝟘1 é1 def\u2003naïve"_s, "n...n.nnn....kkk.fffff"},
        };
        for (const auto &[text, expected] : cases)
            QVERIFY2(colored(text) == QLatin1String(expected), qPrintable(text + colored(text)));
    }
};

QTEST_GUILESS_MAIN(tst_PythonColoring)
#include "tst_PythonColoring.moc"
