#include "base/Delay.h"
#include "base/Lifetime.h"
#include "base/OneShot.h"

#include <QCoro/QCoroTask>
#include <QTest>

#include <memory>

using namespace Korvane;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

QCoro::Task<void> collect(OneShot<int> &shot, QStringList &log)
{
    const auto value = co_await shot.wait();
    log << (value ? QString::number(*value) : u"closed"_s);
}

/// An object whose coroutine outlives it.
class Owner final
{
public:
    QCoro::Task<void> sleep(std::chrono::milliseconds duration, QStringList &log)
    {
        const auto life = m_life.watch();
        const bool elapsed = co_await m_delay.sleep(duration);
        log << (elapsed ? u"elapsed"_s : u"early"_s) + (life ? u", alive"_s : u", destroyed"_s);
    }

private:
    Delay m_delay;
    Lifetime m_life;
};

} // namespace

class tst_OneShot final : public QObject
{
    Q_OBJECT

private slots:
    void deliversOnceAndFromTheEventLoop()
    {
        OneShot<int> shot;
        QStringList log;
        const auto task = collect(shot, log);
        shot.deliver(1);
        shot.deliver(2);
        QVERIFY2(log.isEmpty(), "the waiter ran inside deliver()");
        QTRY_COMPARE(log, QStringList{u"1"_s});

        OneShot<int> early;
        early.deliver(7);
        const auto late = collect(early, log);
        QCOMPARE(log.mid(1), QStringList{u"7"_s});
    }

    void endsTheWaitWhenTheProducerIsDestroyed()
    {
        for (const bool isDelivered : {false, true}) {
            auto shot = std::make_unique<OneShot<int>>();
            QStringList log;
            const auto task = collect(*shot, log);
            if (isDelivered)
                shot->deliver(3);
            shot.reset();
            QCOMPARE(log, QStringList{isDelivered ? u"3"_s : u"closed"_s});
            QCoreApplication::processEvents();
            QCOMPARE(log.size(), 1);
        }
    }

    void resumesDelaysWhenTheirOwnerIsDestroyed()
    {
        auto owner = std::make_unique<Owner>();
        QStringList log;
        const auto shortSleep = owner->sleep(1ms, log);
        const auto longSleep = owner->sleep(1h, log);
        QTRY_COMPARE(log, QStringList{u"elapsed, alive"_s});
        // Both timers fire in one turn of the event loop; the delay would resume in the next.
        const auto lastSleep = owner->sleep(0ms, log);
        QTimer::singleShot(0, this, [&] { owner.reset(); });
        QTRY_COMPARE(log.mid(1), QStringList(2, u"early, destroyed"_s));
    }
};

QTEST_GUILESS_MAIN(tst_OneShot)
#include "tst_OneShot.moc"
