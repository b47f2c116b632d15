#include "session/SessionStream.h"

#include <QTest>

using namespace Korvane;

namespace {

/// A stream and its collected output, with "<…>" for a reply.
struct StreamFixture
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
    void separatesOutputFromRepliesForEverySplit()
    {
        const QList<std::pair<QByteArray, QString>> cases{
            {"hi\x04{}\x04", u"hi<{}>"_qs},
            {"\x04{1}\x04\x04{2}\x04late\n", u"<{1}><{2}>late\n"_qs},
            {"aé€😀\uFEFFz\x04{é}\x04", u"aé€😀\uFEFFz<{é}>"_qs},
            {"a\xFFz€\xE2\x04{}\x04z", u"a\uFFFDz€\uFFFD<{}>z"_qs}, // ill-formed
            {"a\x04z\x04{}\x04", u"a<z>{}"_qs},                     // printed delimiters
            {"a\x04{\"vars\":", u"a"_qs},
        };
        for (const auto &[bytes, shown] : cases) {
            for (const qsizetype length : {bytes.size(), qsizetype(1), qsizetype(3)}) {
                StreamFixture fixture;
                for (qsizetype at = 0; at < bytes.size(); at += length)
                    fixture.feed(bytes.mid(at, length));
                QCOMPARE(fixture.shown, shown);
                fixture.stream.discardUnfinishedReply();
                QCOMPARE(fixture.feed("ok\x04{}\x04"), shown + u"ok<{}>"_qs);
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_SessionStream)
#include "tst_SessionStream.moc"
