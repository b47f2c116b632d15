#pragma once

#include "base/Result.h"

#include <QCoro/QCoroTask>

namespace Korvane {

/// An operation that suspends and may fail. It starts at once and runs to its end even when the
/// task is dropped; an error of a dropped task is lost, so a chain must end in a coroutine that
/// reports it.
template <typename T> using Async = QCoro::Task<Result<T>>;

} // namespace Korvane
