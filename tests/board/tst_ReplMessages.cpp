#include "board/ReplMessages.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_ReplMessages final : public QObject
{
    Q_OBJECT

private slots:
    void marksMessagesOfTheRepl_data()
    {
        QTest::addColumn<bool>("isReply");
        QTest::addColumn<QString>("received"); // "|" for an end mark
        QTest::addColumn<QString>("shown");    // messages in "[]"
        const auto row = [](const char *name, bool isReply, const char *received,
                            const char *shown) {
            QTest::newRow(name) << isReply << QString::fromUtf8(received)
                                << QString::fromUtf8(shown);
        };
        row("a reply", true, "OKOK 1\r\n||>", "[OK]OK 1\r\n[>]");
        row("a traceback", true, "OK|> no\r\n|>>> ", "[OK]> no\r\n[>]>> ");
        row("the end of the prompt first", true, "t\r\n>OK 1||>", "[t\r\n>OK] 1[>]");
        row("no acknowledgment", true, "Oh||>", "[O]h[>]");
        row("a banner", false, "\r\nMicroPython v1 on x; y\r\nType \"help()\".\r\n>>> 1>>> ",
            "[\r\nMicroPython v1 on x; y\r\nType \"help()\".\r\n>>> ]1>>> ");
        row("no banner", false, "\r\nMore\r\n>>> ", "[\r\nM]ore\r\n>>> ");
        row("a restart", false,
            "^\r\n>>> \r\nMPY: soft reboot\r\nMine\r\n>\r\nMicroPython v1 on x; y\r\n"
            "Type \"help()\" for more information.\r\n>>> 1\r\n",
            "[\r\n>>> \r\nMPY: soft reboot\r\n]Mine\r\n>\r\n[MicroPython v1 on x; y\r\n"
            "Type \"help()\" for more information.\r\n>>> ]1\r\n");
    }

    void marksMessagesOfTheRepl()
    {
        QFETCH(bool, isReply);
        QFETCH(QString, received);
        QFETCH(QString, shown);
        const bool isRestart = received.startsWith(u'^');
        received.remove(u'^');
        for (const qsizetype size : {1, 3, 1000}) {
            ReplMessages messages;
            isReply ? messages.expectReply() : messages.expectBanner();
            if (isRestart)
                messages.expectRestart();
            QString result;
            for (qsizetype at = 0; at < received.size(); at += size) {
                QString chunk = received.mid(at, size);
                QList<qsizetype> marks;
                for (qsizetype mark = chunk.indexOf(u'|'); mark >= 0; mark = chunk.indexOf(u'|')) {
                    marks << mark;
                    chunk.remove(mark, 1);
                }
                for (const ReplMessages::Piece &piece : messages.feed(chunk, marks))
                    result += piece.isMessage ? u'[' + piece.text + u']' : piece.text;
            }
            QCOMPARE(result.replace(u"]["_s, QString()), shown);
        }
    }
};

QTEST_GUILESS_MAIN(tst_ReplMessages)
#include "tst_ReplMessages.moc"
