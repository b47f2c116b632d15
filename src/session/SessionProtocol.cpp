#include "session/SessionProtocol.h"

#include "base/PythonResource.h"
#include "base/Utf8.h"
#include "base/VariableRows.h"

#include <nlohmann/json.hpp>

#include <cstring>

namespace Korvane::SessionProtocol {

namespace {

using Json = nlohmann::json;

std::optional<QByteArray> line(Json request, const char *member = nullptr,
                               const QString &text = QString())
{
    if (!text.isValidUtf16())
        return std::nullopt;
    if (member)
        request[member] = text.toStdString();
    return QByteArray::fromStdString(request.dump()) + '\n';
}

constexpr qsizetype escapeLength = 6;

/// The code unit of the escape "\uXXXX" at \p position, or nothing.
std::optional<uint> escapedUnit(QByteArrayView body, qsizetype position)
{
    if (position + escapeLength > body.size())
        return std::nullopt;
    const QByteArrayView escape = body.sliced(position, escapeLength);
    bool isNumber = false;
    const uint unit = escape.sliced(2).toUInt(&isNumber, 16);
    return escape.startsWith("\\u") && isNumber ? std::optional(unit) : std::nullopt;
}

/// Python strings may contain lone surrogates and json.dumps writes them as escapes. nlohmann's
/// parser refuses them: it has no option for it, and its error handlers are for writing only. So
/// they are replaced by U+FFFD before parsing, so that the rest of the reply can be read.
QByteArray withoutLoneSurrogates(QByteArray body)
{
    for (qsizetype i = body.indexOf('\\'); i >= 0; i = body.indexOf('\\', i)) {
        const auto unit = escapedUnit(body, i);
        if (!unit) {
            i += 2; // the backslash and the character that it escapes
            continue;
        }
        const auto next = escapedUnit(body, i + escapeLength);
        if (QChar::isHighSurrogate(*unit) && next && QChar::isLowSurrogate(*next)) {
            i += 2 * escapeLength;
            continue;
        }
        if (QChar::isSurrogate(*unit))
            std::memcpy(body.data() + i, "\\ufffd", escapeLength);
        i += escapeLength;
    }
    return body;
}

} // namespace

QByteArray driverProgram()
{
    return pythonResource(QLatin1StringView("session/driver.py")).toUtf8();
}

std::optional<QByteArray> execRequest(const QString &code, const QString &path, bool fresh)
{
    const QString shownPath = path.isEmpty() ? QStringLiteral("<untitled>") : path;
    if (!shownPath.isValidUtf16())
        return std::nullopt;
    return line({{"op", "exec"}, {"path", shownPath.toStdString()}, {"fresh", fresh}}, "code",
                code);
}

std::optional<QByteArray> shellRequest(const QString &code, const QString &path)
{
    Json request{{"op", "shell"}};
    if (!path.isValidUtf16())
        return std::nullopt;
    if (!path.isEmpty())
        request["path"] = path.toStdString();
    return line(std::move(request), "code", code);
}

std::optional<QByteArray> variablesRequest()
{
    return line({{"op", "vars"}});
}

std::optional<int> inputQuestion(const QByteArray &body)
{
    constexpr QByteArrayView start(R"({"input": )");
    if (!body.startsWith(start) || !body.endsWith('}'))
        return std::nullopt;
    bool isNumber = false;
    const int number = QByteArrayView(body).sliced(start.size()).chopped(1).toInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

QByteArray inputAnswer(int number, const QString &text)
{
    return *line({{"op", "input"},
                  {"number", number},
                  {"text", QString::fromUtf8(text.toUtf8()).toStdString()}});
}

RunResult parseReply(const QByteArray &body)
{
    const QByteArray strict = withoutLoneSurrogates(body);
    const Json reply = Json::parse(strict.begin(), strict.end(), nullptr, false);
    if (!reply.is_object())
        return {QStringLiteral("Unreadable reply from the Python session"), {}};
    RunResult result;
    if (const auto error = reply.find("error"); error != reply.end() && error->is_string())
        result.error = Utf8::decodeLossy(error->get_ref<const std::string &>());
    constexpr VariableRows::Keys keys{"name", "type", "value"};
    if (const auto rows = reply.find("vars"); rows != reply.end())
        result.variables = VariableRows::parse(*rows, keys).value_or(QList<PythonVariable>());
    return result;
}

} // namespace Korvane::SessionProtocol
