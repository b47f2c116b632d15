#include "mcp/MCPToolError.h"

#include "board/DeviceError.h"

namespace Korvane::MCPToolError {

using namespace Qt::StringLiterals;

namespace {

Error because(const QString &reason)
{
    return {ErrorCode::Tool, reason};
}

} // namespace

Error unknownTool(const QString &name)
{
    return because(u"Unknown tool: "_s + name);
}

Error missingArgument(const QString &key)
{
    return because(u"Missing required argument “"_s + key + u"”."_s);
}

Error notConnected()
{
    return because(u"No device connected. Use connect_device first."_s);
}

Error noPorts()
{
    return because(u"No serial ports found. Is the board plugged in?"_s);
}

Error severalPorts(const QStringList &ports)
{
    return because(u"Several ports available — name one: "_s + ports.join(u", "_s));
}

Error notOpened(const QString &port)
{
    return because(u"Could not open "_s + port + u'.');
}

Error notADirectory(const QString &path)
{
    return because(path + u" is not a directory on the device."_s);
}

Error writeDeclined(const QString &path)
{
    return because(u"The user declined the write to "_s + path + u'.');
}

Error notThere(const QString &path)
{
    return because(path + u" is not on the device."_s);
}

Error deletionDeclined(const QString &path)
{
    return because(u"The user declined deleting "_s + path + u'.');
}

Error notDeleted(const QString &path)
{
    return because(u"Could not delete "_s + path + u'.');
}

Error canceled()
{
    return {ErrorCode::Canceled, u"The call was canceled."_s};
}

Error boardReplaced()
{
    return {ErrorCode::BoardReplaced,
            u"Nothing was done: the board was connected anew while the call was waiting."_s};
}

Error tooLong(const QString &key, qsizetype most)
{
    return because(
        u"The argument “%1” is longer than %2 characters."_s.arg(key, QString::number(most)));
}

Error badTimeout()
{
    return because(u"The timeout must be a number of seconds that is not negative."_s);
}

Error controlCharacter(QChar character)
{
    return because(u"The code contains the control character 0x0"_s
                   + QString::number(character.unicode(), 16)
                   + u", on which the board's REPL acts. Write it as an escape sequence."_s);
}

Error programRunning(const QString &operation)
{
    const Error reason = DeviceError::programRunning();
    return {reason.code, operation + u" failed: "_s + reason.message};
}

Error closed()
{
    return {ErrorCode::Closed, u"The IDE is shutting down."_s};
}

} // namespace Korvane::MCPToolError
