#include "mcp/RequestHandover.h"

#include <QTest>

#include <poll.h>

using namespace Korvane;

class tst_RequestHandover final : public QObject
{
    Q_OBJECT

    std::shared_ptr<HTTPReplyBox> m_replies = std::make_shared<HTTPReplyBox>();

    void put(RequestHandover &lot, const QByteArray &path)
    {
        lot.put({"GET", path, {}, {}}, HTTPReply(m_replies, 7, 1));
    }
    static QByteArray take(RequestHandover &lot)
    {
        const auto item = lot.take();
        return item ? item->request.path : "nothing";
    }
    static bool isAnnounced(const RequestHandover &lot)
    {
        pollfd descriptor = {lot.descriptor(), POLLIN, 0};
        return poll(&descriptor, 1, 0) == 1;
    }

private slots:
    void forgetsNothingWhenATurnIsBrokenOff()
    {
        RequestHandover lot;
        put(lot, "a");
        put(lot, "b");
        lot.beginTurn();
        QCOMPARE(take(lot), "a");
        lot.breakOff();
        put(lot, "c");
        lot.beginTurn(); // takes the announcement of c away, too
        QCOMPARE(take(lot), "b");
        lot.breakOff();
        QVERIFY(isAnnounced(lot));
        lot.beginTurn();
        QVERIFY(!isAnnounced(lot));
        QCOMPARE(take(lot), "c");
        QCOMPARE(take(lot), "nothing");
    }
};

QTEST_GUILESS_MAIN(tst_RequestHandover)
#include "tst_RequestHandover.moc"
