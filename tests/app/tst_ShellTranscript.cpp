#include "app/ShellTranscript.h"
#include "support/ShellLines.h"

#include <QSignalSpy>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// What the Shell shows after chunks of output.
QString shown(const QStringList &chunks)
{
    ShellTranscript shell;
    for (const QString &chunk : chunks)
        shell.appendOutput(chunk);
    shell.flushOutput();
    return shell.replLines().isEmpty() ? QString() : shell.replLines().constLast().text;
}

} // namespace

class tst_ShellTranscript final : public QObject
{
    Q_OBJECT

private slots:
    void keepsTheEndOfItsText()
    {
        ShellTranscript shell;
        shell.setLimit(100);
        shell.appendInfo(u"0123456789"_s);
        shell.appendReplMessage(u"OK"_s);
        QSignalSpy trimmed(&shell, &ShellTranscript::trimmed);
        for (int i = 0; i < 99; ++i)
            shell.appendOutput(u"a"_s);
        QCOMPARE(trimmed, QList<QVariantList>({{1LL, 1LL}}));
        const REPLLine line = shell.replLines().constFirst();
        QCOMPARE(line.text, u"K"_s + QString(99, u'a'));
        QCOMPARE(line.replMessages, QList<REPLLine::Range>({{0, 1}}));
        shell.setShowsReplMessages(false);
        shell.appendReplMessage(u">"_s);
        shell.appendOutput(u"b"_s);
        QVERIFY(shell.replLines().constLast().text.endsWith(u"ab"_s));
    }

    void cleansOutputForEverySplit()
    {
        const QList<std::pair<QString, QString>> cases{
            {u"\r\r\n\n\r"_s, u"\n\n\n\n"_s},
            {u"\x1b[31mred\x1b[0m"_s, u"red"_s},
            {u"a\r\x1b[K\nb"_s, u"a\nb"_s},
            {u"\x1b\x1b[m[31m"_s, u"\x1b[31m"_s}, // what is left is not filtered again
            // "]" is in the range of two-character sequences, which are tried first.
            {u"\x1b]0;title\x07text"_s, u"0;title\x07text"_s},
            {u"\x1b[31é\x1b[ 1m\x1bs"_s, u"\x1b[31é\x1b[ 1m\x1bs"_s},
            {u"\x1b["_s + QString(62, u'1') + u"mx"_s, u"x"_s}, // the longest that is held back
        };
        for (const auto &[printed, expected] : cases) {
            QCOMPARE(shown({printed}), expected);
            QCOMPARE(shown(printed.split(QString(), Qt::SkipEmptyParts)), expected);
        }
    }

    void limitsWhatItHoldsBack()
    {
        ShellTranscript shell;
        shell.appendOutput(u"a\x1b["_s + QString(62, u'1'));
        QCOMPARE(describe(shell.replLines()), QStringList{u"output: a"_s});
        shell.appendOutput(u"1"_s);
        QCOMPARE(shell.replLines().constLast().text, u"a\x1b["_s + QString(63, u'1'));
        const QString whole = u"\x1b["_s + QString(100'000, u'1') + u'm';
        QCOMPARE(shown({whole}), QString());
    }

    void mergesOutputUntilAnotherLineComes()
    {
        ShellTranscript shell;
        QSignalSpy added(&shell, &ShellTranscript::lineAppended);
        QSignalSpy extended(&shell, &ShellTranscript::outputExtended);
        shell.appendOutput(u"ab"_s);
        const QUuid firstId = shell.replLines().constLast().id;
        shell.appendOutput(u"cd"_s);
        QVERIFY(shell.replLines().constLast().id != firstId);
        shell.appendOutput(u"\x1b[0m"_s);
        shell.appendInfo(u"note"_s);
        shell.appendInfo(u"note"_s);
        shell.appendOutput(u"ef\r"_s);
        QCOMPARE(
            describe(shell.replLines()),
            QStringList({u"output: abcd"_s, u"info: note"_s, u"info: note"_s, u"output: ef"_s}));
        QCOMPARE(added.size(), 4);
        QCOMPARE(added.last().first().toLongLong(), 3);
        QCOMPARE(extended.size(), 1);
        QCOMPARE(extended.first().first().toString(), u"cd"_s);
    }

    void showsHeldBackTextBeforeTheNextLine()
    {
        ShellTranscript shell;
        shell.appendOutput(u"50%\r"_s);
        shell.appendError(u"end"_s);
        shell.appendOutput(u"\na\r\x1b[3"_s); // the rest of a line end shown before
        shell.appendInfo(u"note"_s);
        shell.appendOutput(u"\nm"_s);
        QCOMPARE(describe(shell.replLines()),
                 QStringList({u"output: 50%\n"_s, u"error: end"_s, u"output: a\n\x1b[3"_s,
                              u"info: note"_s, u"output: \nm"_s}));
    }

    void clearsAllButTheStartOfAnEscape()
    {
        ShellTranscript shell;
        QSignalSpy cleared(&shell, &ShellTranscript::cleared);
        shell.appendError(u"old"_s);
        shell.appendOutput(u"text\r\x1b[3"_s);
        shell.clear();
        QCOMPARE(cleared.size(), 1);
        QVERIFY(shell.replLines().isEmpty());
        shell.appendOutput(u"1mnew"_s);
        QCOMPARE(describe(shell.replLines()), QStringList{u"output: new"_s});
    }
};

QTEST_GUILESS_MAIN(tst_ShellTranscript)
#include "tst_ShellTranscript.moc"
