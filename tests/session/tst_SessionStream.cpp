#include "session/SessionStream.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

using namespace Korvane;

namespace {

/// A stream and all that came out of it, with "<…>" for a reply.
struct Record
{
    QString feed(QByteArrayView bytes)
    {
        for (const auto &item : stream.feed(bytes)) {
            if (const auto *reply = std::get_if<SessionStream::Reply>(&item))
                shown += u'<' + QString::fromUtf8(reply->body) + u'>';
            else
                shown += std::get<SessionStream::Output>(item).text;
        }
        return shown;
    }

    SessionStream stream;
    QString shown;
};

} // namespace

class tst_SessionStream final : public QObject
{
    Q_OBJECT

private slots:
    void separatesOutputFromRepliesHoweverItIsCut_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char *name, const char *bytes, const char *shown) {
            QTest::newRow(name) << QByteArray(bytes) << QString::fromUtf8(shown);
        };
        row("output without line end", "hi\x04{}\x04", "hi<{}>");
        row("output after the reply", "\x04{}\x04late\n", "<{}>late\n");
        row("replies in a row", "\x04{1}\x04\x04{2}\x04", "<{1}><{2}>");
        row("every length of character", "aé€😀\uFEFFz\x04{é}\x04", "aé€😀\uFEFFz<{é}>");
        row("ill-formed output", "a\xFFz€\xE2\x04{}\x04z", "a\uFFFDz€\uFFFD<{}>z");
        row("printed delimiter", "a\x04z\x04{}\x04", "a<z>{}");
        row("printed pair", "\x04\x04\x04{}\x04", "<><{}>");
        row("unfinished reply", "a\x04{\"vars\":", "a");
    }

    void separatesOutputFromRepliesHoweverItIsCut()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, shown);
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        for (int cut = 0; cut < 200; ++cut) {
            Record record;
            for (QByteArrayView rest = bytes; !rest.isEmpty();) {
                qsizetype length = rest.size(); // whole, byte by byte, then at random
                if (cut > 0)
                    length = cut == 1 ? 1 : random.bounded(int(rest.size())) + 1;
                record.feed(rest.first(length));
                rest = rest.sliced(length);
            }
            QVERIFY2(record.shown == shown,
                     qPrintable(u"seed %1, cut %2: %3"_qs.arg(seed).arg(cut).arg(record.shown)));
            record.stream.discardUnfinishedReply();
            QCOMPARE(record.feed("ok\x04{}\x04"), shown + u"ok<{}>"_qs);
        }
    }

    void showsWhatCanBeDecodedAtOnce_data()
    {
        QTest::addColumn<QByteArrayList>("chunks");
        QTest::addColumn<QStringList>("shown"); // so far, after each chunk
        QTest::newRow("character in three reads")
            << QByteArrayList{"a\xE2", "\x82", "\xAC"} << QStringList{u"a"_qs, u"a"_qs, u"a€"_qs};
        QTest::newRow("ill-formed holds back what follows")
            << QByteArrayList{"ab\xFF", "cdef", "gh€", "\x04"}
            << QStringList{u"ab"_qs, u"ab"_qs, u"ab"_qs, u"ab\uFFFDcdefgh€"_qs};
        QTest::newRow("fault before the last four bytes")
            << QByteArrayList{"ab\xFFhello", "\x04"} << QStringList{QString(), u"ab\uFFFDhello"_qs};
        QTest::newRow("nothing behind an unfinished reply")
            << QByteArrayList{"a\x04{", "}", "\x04z"}
            << QStringList{u"a"_qs, u"a"_qs, u"a<{}>z"_qs};
    }

    void showsWhatCanBeDecodedAtOnce()
    {
        QFETCH(QByteArrayList, chunks);
        QFETCH(QStringList, shown);
        Record record;
        for (qsizetype i = 0; i < chunks.size(); ++i)
            QCOMPARE(record.feed(chunks[i]), shown[i]);
        // A new child has nothing to do with it.
        record.stream.clear();
        QCOMPARE(record.feed("ok"), shown.last() + u"ok"_qs);
    }

    void staysLinearWhenNothingCanBeTaken()
    {
        for (const char *beginning : {"one long line", "held back \xFF 1234", "\x04{"}) {
            constexpr qsizetype chunks = 8192; // 4 KiB each: squared, this would take minutes
            const QByteArray chunk(4096, 'y');
            SessionStream stream;
            QElapsedTimer timer;
            timer.start();
            (void)stream.feed(beginning);
            qsizetype characters = 0;
            for (qsizetype i = 0; i < chunks; ++i) {
                for (const auto &item : stream.feed(chunk))
                    characters += std::get<SessionStream::Output>(item).text.size();
                QVERIFY2(timer.elapsed() < 20'000, "too slow");
            }
            const auto rest = stream.feed("\x04");
            QVERIFY(characters == chunks * chunk.size() || rest.size() == 1);
        }
    }
};

QTEST_GUILESS_MAIN(tst_SessionStream)
#include "tst_SessionStream.moc"
