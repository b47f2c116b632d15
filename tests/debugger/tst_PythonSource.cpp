#include "debugger/PythonSource.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_PythonSource final : public QObject
{
    Q_OBJECT

private slots:
    // One letter for each line: b(lank), s(tatement), h(eader), c(ontinuation).
    void tellsTheRolesOfLines_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("roles");
        const auto row = [](const QString &text, const char *roles) {
            const QString name = QString(text).replace(u'\n', u'|').replace(u'\r', u'^');
            QTest::addRow("%s", name.toUtf8().constData()) << text << QString::fromLatin1(roles);
        };
        row(u""_s, "b");
        row(u"x\n"_s, "sb");
        row(u"\r\nx\r\n"_s, "bsb");
        row(u"x\ry = 1\r"_s, "s");
        row(u" \t\n # x\n#"_s, "bbb");
        row(u"if a: b\nelif\nelse\nfor\nwhile\ntry\nexcept\nfinally\nwith\ndef\nclass\nasync"_s,
            "hhhhhhhhhhhh");
        row(u"\tif(a):\n@d\n iffy\nif_\nifé\nif²\nmatch x:\ncase y:\nx = a if b else c"_s,
            "hhsssssss");
        row(u"f(\n# x\n\ndef\n)\nx"_s, "sccccs");
        row(u"a = [(\n{\n}\n)\n]\nx"_s, "sccccs");
        row(u")\n]}\nf(\nx)\ny"_s,
            "sssc"
            "s");
        row(u"'('\n\"[\"\n'\\'('\n'a\"('\nx"_s, "sssss");
        row(u"f('#', # )\nx)\ny"_s, "scs");
        row(u"\"\"\"doc\n if x\n'''\n\\\"\"\"\n\"\"\"\nx"_s, "sccccs");
        row(u"'''a'''\nx"_s, "ss");
        row(u"'''a\\'''\n'''\nx"_s, "scs");
        row(u"'''(\n''' + '''\n''' + (\n)\nx"_s, "scccs");
        row(u"''\n\"\"\n'' ''' \n'''\nx"_s, "ssscs");
        row(u"'open (\nx"_s, "ss");
        row(u"'open \\\nx\ny"_s, "scs");
        row(u"a = \\\n b\\\n\nx # \\\ny"_s, "sccss");
        row(u"a = 1 \\ \nx"_s, "ss");
        row(u"\"\"\"\n\\\n\"\"\"\nx"_s, "sccs");
        row(u"''''\nx"_s, "sc");
        row(u"\u00A0\n\u00A0if x"_s, "ss");
    }

    void tellsTheRolesOfLines()
    {
        QFETCH(QString, text);
        QFETCH(QString, roles);
        const PythonSource source(text);
        QString found;
        for (const PythonSource::Role role : source.roles)
            found += u"bshc"[static_cast<int>(role)];
        QCOMPARE(found, roles);
        QCOMPARE(source.lines.join(u'\n'), text.replace(u"\r\n"_s, u"\n"_s));
        QCOMPARE(source.indents.size(), source.lines.size());
    }

    void countsIndentation()
    {
        const PythonSource source(u"a\n    b\n\t c\n  \n(\n   d"_s);
        QCOMPARE(source.indents, (QList<int>{0, 4, 2, 2, 0, 3}));
    }

    void readsWords_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("identifier");
        QTest::addColumn<bool>("isName");
        QTest::newRow("plain") << u"ab_1"_s << u"ab_1"_s << true;
        QTest::newRow("underscore") << u"_"_s << u"_"_s << true;
        QTest::newRow("keyword") << u"lambda"_s << u"lambda"_s << false;
        QTest::newRow("block keyword") << u"with"_s << u"with"_s << false;
        QTest::newRow("soft keyword") << u"match"_s << u"match"_s << true;
        QTest::newRow("digit first") << u"1a"_s << u"1a"_s << false;
        QTest::newRow("attribute") << u"a.b"_s << u"a"_s << false;
        QTest::newRow("nothing") << u""_s << u""_s << false;
        QTest::newRow("letters of the world") << u"größeΩ日𝒳"_s << u"größeΩ日𝒳"_s << true;
        QTest::newRow("half a character") << u"a"_s + QChar(0xD835) << u"a"_s << false;
    }

    void readsWords()
    {
        QFETCH(QString, text);
        QTEST(PythonSource::leadingIdentifier(text).toString(), "identifier");
        QTEST(PythonSource::isName(text), "isName");
    }

    void cutsComments_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("code");
        QTest::newRow("none") << u"a = '"_s << u"a = '"_s;
        QTest::newRow("at the end") << u"a # b # c"_s << u"a "_s;
        QTest::newRow("in strings") << u"'#' + \"'#\" # c"_s << u"'#' + \"'#\" "_s;
        QTest::newRow("without escapes") << u"'\\'# c'"_s << u"'\\'"_s;
    }

    void cutsComments()
    {
        QFETCH(QString, line);
        QTEST(PythonSource::withoutComment(line).toString(), "code");
    }

    void splitsAtTopLevelCommas_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("pieces");
        QTest::newRow("nothing") << u""_s << QStringList();
        QTest::newRow("empty pieces") << u", a,\t,b ,"_s << QStringList{u" a"_s, u"b "_s};
        QTest::newRow("brackets") << u"f(a, b), [c, {d, e}], g"_s
                                  << QStringList{u"f(a, b)"_s, u" [c, {d, e}]"_s, u" g"_s};
        QTest::newRow("closed too often") << u"a), b(, c"_s << QStringList{u"a), b("_s, u" c"_s};
    }

    void splitsAtTopLevelCommas()
    {
        QFETCH(QString, text);
        QStringList pieces;
        for (const QStringView piece : PythonSource::splitTopLevelCommas(text))
            pieces << piece.toString();
        QTEST(pieces, "pieces");
    }

    void findsAssignments_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<int>("position");
        const auto row = [](const char *statement, int position) {
            QTest::addRow("%s", statement) << QString::fromUtf8(statement) << position;
        };
        row("a = 1", 2);
        row("a += 1", 3);
        row("a == 1", -1);
        row("a != b <= c >= d", -1);
        row("a >>= 1", -1);
        row("a == b = c", 7);
        row("f(a=1)[b=2]{c=3}", -1);
        row("f(a=1) = b", 7);
        row("'a=' + \"'=\" = 1", 12);
        row("'\\'=' = 1", 6);
        row("a)=1", -1);
        row("=", 0);
        row("", -1);
    }

    void findsAssignments()
    {
        QFETCH(QString, statement);
        QTEST(static_cast<int>(PythonSource::findAssignment(statement).value_or(-1)), "position");
    }
};

QTEST_GUILESS_MAIN(tst_PythonSource)
#include "tst_PythonSource.moc"
