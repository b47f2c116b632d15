#include "session/SessionStream.h"

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
    void separatesOutputFromRepliesHoweverItIsCut()
    {
        const QList<std::pair<QByteArray, QString>> cases{
            {"hi\x04{}\x04", u"hi<{}>"_qs},
            {"\x04{1}\x04\x04{2}\x04late\n", u"<{1}><{2}>late\n"_qs},
            {"aé€😀\uFEFFz\x04{é}\x04", u"aé€😀\uFEFFz<{é}>"_qs},
            {"a\xFFz€\xE2\x04{}\x04z", u"a\uFFFDz€\uFFFD<{}>z"_qs}, // ill-formed
            {"a\x04z\x04{}\x04", u"a<z>{}"_qs},                     // printed delimiters
            {"a\x04{\"vars\":", u"a"_qs},
        };
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        for (const auto &[bytes, shown] : cases) {
            for (int cut = 0; cut < 200; ++cut) {
                Record record;
                for (QByteArrayView rest = bytes; !rest.isEmpty();) {
                    qsizetype length = rest.size(); // whole, byte by byte, then at random
                    if (cut > 0)
                        length = cut == 1 ? 1 : random.bounded(int(rest.size())) + 1;
                    record.feed(rest.first(length));
                    rest = rest.sliced(length);
                }
                QVERIFY2(
                    record.shown == shown,
                    qPrintable(u"seed %1, cut %2: %3"_qs.arg(seed).arg(cut).arg(record.shown)));
                record.stream.discardUnfinishedReply();
                QCOMPARE(record.feed("ok\x04{}\x04"), shown + u"ok<{}>"_qs);
            }
        }
    }

    void showsWhatCanBeDecodedAtOnce()
    {
        using Reads = QList<std::pair<QByteArray, QString>>; // what arrives, what is shown then
        for (const Reads &reads :
             {Reads{{"a\xE2", u"a"_qs}, {"\x82", u"a"_qs}, {"\xAC", u"a€"_qs}},
              Reads{{"ab\xFF", u"ab"_qs},
                    {"cdef", u"ab"_qs}, // an ill-formed byte holds back what follows
                    {"\x04", u"ab\uFFFDcdef"_qs}},
              Reads{{"ab\xFFhello", {}}, {"\x04", u"ab\uFFFDhello"_qs}},
              Reads{{"a\x04{", u"a"_qs}, {"}", u"a"_qs}, {"\x04z", u"a<{}>z"_qs}}}) {
            Record record;
            for (const auto &[bytes, shown] : reads)
                QCOMPARE(record.feed(bytes), shown);
            // A new child has nothing to do with it.
            record.stream.clear();
            QCOMPARE(record.feed("ok"), reads.last().second + u"ok"_qs);
        }
    }
};

QTEST_GUILESS_MAIN(tst_SessionStream)
#include "tst_SessionStream.moc"
