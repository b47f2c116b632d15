#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "base/Sleeper.h"

#include <QCoro/QCoroTask>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace Korvane;
using namespace std::chrono_literals;

namespace {

QCoro::Task<void> collect(OneShot<int> &shot, QStringList &log)
{
    const auto value = co_await shot.wait();
    log << (value ? QString::number(*value) : QStringLiteral("closed"));
}

/// An object whose coroutine outlives it.
class Owner final
{
public:
    QCoro::Task<void> nap(std::chrono::milliseconds duration, QStringList &log)
    {
        const auto life = m_life.watch();
        const bool elapsed = co_await m_sleeper.sleep(duration);
        log << (elapsed ? QStringLiteral("elapsed") : QStringLiteral("woken"));
        log << (life ? QStringLiteral("alive") : QStringLiteral("gone"));
    }

private:
    Sleeper m_sleeper;
    Lifetime m_life;
};

} // namespace

class tst_OneShot final : public QObject
{
    Q_OBJECT

private slots:
    void resumesTheWaiterFromTheEventLoop()
    {
        OneShot<int> shot;
        QStringList log;
        auto task = collect(shot, log);
        shot.deliver(1);
        shot.deliver(2);
        QVERIFY2(log.isEmpty(), "the waiter ran inside deliver()");
        QTRY_COMPARE(log, QStringList{QStringLiteral("1")});
    }

    void yieldsAtOnceWhatWasDeliveredBefore()
    {
        OneShot<int> shot;
        QStringList log;
        shot.deliver(7);
        auto task = collect(shot, log);
        QCOMPARE(log, QStringList{QStringLiteral("7")});
    }

    void endsTheWaitWhenTheProducerGoes_data()
    {
        QTest::addColumn<bool>("delivered");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("nothing delivered") << false << QStringLiteral("closed");
        QTest::newRow("delivered, not yet resumed") << true << QStringLiteral("3");
    }

    void endsTheWaitWhenTheProducerGoes()
    {
        QFETCH(bool, delivered);
        QFETCH(QString, outcome);
        auto shot = std::make_unique<OneShot<int>>();
        QStringList log;
        auto task = collect(*shot, log);
        if (delivered)
            shot->deliver(3);
        shot.reset();
        QCOMPARE(log, QStringList{outcome});
        QCoreApplication::processEvents();
        QCOMPARE(log.size(), 1);
    }

    void wakesSleepersWhenTheirOwnerGoes()
    {
        auto owner = std::make_unique<Owner>();
        QStringList log;
        auto shortNap = owner->nap(1ms, log);
        auto longNap = owner->nap(1h, log);
        QTRY_COMPARE(log, QStringList({QStringLiteral("elapsed"), QStringLiteral("alive")}));
        owner.reset();
        QCOMPARE(log.mid(2), QStringList({QStringLiteral("woken"), QStringLiteral("gone")}));
    }

    void wakesASleeperWhoseTimeIsUpWhenItsOwnerGoesFirst()
    {
        auto owner = std::make_unique<Owner>();
        QStringList log;
        auto nap = owner->nap(0ms, log);
        // Both timers fire in one turn of the event loop, and the sleeper would wake in the next.
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] { owner.reset(); });
        timer.start(0);
        QTRY_COMPARE(log, QStringList({QStringLiteral("woken"), QStringLiteral("gone")}));
    }
};

QTEST_GUILESS_MAIN(tst_OneShot)
#include "tst_OneShot.moc"
