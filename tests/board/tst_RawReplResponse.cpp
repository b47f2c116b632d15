#include "board/RawPaste.h"
#include "board/RawReplResponse.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_RawReplResponse final : public QObject
{
    Q_OBJECT

private slots:
    void splitsReplies_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("complete");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("error");
        const auto row = [](const char *name, const char16_t *text, bool complete,
                            const char16_t *output, const char16_t *error) {
            QTest::newRow(name) << QString::fromUtf16(text) << complete
                                << QString::fromUtf16(output) << QString::fromUtf16(error);
        };
        row("prompt is missing", u"OKhello\4\4", false, u"hello", u"");
        row("prompts before the end only", u"> OK>\4>\4", false, u">", u">");
        row("only the first OK is cut", u"OKOK\r\nOK\4\4>", true, u"OK\nOK", u"");
        row("no OK", u"hello\4\4>", true, u"hello", u"");
        row("rest of the banner comes first", u"; CTRL-B to exit\r\n>OKa\4\4>", true, u"a", u"");
        row("every kind of line end, blanks kept", u"OK \ra\r\r\nb\n\r \4\r\4>", true,
            u" \na\n\nb\n\n ", u"\n");
        row("more after the prompt", u"OKa\4b\4>\r\n\4more", true, u"a", u"b");
    }

    void splitsReplies()
    {
        QFETCH(QString, text);
        QFETCH(bool, complete);
        QCOMPARE(RawReplResponse::isRawResponseComplete(text), complete);
        const DeviceExecution execution = RawReplResponse::parseRawResponse(text);
        QTEST(execution.stdout, "output");
        QTEST(execution.stderr, "error");

        for (const qsizetype length : {1, 2, 5}) {
            RawReplResponse reply;
            bool wasComplete = false;
            for (qsizetype from = 0; from < text.size(); from += length) {
                QVERIFY2(!wasComplete || text.endsWith(u"more"), "complete before its end");
                reply.feed(QStringView(text).mid(from, length));
                wasComplete = reply.isComplete();
            }
            QCOMPARE(reply.isComplete(), complete);
            QVERIFY(reply.execution() == execution);
        }
    }

    void discardsAReplyThatIsTooLong()
    {
        RawReplResponse reply(10);
        reply.feed(u"OK12345678");
        QCOMPARE(reply.execution().stdout, u"12345678"_s);
        reply.feed(u"\4");
        reply.feed(u"\4>");
        QVERIFY(!reply.isComplete());
        QVERIFY(reply.execution().stdout.isEmpty());
    }

    void pastesAsMuchAsTheBoardAccepts_data()
    {
        QTest::addColumn<QByteArray>("answer"); // to the request
        QTest::addColumn<int>("endsAfter");     // the board ends the reading there
        QTest::addColumn<QByteArray>("written");
        QTest::addColumn<RawPaste::State>("state");
        const QByteArray window("REPL>R\x01\x03\x00\x01", 10);
        QTest::newRow("whole") << window << 99 << "0123456789\x04"_ba << RawPaste::State::Ended;
        QTest::newRow("ended by the board")
            << window << 3 << "012345\x03"_ba << RawPaste::State::Ended;
        QTest::newRow("refused") << "R\0>"_ba << 99 << ""_ba << RawPaste::State::Refused;
        QTest::newRow("not known")
            << "\r\nraw REPL; CTRL-B to exit\r\n>"_ba << 99 << ""_ba << RawPaste::State::Asking;
    }
    void pastesAsMuchAsTheBoardAccepts()
    {
        QFETCH(QByteArray, answer);
        QFETCH(int, endsAfter);
        RawPaste paste("0123456789"_ba);
        QByteArray written;
        QByteArray output;
        qsizetype read = 0;
        for (QByteArray sent = answer; !sent.isEmpty();) { // byte by byte
            const RawPaste::Step step = paste.feed(sent.first(1));
            sent.remove(0, 1);
            written += step.write;
            output += step.output;
            for (; read < written.size() && read < endsAfter; ++read) {
                if (written[read] == '\x04')
                    sent += "\x04hi\x04\x04>";
                else if (read % 3 == 2)
                    sent += read + 1 == endsAfter ? "\x04hi\x04\x04>" : "\x01";
            }
        }
        QTEST(written, "written");
        QTEST(paste.state(), "state");
        QCOMPARE(output, paste.state() == RawPaste::State::Ended ? "hi\x04\x04>"_ba : ""_ba);
    }
};

QTEST_GUILESS_MAIN(tst_RawReplResponse)
#include "tst_RawReplResponse.moc"
