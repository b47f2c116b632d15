#pragma once

#include "base/OneShot.h"

#include <QCoro/QCoroTask>
#include <QFutureWatcher>
#include <QThreadPool>
#include <QtConcurrentRun>

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <utility>

namespace Korvane {

/// Runs blocking work, such as reading a network folder, in a thread pool of its owner and lets
/// coroutines wait for the result. Main thread only; the work runs on the pool's threads.
///
/// By default up to sixteen calls run at the same time; further ones are queued. A call that hangs
/// occupies one thread of this pool. It delays neither calls of other owners nor the calls that the
/// other threads of the pool run.
class Background final
{
public:
    /// \p maxThreads is at least 1; with 1, calls run in their order. \p endTimeout is how long the
    /// destructor waits for work that has been started or queued.
    explicit Background(int maxThreads = 16,
                        std::chrono::milliseconds endTimeout = std::chrono::seconds(2));
    /// Resumes all waiting coroutines, without a result. Then waits for the work, so that a write
    /// in progress is completed. Work that hangs longer than the time-out (a network folder that
    /// does not answer) keeps its thread and its pool until the process ends; what was queued
    /// after it is dropped.
    ~Background();
    Background(const Background &) = delete;
    Background &operator=(const Background &) = delete;

    /// Runs \p work and yields what it returns, or nothing when this Background was destroyed
    /// before: the caller must then return without touching its object. \p work must not throw, and
    /// must capture by value all that it uses. Several calls may be in progress at a time.
    template <typename T> [[nodiscard]] QCoro::Task<std::optional<T>> run(std::function<T()> work);

private:
    struct JobBase
    {
        virtual ~JobBase() = default;

        /// The Background is being destroyed, and removes the job itself.
        bool isAbandoned = false;
    };
    template <typename T> struct Job final : JobBase
    {
        OneShot<T> done;
        QFutureWatcher<T> watcher;
    };

    const std::chrono::milliseconds m_endTimeout;
    std::unique_ptr<QThreadPool> m_pool;
    std::list<std::unique_ptr<JobBase>> m_jobs;
};

template <typename T> QCoro::Task<std::optional<T>> Background::run(std::function<T()> work)
{
    auto owned = std::make_unique<Job<T>>();
    Job<T> &job = *owned;
    m_jobs.push_back(std::move(owned));
    const auto position = std::prev(m_jobs.end());
    QObject::connect(&job.watcher, &QFutureWatcherBase::finished, &job.watcher,
                     [&job] { job.done.deliver(job.watcher.future().takeResult()); });
    job.watcher.setFuture(QtConcurrent::run(m_pool.get(), std::move(work)));

    std::optional<T> result = co_await job.done.wait();
    // A result may be delivered just before the destructor runs: the coroutine is then resumed by
    // the destruction of the job, with that result.
    if (!result || job.isAbandoned)
        co_return std::nullopt;
    m_jobs.erase(position);
    co_return result;
}

} // namespace Korvane
