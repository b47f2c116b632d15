#include "mcp/MCPEndpoint.h"

#include "mcp/JSONChecker.h"
#include "mcp/JSONItems.h"
#include "mcp/JSONText.h"

#include <QElapsedTimer>

#include <utility>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;

// What is done in one go before the window has its turn.
constexpr qsizetype checkedBytesPerTurn = qsizetype{1024} * 1024;
constexpr qint64 batchTurnMs = 4;

// A batch asks for far more than it says: without a bound a few megabytes could ask for gigabytes.
constexpr qsizetype maxBatchReplyBytes = qsizetype{64} * 1024 * 1024;

const QString defaultProtocolVersion = u"2025-06-18"_s;

HTTPResponse plainText(int status, const QByteArray &text)
{
    return {status, {{"Content-Type", "text/plain; charset=utf-8"}}, text};
}

HTTPResponse json(int status, QByteArray body)
{
    static const std::map<QByteArray, QByteArray> headers = {{"Content-Type", "application/json"}};
    return {status, headers, std::move(body)};
}

// All keys of all objects below are written in sorted order.

QByteArray success(const QByteArray &id, const QByteArray &result)
{
    return R"({"id":)" + id + R"(,"jsonrpc":"2.0","result":)" + result + '}';
}

QByteArray failure(const QByteArray &id, int code, const QString &message)
{
    QByteArray reply = R"({"error":{"code":)" + QByteArray::number(code) + R"(,"message":)";
    appendJSONString(reply, message);
    reply += R"(},"id":)" + id + R"(,"jsonrpc":"2.0"})";
    return reply;
}

QByteArray toolResult(const QByteArray &id, const QString &text, bool isError)
{
    QByteArray result = R"({"content":[{"text":)";
    appendJSONString(result, text);
    result += R"(,"type":"text"}],"isError":)";
    result += isError ? "true}" : "false}";
    return success(id, result);
}

QByteArray initializeResult(const QString &protocolVersion)
{
    QByteArray result = R"({"capabilities":{"tools":{"listChanged":false}},"protocolVersion":)";
    appendJSONString(result, protocolVersion);
    result += R"(,"serverInfo":{"name":"korvane","version":")" KORVANE_VERSION R"("}})";
    return result;
}

/// The last member of that name; an empty value (which is none) when there is no such member.
JSONValue member(const JSONValue &object, QLatin1StringView name)
{
    JSONValue value{QByteArrayView()};
    for (JSONItems items(object); items.next();) {
        if (items.name().says(name))
            value = items.value();
    }
    return value;
}

ToolArguments readArguments(const JSONValue &object)
{
    ToolArguments arguments;
    if (!object.isObject())
        return arguments;
    for (JSONItems items(object); items.next();) {
        const QString name = items.name().string();
        if (items.value().isString())
            arguments.insert(name, items.value().string());
        else if (items.value().kind() == JSONValue::Kind::Number)
            arguments.insert(name, items.value().number());
        else
            arguments.remove(name); // of two members with one name the later counts
    }
    return arguments;
}

} // namespace

struct MCPEndpoint::Message
{
    enum class Kind { Notification, Call, ToolCall };

    Kind kind = Kind::Notification;
    QString method;
    QByteArray id; // as it was written
    JSONValue params{QByteArrayView()};
};

MCPEndpoint::MCPEndpoint(MCPAccess access, ToolSet &tools, const QObject *state)
    : m_access(std::move(access))
    , m_tools(tools)
    , m_state(state)
{
}

QCoro::Task<HTTPResponse> MCPEndpoint::answer(HTTPRequest request)
{
    const auto alive = m_lifetime.watch();
    if (auto response = answerWithoutBody(request))
        co_return std::move(*response);

    JSONChecker checker(request.body);
    auto verdict = checker.advance(checkedBytesPerTurn);
    while (verdict == JSONChecker::Verdict::Unfinished) {
        if (!co_await m_delay.sleep(std::chrono::milliseconds(0)) || !alive)
            co_return HTTPResponse{404};
        verdict = checker.advance(checkedBytesPerTurn);
    }
    const JSONValue root(request.body);
    const bool isBatch = root.kind() == JSONValue::Kind::Array;
    if (verdict == JSONChecker::Verdict::Malformed || (!isBatch && !root.isObject()))
        co_return json(400, failure("null", -32700, u"Parse error"_s));
    if (isBatch && !checker.isArrayOfObjects())
        co_return json(400, failure("null", -32600, u"Invalid request"_s));

    if (isBatch)
        co_return co_await answerBatch(root);
    Message message = read(root);
    const QByteArray reply = co_await handle(std::move(message));
    if (!alive)
        co_return HTTPResponse{404};
    co_return reply.isEmpty() ? HTTPResponse{202} : json(200, reply);
}

