#pragma once

#include <QCoro/QCoroTask>
#include <QEventLoop>

#include <memory>
#include <utility>

namespace Korvane {

namespace AwaitedDetail {

template <typename T>
QCoro::Task<void> keep(QCoro::Task<T> task, std::unique_ptr<T> &result, QEventLoop &loop)
{
    result = std::make_unique<T>(co_await std::move(task));
    loop.quit();
}

} // namespace AwaitedDetail

/// Runs the event loop until \p task has ended, and returns its result. QCoro::waitFor requires a
/// default constructor of the result, which Result does not have.
template <typename T> T awaited(QCoro::Task<T> task)
{
    std::unique_ptr<T> result;
    QEventLoop loop;
    const auto keeper = AwaitedDetail::keep(std::move(task), result, loop);
    if (!result)
        loop.exec();
    return std::move(*result);
}

/// The same for a task without a result.
inline void awaited(QCoro::Task<void> task)
{
    QCoro::waitFor(std::move(task));
}

} // namespace Korvane
