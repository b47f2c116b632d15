#pragma once

#include "base/OneShot.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace Korvane {

/// Runs work that may take long, or never end (a network folder that does not answer), on a thread
/// of its own and lets a coroutine wait for it.
///
/// When the system has no thread left, the work is done at once, on the thread that asks.
///
/// Nobody waits for such a thread at the end of the program: it holds nothing of the program but
/// what the work captured by value.
class Background final
{
public:
    Background() = default;
    Background(const Background &) = delete;
    Background &operator=(const Background &) = delete;
    ~Background()
    {
        const auto jobs = std::exchange(m_jobs, {});
        for (const auto &job : jobs)
            job->isAbandoned = true;
    }

    /// Yields what \p work returns, or nothing when this Background went before: the caller must
    /// then return without touching its object. \p work must neither touch anything shared nor
    /// throw.
    template <typename T> [[nodiscard]] QCoro::Task<std::optional<T>> run(std::function<T()> work);

private:
    /// Reaches the waiting side only as long as that exists.
    template <typename T> struct Mailbox
    {
        std::mutex mutex;
        QObject *receiver = nullptr;
        OneShot<T> *shot = nullptr;
    };
    struct JobBase
    {
        virtual ~JobBase() = default;

        /// The Background goes, and removes the job itself.
        bool isAbandoned = false;
    };
    template <typename T> struct Job final : JobBase
    {
        ~Job() override
        {
            const std::lock_guard lock(mailbox->mutex);
            mailbox->receiver = nullptr;
        }

        std::shared_ptr<Mailbox<T>> mailbox = std::make_shared<Mailbox<T>>();
        OneShot<T> done;
        QObject receiver;
    };

    /// Tells whether the system had a thread left.
    static bool start(std::function<void()> work)
    {
        try {
            std::thread(std::move(work)).detach();
            return true;
        } catch (const std::system_error &) {
            return false;
        }
    }

    std::list<std::unique_ptr<JobBase>> m_jobs;
};

template <typename T> QCoro::Task<std::optional<T>> Background::run(std::function<T()> work)
{
    auto owned = std::make_unique<Job<T>>();
    Job<T> &job = *owned;
    m_jobs.push_back(std::move(owned));
    const auto position = std::prev(m_jobs.end());
    job.mailbox->receiver = &job.receiver;
    job.mailbox->shot = &job.done;

    const bool isStarted = start([mailbox = job.mailbox, work] {
        auto result = std::make_shared<T>(work());
        const std::lock_guard lock(mailbox->mutex);
        if (!mailbox->receiver)
            return;
        QMetaObject::invokeMethod(
            mailbox->receiver,
            [shot = mailbox->shot, result] { shot->deliver(std::move(*result)); },
            Qt::QueuedConnection);
    });
    if (!isStarted) // late is better than never
        job.done.deliver(work());

    std::optional<T> result = co_await job.done.wait();
    // A result may have come just before the Background goes: the waiter is then resumed by the
    // end of the job, with that result.
    if (!result || job.isAbandoned)
        co_return std::nullopt;
    m_jobs.erase(position);
    co_return result;
}

} // namespace Korvane
