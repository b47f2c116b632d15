#include "app/TracebackLink.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_TracebackLink final : public QObject
{
    Q_OBJECT

private slots:
    void readsTheLinesOfTracebacks_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("link"); // "start length file line"; empty for none
        const auto row = [](const char *text, const char *link) {
            QTest::newRow(text) << QString::fromUtf8(text) << QString::fromUtf8(link);
        };
        row("  File \"/home/a b.py\", line 12, in <module>", "8 22 /home/a b.py 12");
        row("  File \"<stdin>\", line 1", "8 16 <stdin> 1");
        row("File \"main.py\", line 3, in f\r", "6 16 main.py 3");
        row("  |   File \"é\", line 9, in <lambda>", "12 10 é 9");
        row("File \"a\", line 1\", line 20, in x", "6 20 a\", line 1 20");
        row("File \"a\", line 0", "");
        row("File \"a\", line 1x", "");
        row("File \"a\", line 99999999999", "");
        row("File \"\", line 1", "");
        row("x File \"a\", line 1", "");
        row("File \"a\"", "");
        row("", "");
    }

    void readsTheLinesOfTracebacks()
    {
        QFETCH(QString, text);
        const auto link = TracebackLink::find(text);
        const QString found = link
            ? u"%1 %2 %3 %4"_s.arg(link->start).arg(link->length).arg(link->file).arg(link->line)
            : QString();
        QTEST(found, "link");
    }
};

QTEST_GUILESS_MAIN(tst_TracebackLink)
#include "tst_TracebackLink.moc"