/// One message after the other, each to its end before the next.
QCoro::Task<HTTPResponse> MCPEndpoint::answerBatch(JSONValue batch)
{
    const auto alive = m_lifetime.watch();
    QByteArray replies;
    QElapsedTimer turn;
    turn.start();
    for (JSONItems items(batch); items.next();) {
        if (turn.hasExpired(batchTurnMs)) {
            if (!co_await m_delay.sleep(std::chrono::milliseconds(0)) || !alive)
                co_return HTTPResponse{404};
            turn.start();
        }
        Message message = read(items.value());
        const QByteArray reply = co_await handle(std::move(message));
        if (!alive)
            co_return HTTPResponse{404};
        if (reply.isEmpty())
            continue;
        replies += replies.isEmpty() ? '[' : ',';
        replies += reply;
        if (replies.size() > maxBatchReplyBytes)
            co_return json(400, failure("null", -32600, u"Invalid request"_s));
    }
    co_return replies.isEmpty() ? HTTPResponse{202} : json(200, replies + ']');
}

/// What needs no look at the body; nothing for a POST that may pass.
std::optional<HTTPResponse> MCPEndpoint::answerWithoutBody(const HTTPRequest &request) const
{
    if (!m_access.isForEndpoint(request))
        return HTTPResponse{404};
    if (!m_access.hasToken(request))
        return plainText(401, "Unauthorized");
    if (request.method == "DELETE")
        return HTTPResponse{200};
    if (request.method == "GET")
        return plainText(405, "This endpoint does not provide an SSE stream");
    if (request.method != "POST")
        return HTTPResponse{405};
    return std::nullopt;
}

MCPEndpoint::Message MCPEndpoint::read(const JSONValue &object)
{
    Message message;
    bool hasId = false;
    for (JSONItems items(object); items.next();) {
        const JSONValue &value = items.value();
        // Of two members with one name the later counts.
        if (items.name().says("method"_L1)) {
            message.method = value.string();
        } else if (items.name().says("params"_L1)) {
            message.params = value;
        } else if (items.name().says("id"_L1)) {
            message.id = value.text().toByteArray();
            hasId = true;
        }
    }
    if (hasId)
        message.kind =
            message.method == "tools/call"_L1 ? Message::Kind::ToolCall : Message::Kind::Call;
    return message;
}

QByteArray MCPEndpoint::answerAtOnce(const Message &message)
{
    if (message.method == "ping"_L1)
        return success(message.id, "{}");
    if (message.method == "tools/list"_L1) {
        if (m_toolsResult.isEmpty())
            m_toolsResult = R"({"tools":)" + m_tools.definitions() + '}';
        return success(message.id, m_toolsResult);
    }
    if (message.method == "initialize"_L1) {
        const JSONValue version = member(message.params, "protocolVersion"_L1);
        return success(
            message.id,
            initializeResult(version.isString() ? version.string() : defaultProtocolVersion));
    }
    return failure(message.id, -32601, u"Unknown method: "_s + message.method);
}

/// The reply, or nothing for a notification.
QCoro::Task<QByteArray> MCPEndpoint::handle(Message message)
{
    if (message.kind == Message::Kind::Notification)
        co_return {};
    if (message.kind == Message::Kind::Call)
        co_return answerAtOnce(message);
    if (!m_state)
        co_return toolResult(message.id, u"The IDE is shutting down."_s, true);
    const QString name = member(message.params, "name"_L1).string();
    ToolArguments arguments = readArguments(member(message.params, "arguments"_L1));
    const Result<QString> result = co_await m_tools.call(name, std::move(arguments));
    co_return toolResult(message.id, result ? *result : result.error().message, !result);
}

} // namespace Korvane
