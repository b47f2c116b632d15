#include "session/SessionStream.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

using namespace Korvane;

namespace {

/// What came out, with output that was cut into pieces put together: "hi", "<reply>".
class Record final
{
public:
    QStringList feed(SessionStream &stream, QByteArrayView bytes)
    {
        for (const auto &item : stream.feed(bytes)) {
            const auto *output = std::get_if<SessionStream::Output>(&item);
            if (output && m_lastIsOutput)
                m_items.last() += output->text;
            else if (output)
                m_items << output->text;
            else
                m_items << u'<' + QString::fromUtf8(std::get<SessionStream::Reply>(item).body)
                        + u'>';
            m_lastIsOutput = output;
        }
        return m_items;
    }

    QStringList items() const { return m_items; }

private:
    QStringList m_items;
    bool m_lastIsOutput = false;
};

} // namespace

class tst_SessionStream final : public QObject
{
    Q_OBJECT

private slots:
    void separatesOutputFromRepliesHoweverItIsCut_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QStringList>("items");
        const auto row = [](const char *name, const QByteArray &bytes, const QStringList &items) {
            QTest::newRow(name) << bytes << items;
        };
        row("reply alone", "\x04{}\x04", {u"<{}>"_qs});
        row("output without line end", "hi\x04{}\x04", {u"hi"_qs, u"<{}>"_qs});
        row("output after the reply", "\x04{}\x04late\n", {u"<{}>"_qs, u"late\n"_qs});
        row("replies in a row", "\x04{1}\x04\x04{2}\x04", {u"<{1}>"_qs, u"<{2}>"_qs});
        row("every length of character", "aé€😀\uFEFFz\x04{é}\x04",
            {u"aé€😀\uFEFFz"_qs, u"<{é}>"_qs});
        row("ill-formed output", "a\xFFz€\xE2\x04{}\x04z",
            {u"a\uFFFDz€\uFFFD"_qs, u"<{}>"_qs, u"z"_qs});
        row("printed delimiter", "a\x04z\x04{}\x04", {u"a"_qs, u"<z>"_qs, u"{}"_qs});
        row("printed pair", "\x04\x04\x04{}\x04", {u"<>"_qs, u"<{}>"_qs});
        row("unfinished reply", "a\x04{\"vars\":", {u"a"_qs});
    }

    void separatesOutputFromRepliesHoweverItIsCut()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QStringList, items);
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        constexpr int cuts = 200;
        for (int cut = 0; cut < cuts; ++cut) {
            SessionStream stream;
            Record record;
            for (QByteArrayView rest = bytes; !rest.isEmpty();) {
                qsizetype length = rest.size(); // whole, byte by byte, then at random
                if (cut > 0)
                    length = cut == 1 ? 1 : random.bounded(int(rest.size())) + 1;
                record.feed(stream, rest.first(length));
                rest = rest.sliced(length);
            }
            QVERIFY2(record.items() == items,
                     qPrintable(u"seed %1, cut %2: %3"_qs.arg(seed).arg(cut).arg(
                         record.items().join(u'|'))));

            stream.discardUnfinishedReply();
            Record next;
            QCOMPARE(next.feed(stream, "ok\x04{}\x04"), QStringList({u"ok"_qs, u"<{}>"_qs}));
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
            << QStringList{u"a"_qs, u"a"_qs, u"a|<{}>|z"_qs};
    }

    void showsWhatCanBeDecodedAtOnce()
    {
        QFETCH(QByteArrayList, chunks);
        QFETCH(QStringList, shown);
        SessionStream stream;
        Record record;
        for (qsizetype i = 0; i < chunks.size(); ++i)
            QCOMPARE(record.feed(stream, chunks[i]).join(u'|'), shown[i]);
    }

    void startsAnewForANewChild()
    {
        SessionStream stream;
        for (const char *left : {"\x04{\"vars\"", "\xFF held back"}) {
            (void)stream.feed(left);
            stream.clear();
            Record record;
            QCOMPARE(record.feed(stream, "ok"), QStringList{u"ok"_qs});
        }
    }

    void staysLinearWhenNothingCanBeTaken_data()
    {
        QTest::addColumn<QByteArray>("beginning");
        QTest::newRow("one long line") << QByteArray("x");
        QTest::newRow("held back") << QByteArray("\xFF 1234");
        QTest::newRow("unfinished reply") << QByteArray("\x04{");
    }

    void staysLinearWhenNothingCanBeTaken()
    {
        QFETCH(QByteArray, beginning);
        constexpr qsizetype chunks = 4096; // 64 KiB each: squared, this would take minutes
        const QByteArray chunk(65536, 'y');
        SessionStream stream;
        QElapsedTimer timer;
        timer.start();
        qsizetype length = 0;
        const auto count = [&length](const QList<SessionStream::Item> &items) {
            for (const auto &item : items)
                length += std::holds_alternative<SessionStream::Output>(item)
                    ? std::get<SessionStream::Output>(item).text.size()
                    : std::get<SessionStream::Reply>(item).body.size() + 1;
        };
        count(stream.feed(beginning));
        for (qsizetype i = 0; i < chunks; ++i) {
            count(stream.feed(chunk));
            QVERIFY2(timer.elapsed() < 20'000, "too slow");
        }
        count(stream.feed("\x04"));
        QCOMPARE(length, beginning.size() + chunks * chunk.size());
    }
};

QTEST_GUILESS_MAIN(tst_SessionStream)
#include "tst_SessionStream.moc"
