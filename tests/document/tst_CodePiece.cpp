#include "document/CodePiece.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_CodePiece final : public QObject
{
    Q_OBJECT

private slots:
    void findsWhatToRun_data()
    {
        QTest::addColumn<QString>("text"); // "|" for each end of the selection
        QTest::addColumn<QString>("code");
        QTest::addColumn<int>("firstLine");
        QTest::addColumn<int>("nextLine");
        const auto row = [](const char *name, const char *text, const char *code, int firstLine,
                            int nextLine) {
            QTest::newRow(name) << QString::fromUtf8(text) << QString::fromUtf8(code) << firstLine
                                << nextLine;
        };
        row("a line", "a\n  b| = 1\nc", "b = 1", 2, 3);
        row("a block", "if |x:\n  a\n\n    b\n\nc", "if x:\n  a\n\n    b", 1, 5);
        row("an empty line", "a\n|\nb", "", 2, 3);
        row("a selection", "a\n  b|b\n\n    c\n|d", "bb\n\n  c", 2, 5);
        row("a cell", "0\n# %% x\na\n|\nb\n#%%\nc", "# %% x\na\n\nb", 2, 6);
        row("the first cell", "0|\n# %%\na", "0", 1, 2);
        row("the last line", "a\nb|", "b", 2, 3);
    }

    void findsWhatToRun()
    {
        QFETCH(QString, text);
        const qsizetype start = text.indexOf(u'|');
        text.remove(start, 1);
        const qsizetype end = text.indexOf(u'|');
        text.remove(u'|');
        const CodePiece piece = CodePiece::at(text, start, end < 0 ? start : end);
        QTEST(piece.code, "code");
        QTEST(piece.firstLine, "firstLine");
        QTEST(piece.nextLine, "nextLine");
    }
};

QTEST_GUILESS_MAIN(tst_CodePiece)
#include "tst_CodePiece.moc"
