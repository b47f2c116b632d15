#include "mcp/HTTPRequestParser.h"

#include <QRandomGenerator>
#include <QTest>

#include <ctime>

using namespace Korvane;

namespace {

/// One line for each request, so that a difference can be read.
QByteArray told(const HTTPRequest &request)
{
    QByteArray text = request.method + ' ' + request.path;
    for (const auto &[name, value] : request.headers)
        text += " [" + name + '=' + value + ']';
    return text + " (" + request.body + ")\n";
}

QByteArray cut(HTTPRequestParser &parser)
{
    QByteArray text;
    for (;;) {
        const auto request = parser.next();
        if (!request)
            return text;
        text += told(*request);
    }
}

/// Feeds in pieces of \p sizes (the last for all others), cutting after each.
template <typename Size> QByteArray cutInPieces(const QByteArray &bytes, Size size)
{
    HTTPRequestParser parser;
    QByteArray text;
    for (qsizetype at = 0; at < bytes.size();) {
        const auto piece = bytes.mid(at, size());
        parser.append(piece);
        text += cut(parser);
        at += piece.size();
    }
    return parser.isRefusing() ? text + "refused" : text;
}

double threadSeconds()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

} // namespace

class tst_HTTPRequestParser final : public QObject
{
    Q_OBJECT

private slots:
    void cutsTheSameHoweverItIsSplit_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("requests");
        const auto row = [](const char *name, const QByteArray &bytes, const QByteArray &requests) {
            QTest::newRow(name) << bytes << requests;
        };
        const QByteArray longHead = "GET /" + QByteArray(HTTPRequestParser::maxHeadBytes - 5, 'a');

        row("no body", "GET /mcp?a=%20 HTTP/1.1\r\nHost: x\r\n\r\n",
            "GET /mcp?a=%20 [host=x] ()\n");
        row("a body", "POST /mcp HTTP/1.1\r\nContent-Length: 3\r\n\r\na\r\n",
            "POST /mcp [content-length=3] (a\r\n)\n");
        row("a body that looks like an end", "P / x\r\ncontent-length:8\r\n\r\n\r\n\r\n\r\n\r\n",
            "P / [content-length=8] (\r\n\r\n\r\n\r\n)\n");
        row("without a length", "POST / HTTP/1.1\r\n\r\nGET /b c\r\n\r\n",
            "POST / ()\nGET /b ()\n");
        row("blanks and tabs around a value", "A / B\r\n \tContent-Length\t : \t 2 \t\r\n\r\nok",
            "A / [content-length=2] (ok)\n");
        row("a length with a plus", "A / B\r\nContent-Length: +2\r\n\r\nok",
            "A / [content-length=+2] (ok)\n");
        row("a length of letters", "A / B\r\nContent-Length: two\r\n\r\nC /d e\r\n\r\n",
            "A / [content-length=two] ()\nC /d ()\n");
        row("a length with a unit", "A / B\r\nContent-Length: 2b\r\n\r\nC / e\r\n\r\n",
            "A / [content-length=2b] ()\nC / ()\n");
        row("an empty length", "A / B\r\nContent-Length:\r\n\r\nC / e\r\n\r\n",
            "A / [content-length=] ()\nC / ()\n");
        row("a length of two signs", "A / B\r\nContent-Length: +-2\r\n\r\nC / e\r\n\r\n",
            "A / [content-length=+-2] ()\nC / ()\n");
        row("minus nothing", "A / B\r\nContent-Length: -0\r\n\r\nC / e\r\n\r\n",
            "A / [content-length=-0] ()\nC / ()\n");
        row("names in different cases",
            "A / B\r\nAUTHORIZATION: 1\r\nauthorization: 2\r\nX: Y\r\n\r\n",
            "A / [authorization=2] [x=Y] ()\n");
        row("names beyond ASCII", "A / B\r\nÄÖ: Ü\r\n\r\n", "A / [äö=Ü] ()\n");
        row("lines without a colon", "A / B\r\nnothing\r\n: v\r\nb: c: d\r\n\r\n",
            "A / [=v] [b=c: d] ()\n");
        row("many blanks", "  A   /b   HTTP/1.1 and more\r\n\r\n", "A /b ()\n");
        row("two words will do", "A /b\r\n\r\n", "A /b ()\n");
        row("single line ends are no ends", "A / B\r\nx: 1\ny: 2\rz\r\n\r\n",
            "A / [x=1\ny: 2\rz] ()\n");
        row("several at once", "A / 1\r\nContent-Length: 1\r\n\r\nxB / 1\r\n\r\nC / 1\r\n\r\n",
            "A / [content-length=1] (x)\nB / ()\nC / ()\n");
        row("an unfinished one behind a good one",
            "A / 1\r\n\r\nB / 1\r\nContent-Length: 5\r\n\r\n1234", "A / ()\n");
        row("the longest head", longHead + "\r\n\r\nB / 1\r\n\r\n", longHead + " ()\nB / ()\n");

