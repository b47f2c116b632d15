#include "device/RawReplReply.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_RawReplReply final : public QObject
{
    Q_OBJECT

private slots:
    void splitsReplies_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("complete");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("error");

        const auto row = [](const char *name, const QString &text, bool complete,
                            const QString &output = {}, const QString &error = {}) {
            QTest::newRow(name) << text << complete << output << error;
        };
        row("nothing", u""_s, false);
        row("output", u"OKhello\r\n\4\4>"_s, true, u"hello\n"_s);
        row("nothing printed", u"OK\4\4>"_s, true);
        row("traceback", u"OK1\r\n\4Traceback\r\n  line 1\r\nNameError: x\r\n\4>"_s, true, u"1\n"_s,
            u"Traceback\n  line 1\nNameError: x\n"_s);
        row("prompt is missing", u"OKhello\4\4"_s, false, u"hello"_s);
        row("second end mark is missing", u"OKhello\4boom>"_s, false, u"hello"_s, u"boom>"_s);
        row("prompts before the end only", u"> OK>\4>\4"_s, false, u">"_s, u">"_s);
        row("only the first OK is cut", u"OKOK\r\nOK\4\4>"_s, true, u"OK\nOK"_s);
        row("no OK", u"hello\4\4>"_s, true, u"hello"_s);
        row("rest of the banner comes first", u"; CTRL-B to exit\r\n>OKa\4\4>"_s, true, u"a"_s);
        row("every kind of line end, blanks kept", u"OK \ra\r\r\nb\n\r \4\r\4>"_s, true,
            u" \na\n\nb\n\n "_s, u"\n"_s);
        row("more behind the prompt", u"OKa\4b\4>\r\n\4more"_s, true, u"a"_s, u"b"_s);
        row("beyond ASCII", u"OKÄ€😀\4\4>"_s, true, u"Ä€😀"_s);
    }

    void splitsReplies()
    {
        QFETCH(QString, text);
        QFETCH(bool, complete);
        QFETCH(QString, output);
        QFETCH(QString, error);

        QCOMPARE(RawReplReply::isRawResponseComplete(text), complete);
        const DeviceExecution execution = RawReplReply::parseRawResponse(text);
        QCOMPARE(execution.stdout, output);
        QCOMPARE(execution.stderr, error);

        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        for (int round = 0; round < 50; ++round) {
            RawReplReply reply;
            bool wasComplete = false;
            for (qsizetype from = 0, length = 0; from < text.size(); from += length) {
                QVERIFY2(!wasComplete || text.endsWith(u"more"), "complete before its end");
                length = round == 0 ? 1 : 1 + random.bounded(5);
                reply.feed(QStringView(text).mid(from, length));
                wasComplete = reply.isComplete();
            }
            QVERIFY2(reply.isComplete() == complete, qPrintable(QString::number(seed)));
            QVERIFY2(reply.execution() == execution, qPrintable(QString::number(seed)));
        }
    }

    void letsGoOfAReplyThatIsTooLong()
    {
        RawReplReply reply(10);
        reply.feed(u"OK12345678");
        QCOMPARE(reply.execution().stdout, u"12345678"_s);
        reply.feed(u"\4");
        reply.feed(u"\4>");
        QVERIFY(!reply.isComplete());
        QVERIFY(reply.execution().stdout.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_RawReplReply)
#include "tst_RawReplReply.moc"
