#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"

namespace Korvane {

class ShellSink;

/// Writes the failures of operations to the Shell. Used by every operation that the user starts;
/// the assistant's tools return their errors to the assistant. Main thread only.
class ErrorReporter final
{
public:
    /// \p shell must outlive this.
    explicit ErrorReporter(ShellSink &shell);

    /// Writes an error line, after one for the error's cause; an info line for `Canceled`. Nothing
    /// for an empty message, for `Closed`, and for `Tool`, which is for the assistant alone.
    void report(const Error &error);
    /// Reports the failure of \p result, if it is one.
    void reportFailureOf(const Result<void> &result);
    /// Awaits \p operation and reports its failure. The task may be dropped.
    QCoro::Task<void> reportFailureOf(Async<void> operation);

private:
    ShellSink &m_shell;
    Lifetime m_life;
};

} // namespace Korvane
