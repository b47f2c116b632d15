#include "app/ErrorReporter.h"

#include "base/ShellSink.h"

#include <utility>

namespace Korvane {

ErrorReporter::ErrorReporter(ShellSink &shell)
    : m_shell(shell)
{
}

void ErrorReporter::report(const Error &error)
{
    if (error.code == ErrorCode::Closed || error.code == ErrorCode::Tool)
        return;
    if (!error.cause.isEmpty())
        m_shell.appendError(error.cause);
    if (error.message.isEmpty())
        return;
    if (error.code == ErrorCode::Canceled)
        m_shell.appendInfo(error.message);
    else
        m_shell.appendError(error.message);
}

void ErrorReporter::reportFailureOf(const Result<void> &result)
{
    if (!result)
        report(result.error());
}

QCoro::Task<void> ErrorReporter::reportFailureOf(Async<void> operation)
{
    const auto life = m_life.watch();
    const auto result = co_await std::move(operation);
    if (life)
        reportFailureOf(result);
}

} // namespace Korvane
