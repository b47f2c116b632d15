#include "mcp/ToolTexts.h"

#include "base/VisibleText.h"
#include "mcp/MCPToolError.h"

#include <QStringList>

namespace Korvane::ToolTexts {

using namespace Qt::StringLiterals;

constexpr qsizetype longestName = 1'024;

QString logLine(const QString &tool, const ToolArguments &arguments)
{
    const auto shortened = [](const QString &text) {
        return VisibleText::line(text.left(longestName));
    };
    QStringList shown;
    for (const QString &key : {pathKey, portKey, nameKey}) {
        if (const auto value = arguments.text(key))
            shown << key + u": "_s + shortened(*value);
    }
    const QString line = u"🤖 "_s + shortened(tool);
    return shown.isEmpty() ? line : line + u" ("_s + shown.join(u", "_s) + u')';
}

Result<void> checkNames(const ToolArguments &arguments)
{
    for (const QString &key : {pathKey, portKey, nameKey}) {
        if (arguments.text(key).value_or(QString()).size() > longestName)
            return MCPToolError::tooLong(key, longestName);
    }
    return Result<void>();
}

Result<QString> required(const ToolArguments &arguments, const QString &key)
{
    const auto text = arguments.text(key);
    if (!text || (text->isEmpty() && key != contentKey))
        return MCPToolError::missingArgument(key);
    return *text;
}

QString optional(const ToolArguments &arguments, const QString &key, const QString &otherwise)
{
    const QString text = arguments.text(key).value_or(QString());
    return text.isEmpty() ? otherwise : text;
}

QString describe(const QString &folder, const QList<DeviceFileNode> &children)
{
    if (children.isEmpty())
        return folder + u" is empty."_s;
    QStringList lines{folder + u':'};
    for (const DeviceFileNode &child : children) {
        lines << (child.isDirectory ? child.path + u'/'
                                    : child.path + u"  %1 bytes"_s.arg(child.size));
    }
    return lines.join(u'\n');
}

QString describe(const DeviceExecution &execution)
{
    const QString &output = execution.stdout;
    const QString &error = execution.stderr;
    if (error.isEmpty())
        return output.isEmpty() ? u"(no output)"_s : output;
    if (output.isEmpty())
        return u"The code raised:\n"_s + error;
    return u"Output before the failure:\n"_s + output + u"\nThen it raised:\n"_s + error;
}

} // namespace Korvane::ToolTexts
