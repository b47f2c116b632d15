#include "debugger/InstrumentedRun.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QString stop(qsizetype line, const QString &thunks)
{
    return u"(_dstep or %1 in _dbrk) and _bp(%1, locals(), {%2}); "_s.arg(line).arg(thunks);
}

QString thunks(const QStringList &names)
{
    QStringList parts;
    for (const QString &name : names)
        parts << u"'%1':lambda:%1"_s.arg(name);
    return parts.join(u',');
}

} // namespace

class tst_InstrumentedRun final : public QObject
{
    Q_OBJECT

private slots:
    // In the expected text, "«a,b»" is the stop of that line with these names.
    void rewritesStatementLines_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *text, const char *expected) {
            QTest::newRow(name) << QString::fromUtf8(text) << QString::fromUtf8(expected);
        };
        row("module level", "x = 1\n\tif x:\n\t  y\n", "«»x = 1\n\tif x:\n\t  «»y\n");
        row("line ends", "é\r\ny\rz\r\n", "«»é\n«»y\rz\n");
        row("a name from the next line on", "def f(a):\n x = 1\n x",
            "def f(a):\n «a»x = 1\n «a,x»x");
        row("all kinds of parameters", "def f(self, a: int = 1, *args, b=(1, 2), *, /, **kw):\n x",
            "def f(self, a: int = 1, *args, b=(1, 2), *, /, **kw):\n «a,args,b,kw»x");
        row("parameters over lines", "def f(a,\n  b = [\n1], c=')'\n):\n x",
            "def f(a,\n  b = [\n1], c=')'\n):\n «a,b,c»x");
        row("comments among parameters hide the next", "def f(a, # b\n c):\n x",
            "def f(a, # b\n c):\n «a»x");
        row("all kinds of binding",
            "def f():\n import a as b\n for c, d in e:\n  with f as g: # h = 1\n   i: int = 1\n"
            "   j += 1\n   k[0], l.m, (n, o), p = q = 1\n   x",
            "def f():\n «»import a as b\n for c, d in e:\n  with f as g: # h = 1\n   «b,c,d,g»i: "
            "int "
            "= 1\n   «b,c,d,g,i»j += 1\n   «b,c,d,g,i,j»k[0], l.m, (n, o), p = q = 1\n"
            "   «b,c,d,g,i,j,p»x");
        row("keywords and private names", "def f(_a):\n s = ' as in, it'\n _b = None = c = 1\n x",
            "def f(_a):\n «»s = ' as in, it'\n «s»_b = None = c = 1\n «s»x");
        row("a class is no function", "class A:\n x = 1\n def f(self, a):\n  y = 1\n z",
            "class A:\n «»x = 1\n def f(self, a):\n  «a»y = 1\n «»z");
        row("names of inner functions count", "def f(a):\n def g(b):\n  c = 1\n  a = 1\n d = 1\n x",
            "def f(a):\n def g(b):\n  «b»c = 1\n  «b,c»a = 1\n «a,c»d = 1\n «a,c,d»x");
        row("headers and continuations stay",
            "if a: b\n(c,\n d)\n@e\n# f\nelse:", "if a: b\n«»(c,\n d)\n@e\n# f\nelse:");
    }

    void rewritesStatementLines()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QSet<int> steppable;
        qsizetype lineNumber = 0;
        QStringList lines = expected.split(u'\n');
        for (QString &line : lines) {
            ++lineNumber;
            const qsizetype open = line.indexOf(u'«');
            if (open < 0)
                continue;
            const qsizetype close = line.indexOf(u'»');
            const QStringList names =
                line.mid(open + 1, close - open - 1).split(u',', Qt::SkipEmptyParts);
            line.replace(open, close - open + 1, stop(lineNumber, thunks(names)));
            steppable.insert(static_cast<int>(lineNumber));
        }
        const InstrumentedRun run(text, {});
        QCOMPARE(run.source, lines.join(u'\n'));
        QCOMPARE(run.steppableLines, steppable);
        QCOMPARE(run.activeLines, QSet<int>());
        QCOMPARE(run.notes, QStringList());
        QCOMPARE(run.originalBytes, text.toUtf8().size());
        QCOMPARE(run.instrumentedBytes, run.source.toUtf8().size());
    }

    void keepsThirtyNamesParametersFirst()
    {
        QString text = u"def f(p, q):\n"_s;
        QStringList names{u"p"_s, u"q"_s};
        for (int i = 0; i < 40; ++i) {
            text += u" v%1 = 0\n"_s.arg(i);
            names << u"v%1"_s.arg(i);
        }
        const InstrumentedRun run(text + u" x"_s, {});
        QCOMPARE(run.source.section(u'\n', -1), u" "_s + stop(42, thunks(names.first(30))) + u'x');
    }

    void resolvesBreakpoints_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QSet<int>>("breakpoints");
        QTest::addColumn<QSet<int>>("active");
        QTest::addColumn<QStringList>("notes"); // "5>7" is moved, "5!reason" ignored
        const auto row = [](const char *name, const QString &text, QSet<int> breakpoints,
                            QSet<int> active, QStringList notes) {
            QTest::newRow(name) << text << breakpoints << active << notes;
        };
        const QString text =
            u"@d\n@e(\n)\ndef f():\n  # c\n\n  if a:\n    while b:\n      x\ny\n"_s;
        row("on a statement", text, {9, 10}, {9, 10}, {});
        row("on anything else", text, {1, 2, 3, 4, 5, 6, 7, 8}, {9},
            u"1>9 2>9 3>9 4>9 5>9 6>9 7>9 8>9"_s.split(u' '));
        row("outside", text, {-1, 0, 11, 12}, {},
            {u"-1!line -1 is outside the file"_s, u"0!line 0 is outside the file"_s,
             u"11!no statement at or after line 11"_s, u"12!line 12 is outside the file"_s});
        row("headers without a body", u"x\nif a:\nif b:\n while c:\n d\nif e:\n"_s, {2, 3, 6}, {},
            {u"2!the block at line 2 has no body to stop in"_s,
             u"3!the block at line 4 has no body to stop in"_s,
             u"6!the block at line 6 has no body to stop in"_s});
        QString nested;
        for (int depth = 0; depth < 100; ++depth)
            nested += QString(depth, u' ') + u"if a:\n"_s;
        row("headers within headers", nested + QString(100, u' ') + u'x', {1, 2}, {101},
            {u"1!could not find a statement to stop on"_s, u"2>101"_s});
    }

    void resolvesBreakpoints()
    {
        QFETCH(QString, text);
        QFETCH(QSet<int>, breakpoints);
        QFETCH(QStringList, notes);
        for (QString &note : notes) {
            note = note.contains(u'>') ? note.replace(u'>', u" moved to line "_s)
                    + u" — a statement can't be placed before a block header."_s
                                       : note.replace(u'!', u" ignored: "_s) + u'.';
            note.prepend(u"Breakpoint on line "_s);
        }
        const InstrumentedRun run(text, breakpoints);
        QTEST(run.activeLines, "active");
        QCOMPARE(run.notes, notes);
    }
};

QTEST_GUILESS_MAIN(tst_InstrumentedRun)
#include "tst_InstrumentedRun.moc"
