#include "board/DeviceError.h"

#include "base/SystemError.h"

#include <QRegularExpression>
#include <QStringList>

namespace Korvane::DeviceError {

namespace {

/// The exception line of a traceback: its last line that is not empty, without spaces and tabs
/// around it.
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

Error timedOutAndStopped(qint64 seconds)
{
    Error error = timedOut(seconds);
    error.message += QStringLiteral(" — its program was stopped");
    return error;
}

Error remote(const QString &traceback)
{
    return {ErrorCode::Remote, withSystemErrorNamed(lastLine(traceback)), traceback};
}

Error notConnected()
{
    return {ErrorCode::NotConnected, QStringLiteral("Not connected")};
}

Error notOpened(const Error &reason)
{
    Error error = reason;
    error.message.prepend(QStringLiteral("Connection failed: "));
    return error;
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

Error connectionLost()
{
    return {ErrorCode::NotConnected,
            QStringLiteral("The board was disconnected before the command ended")};
}

Error boardReset()
{
    return {ErrorCode::Remote, QStringLiteral("The board was reset before the command ended")};
}

Error notReset()
{
    return {ErrorCode::TimedOut,
            QStringLiteral("The board did not reset — try disconnecting and reconnecting")};
}

Error boardReplaced()
{
    return {ErrorCode::BoardReplaced,
            QStringLiteral("The board was connected anew meanwhile; nothing more was changed.")};
}

Error invalidAnswer()
{
    return {ErrorCode::Remote, QStringLiteral("The board gave no valid answer")};
}

Error alreadyWriting(const QString &path)
{
    return canceled(path + QStringLiteral(" is already being written."));
}

Error canceled(const QString &notice)
{
    return {ErrorCode::Canceled, notice};
}

Error closed()
{
    return {ErrorCode::Closed, QStringLiteral("The link to the board was closed")};
}

QString withSystemErrorNamed(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral(
        R"(^(\s*)(?:OSError: )?(?:([1-9]\d{0,2})|\[Errno ([1-9]\d{0,2})\](?: E[A-Z0-9]+)?)(\s*)$)"));
    const auto match = pattern.match(text);
    if (!match.hasMatch())
        return text;
    const QString number = match.captured(2) + match.captured(3);
    const QString name = systemErrorText(number.toInt());
    if (name.contains(number)) // not a POSIX error number: the text has no name
        return text;
    return match.captured(1) + name + match.captured(4);
}

} // namespace Korvane::DeviceError
