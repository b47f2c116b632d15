#include "debugger/PythonSource.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_PythonSource final : public QObject
{
    Q_OBJECT

private slots:
    // One letter for each line: b(lank), s(tatement), h(eader), c(ontinuation).
    void classifiesLines_data()
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

    void classifiesLines()
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

    // "|" marks the end of the identifier.
    void readsIdentifiersAndNames()
    {
        for (const QString &text : {u"ab_1|"_s, u"_| "_s, u"1a|"_s, u"a|.b"_s, u"|"_s, u"|(a"_s,
                                    u"größeΩ日𝒳²|-"_s, QString(u"a|"_s + QChar(0xD835))})
            QCOMPARE(PythonSource::leadingIdentifier(QString(text).remove(u'|')),
                     text.section(u'|', 0, 0));
        for (const QString &name : {u"ab_1"_s, u"_"_s, u"match"_s, u"größeΩ日𝒳"_s})
            QVERIFY2(PythonSource::isName(name), qPrintable(name));
        for (const QString &text : {u""_s, u"1a"_s, u"²"_s, u"a.b"_s, u"lambda"_s, u"with"_s})
            QVERIFY2(!PythonSource::isName(text), qPrintable(text));
    }
};

QTEST_GUILESS_MAIN(tst_PythonSource)
#include "tst_PythonSource.moc"
