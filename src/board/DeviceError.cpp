#include "board/DeviceError.h"

#include <QStringList>

namespace Korvane::DeviceError {

namespace {

/// The exception line of a traceback: the last line that holds anything, without the blanks and
/// tabs around it.
QString lastLine(const QString &traceback)
{
    const QStringList lines = traceback.split(u'\n', Qt::SkipEmptyParts);
    if (lines.isEmpty())
        return traceback.trimmed();
    const auto isBlank = [](QChar c) { return c == u' ' || c == u'\t'; };
    QStringView last = lines.last();
    while (!last.isEmpty() && isBlank(last.front()))
        last = last.sliced(1);
    while (!last.isEmpty() && isBlank(last.back()))
        last.chop(1);
    return last.toString();
}

} // namespace

Error timedOut(qint64 seconds)
{
    return {ErrorCode::TimedOut, QStringLiteral("Command timed out after %1s").arg(seconds)};
}

Error remote(const QString &traceback)
{
    return {ErrorCode::Remote, lastLine(traceback), traceback};
}

Error notConnected()
{
    return {ErrorCode::NotConnected, QStringLiteral("Not connected")};
}

Error pausedAtBreakpoint()
{
    return {ErrorCode::PausedAtBreakpoint,
            QStringLiteral("The device is stopped at a breakpoint — continue or stop the program "
                           "first")};
}

Error programRunning()
{
    return {ErrorCode::ProgramRunning,
            QStringLiteral("The device is running a program — stop it first")};
}

Error noRawREPL()
{
    return {ErrorCode::NoRawREPL,
            QStringLiteral("The board never entered the raw REPL — try disconnecting and "
                           "reconnecting")};
}

} // namespace Korvane::DeviceError
