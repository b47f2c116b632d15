#include "mcp/HTTPRequestParser.h"

#include <QTest>

using namespace Korvane;

namespace {

/// All whole requests, one a line, so that a difference can be read.
QByteArray cut(HTTPRequestParser &parser)
{
    QByteArray text;
    while (const auto request = parser.next()) {
        text += request->method + ' ' + request->path;
        for (const auto &[name, value] : request->headers)
            text += " [" + name + '=' + value + ']';
        text += " (" + request->body + ")\n";
    }
    return text;
}

/// Feeds pieces of \p size bytes, cutting after each.
QByteArray cutInPieces(const QByteArray &bytes, qsizetype size)
{
    HTTPRequestParser parser;
    QByteArray text;
    for (qsizetype at = 0; at < bytes.size();) {
        const auto piece = QByteArrayView(bytes).sliced(at, std::min(size, bytes.size() - at));
        parser.append(piece);
        text += cut(parser);
        at += piece.size();
    }
    return parser.isRefusing() ? text + "refused" : text;
}

} // namespace

class tst_HTTPRequestParser final : public QObject
{
    Q_OBJECT

private slots:
    void parsesTheSameForEverySplit()
    {
        QList<std::pair<QByteArray, QByteArray>> cases{
            {"GET /mcp?a=%20 HTTP/1.1\r\nHost: x\r\n\r\n", "GET /mcp?a=%20 [host=x] ()\n"},
            // A body that looks like an end.
            {"P / x\r\ncontent-length:8\r\n\r\n\r\n\r\n\r\n\r\n",
             "P / [content-length=8] (\r\n\r\n\r\n\r\n)\n"},
            {"A / B\r\n \tContent-Length\t : \t +2 \t\r\n\r\nok", "A / [content-length=+2] (ok)\n"},
            {"A / B\r\nAUTHORIZATION: 1\r\nauthorization: 2\r\nX: Y\r\nÄÖ: Ü\r\n\r\n",
             "A / [authorization=2] [x=Y] [äö=Ü] ()\n"},
            {"A / B\r\nnothing\r\n: v\r\nb: c: d\r\n\r\n", "A / [=v] [b=c: d] ()\n"},
            {"  A   /b   HTTP/1.1 and more\r\n\r\nA /b\r\n\r\n", "A /b ()\nA /b ()\n"},
            {"A / B\r\nx: 1\ny: 2\rz\r\n\r\n", "A / [x=1\ny: 2\rz] ()\n"},
            // Several, and an unfinished one.
            {"A / 1\r\nContent-Length: 1\r\n\r\nxB / 1\r\n\r\nC / 1\r\nContent-Length: "
             "5\r\n\r\n123",
             "A / [content-length=1] (x)\nB / ()\n"},
        };
        const QByteArray length = "A / B\r\nContent-Length: ";
        for (const QByteArray value : {"two", "2b", "", "+-2", "-0"})
            cases.emplace_back(length + value + "\r\n\r\nC / e\r\n\r\n",
                               "A / [content-length=" + value + "] ()\nC / ()\n");
        for (const QByteArray value :
             {"-1", "-99999999999999999999", "99999999999999999999", "67108865"})
            cases.emplace_back("A / 1\r\n\r\n" + length + value + "\r\n\r\nB / 1",
                               "A / ()\nrefused");
        const QByteArray longHead = "GET /" + QByteArray(HTTPRequestParser::maxHeadBytes - 5, 'a');
        cases.emplace_back(longHead + "\r\n\r\nB / 1\r\n\r\n", longHead + " ()\nB / ()\n");
        cases.emplace_back(longHead + "a\r\n\r\nB / 1\r\n\r\n", "refused");
        cases.emplace_back(longHead + "aaaa", "refused");
        for (const auto &[bytes, requests] : cases) {
            for (const qsizetype size : {bytes.size(), qsizetype(1), qsizetype(7)})
                QCOMPARE(cutInPieces(bytes, size), requests);
        }
    }

    void dropsEverythingAfterAnInvalidHeadAndRecovers()
    {
        for (const QByteArray bad : {"GET", "  GET  \r\nHost: x", "\r\nGET / HTTP/1.1", "",
                                     "G / 1\r\nx: \xff", "G /\xc3"}) {
            HTTPRequestParser parser;
            parser.append("A / 1\r\n\r\n" + bad + "\r\n\r\nB / 1\r\n\r\n");
            QVERIFY2(cut(parser) == "A / ()\n", bad);
            parser.append("C / 1\r\n\r\n");
            QVERIFY2(cut(parser) == "C / ()\n", bad);
        }
    }

    void dropsBodiesOfUnauthorizedRequests()
    {
        QByteArray asked;
        HTTPRequestParser parser([&](const HTTPRequest &head) {
            asked += head.path;
            return head.path == "/keep";
        });
        parser.append("A /drop 1\r\nContent-Length: 9\r\n\r\n12345");
        QCOMPARE(cut(parser), QByteArray());
        parser.append("6789B /keep 1\r\nContent-Length: 2\r\n\r\nokC /none 1\r\n\r\n");
        QCOMPARE(cut(parser), "A /drop ()\nB /keep [content-length=2] (ok)\nC /none ()\n");
        QCOMPARE(asked, "/drop/keep/none");
    }
};

QTEST_GUILESS_MAIN(tst_HTTPRequestParser)
#include "tst_HTTPRequestParser.moc"
