#include "mcp/RequestHandover.h"

#include <QTest>

#include <poll.h>

using namespace Korvane;

namespace {

class Handover
{
public:
    void put(const QByteArray &path)
    {
        handover.put({"GET", path, {}, {}}, HTTPReply(replies, 7, 1));
    }
    QByteArray take()
    {
        const auto item = handover.take();
        return item ? item->request.path : "nothing";
    }
    bool isAnnounced() const
    {
        pollfd descriptor = {handover.descriptor(), POLLIN, 0};
        return poll(&descriptor, 1, 0) == 1;
    }

    std::shared_ptr<HTTPReplyBox> replies = std::make_shared<HTTPReplyBox>();
    RequestHandover handover;
};

} // namespace

class tst_RequestHandover final : public QObject
{
    Q_OBJECT

private slots:
    void forgetsNothingWhenATurnIsBrokenOff()
    {
        Handover lot;
        lot.put("a");
        lot.put("b");
        lot.handover.beginTurn();
        QCOMPARE(lot.take(), "a");
        lot.handover.breakOff();
        lot.put("c");
        lot.handover.beginTurn(); // takes the announcement of c away, too
        QCOMPARE(lot.take(), "b");
        lot.handover.breakOff();
        QVERIFY(lot.isAnnounced());
        lot.handover.beginTurn();
        QVERIFY(!lot.isAnnounced());
        QCOMPARE(lot.take(), "c");
        QCOMPARE(lot.take(), "nothing");
    }

    void answersByItselfOnceClosed()
    {
        Handover lot;
        lot.put("a");
        lot.handover.close();
        QCOMPARE(lot.take(), "nothing");
        lot.put("b");
        std::vector<HTTPReplyBox::Entry> entries;
        QVERIFY(lot.replies->take(entries));
        QCOMPARE(entries.size(), size_t(1));
        QCOMPARE(entries[0].connection, quint64(7));
        QCOMPARE(entries[0].response.status, 404);
    }
};

QTEST_GUILESS_MAIN(tst_RequestHandover)
#include "tst_RequestHandover.moc"