        row("a negative length", "A / 1\r\n\r\nA / B\r\nContent-Length: -1\r\n\r\nB / 1\r\n\r\n",
            "A / ()\nrefused");
        row("a length far below", "A / B\r\nContent-Length: -99999999999999999999\r\n\r\n",
            "refused");
        row("a length far beyond", "A / B\r\nContent-Length: 99999999999999999999\r\n\r\n",
            "refused");
        row("a body one byte too long", "A / B\r\nContent-Length: 67108865\r\n\r\n", "refused");
        row("a head one byte too long", longHead + "a\r\n\r\nB / 1\r\n\r\n", "refused");
        row("a head that never ends", QByteArray(HTTPRequestParser::maxHeadBytes + 4, 'a'),
            "refused");
    }
    void cutsTheSameHoweverItIsSplit()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QByteArray, requests);

        QCOMPARE(cutInPieces(bytes, [&] { return bytes.size(); }), requests);
        QCOMPARE(cutInPieces(bytes, [] { return qsizetype(1); }), requests);
        const auto seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        for (int round = 0; round < 20; ++round) {
            const auto size = [&] { return qsizetype(1) + random.bounded(1 + random.bounded(60)); };
            const QByteArray result = cutInPieces(bytes, size);
            QVERIFY2(result == requests, "with seed " + QByteArray::number(seed) + ": " + result);
        }
    }

    void dropsEverythingBehindABadHeadAndRecovers_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("one word") << QByteArray("GET\r\n\r\n");
        QTest::newRow("one word and blanks") << QByteArray("  GET  \r\nHost: x\r\n\r\n");
        QTest::newRow("an empty line in front") << QByteArray("\r\nGET / HTTP/1.1\r\n\r\n");
        QTest::newRow("nothing") << QByteArray("\r\n\r\n");
        QTest::newRow("not UTF-8") << QByteArray("GET / HTTP/1.1\r\nx: \xff\r\n\r\n");
        QTest::newRow("half a character") << QByteArray("GET /\xc3\r\n\r\n");
    }
    void dropsEverythingBehindABadHeadAndRecovers()
    {
        QFETCH(const QByteArray, bytes);
        HTTPRequestParser parser;
        parser.append("A / 1\r\n\r\n" + bytes + "B / 1\r\n\r\n");
        QCOMPARE(cut(parser), "A / ()\n");
        parser.append("C / 1\r\n\r\n");
        QCOMPARE(cut(parser), "C / ()\n");
        QVERIFY(!parser.isRefusing());
    }

    void passesOverBodiesThatNobodyWants()
    {
        QByteArray asked;
        HTTPRequestParser parser([&](const HTTPRequest &head) {
            asked += head.path;
            return head.path == "/keep";
        });
        parser.append("A /drop 1\r\nContent-Length: 9\r\n\r\n12345");
        QCOMPARE(cut(parser), QByteArray());
        parser.append("6789B /keep 1\r\nContent-Length: 2\r\n\r\nokC /none 1\r\n\r\n");
        QCOMPARE(cut(parser),
                 "A /drop [content-length=9] ()\nB /keep [content-length=2] (ok)\nC /none ()\n");
        QCOMPARE(asked, "/drop/keep");
    }

    void takesTimeInProportionToTheBytes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<qsizetype>("pieceBytes");
        QTest::addColumn<int>("requests");
        const QByteArray body(32'000'000, 'b');
        QTest::newRow("a body in many pieces")
            << "A / 1\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body
            << qsizetype(4096) << 1;
        QTest::newRow("a head byte by byte") << "A / " + QByteArray(60000, 'x') + "\r\n\r\n"
                                             << qsizetype(1) << 1;
        QTest::newRow("many at once")
            << QByteArray("A / 1\r\n\r\n").repeated(200000) << qsizetype(4 * 1024 * 1024) << 200000;
    }
    void takesTimeInProportionToTheBytes()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const qsizetype, pieceBytes);
        QFETCH(const int, requests);
        HTTPRequestParser parser;
        int count = 0;
        const double start = threadSeconds();
        for (qsizetype at = 0; at < bytes.size(); at += pieceBytes) {
            parser.append(
                QByteArrayView(bytes).sliced(at).first(std::min(pieceBytes, bytes.size() - at)));
            while (parser.next())
                ++count;
        }
        // A tenth of that will do, while a cost that grows with the square takes tens of seconds.
        QCOMPARE_LT(threadSeconds() - start, 3.0);
        QCOMPARE(count, requests);
    }
};

QTEST_GUILESS_MAIN(tst_HTTPRequestParser)
#include "tst_HTTPRequestParser.moc"
