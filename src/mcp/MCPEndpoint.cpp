#include "mcp/MCPEndpoint.h"

#include "mcp/RPCReader.h"
#include "mcp/RPCReply.h"

#include <QUuid>

#include <utility>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;

// Counted for a call or a cancellation of a batch: about its size in memory without arguments.
constexpr qsizetype stepCostBytes = 256;

HTTPResponse plainText(int status, const QByteArray &text)
{
    return {status, {{"Content-Type", "text/plain; charset=utf-8"}}, text};
}

HTTPResponse json(int status, QByteArray body)
{
    static const std::map<QByteArray, QByteArray> headers = {{"Content-Type", "application/json"}};
    return {status, headers, std::move(body)};
}

} // namespace

MCPEndpoint::MCPEndpoint(MCPAccess access, const QByteArray &toolDefinitions)
    : m_access(std::move(access))
    , m_toolsResult(R"({"tools":)" + toolDefinitions + '}')
{
}

MCPEndpoint::Answer MCPEndpoint::answer(const HTTPRequest &request) const
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

    ToolRequest work;
    QByteArray replies; // after the last step
    qsizetype bytes = 0;
    const auto addStep = [&](ToolRequest::Step step) {
        if (!replies.isEmpty())
            work.steps.emplace_back(std::exchange(replies, {}));
        work.steps.push_back(std::move(step));
        bytes += stepCostBytes;
    };
    bool begins = false;
    const RPCBody body = readMessages(request.body, [&](RPCMessage message) {
        if (bytes > maxBatchBytes)
            return;
        if (message.isRequest && message.method == "tools/call"_L1) {
            addStep(ToolRequest::Call{std::move(message.id), std::move(message.toolName),
                                      std::move(message.arguments)});
        } else if (message.isRequest) {
            begins = begins || message.method == "initialize"_L1;
            const QByteArray one = reply(message);
            if (!replies.isEmpty())
                replies += ',';
            replies += one;
            bytes += one.size() + 1;
        } else if (message.method == "notifications/cancelled"_L1) {
            addStep(ToolRequest::Cancellation{std::move(message.requestId)});
        }
    });

    switch (body) {
    case RPCBody::NotJSON:
        return json(400, RPCReply::failure("null", -32700, u"Parse error"_s));
    case RPCBody::Invalid:
        return invalidRequest();
    case RPCBody::Message:
        break;
    case RPCBody::Batch:
        if (bytes > maxBatchBytes)
            return invalidRequest();
    }
    work.isBatch = body == RPCBody::Batch;
    if (work.steps.empty()) {
        HTTPResponse known = response(replies, work.isBatch);
        if (begins)
            known.headers["Mcp-Session-Id"] = QUuid::createUuid().toByteArray(QUuid::Id128);
        return known;
    }
    if (const auto session = request.headers.find("mcp-session-id");
        session != request.headers.end())
        work.session = session->second;
    if (!replies.isEmpty())
        work.steps.emplace_back(std::move(replies));
    return work;
}

QByteArray MCPEndpoint::reply(const RPCMessage &message) const
{
    static const QString defaultProtocolVersion = u"2025-06-18"_s;

    if (message.method == "ping"_L1)
        return RPCReply::success(message.id, "{}");
    if (message.method == "tools/list"_L1)
        return RPCReply::success(message.id, m_toolsResult);
    if (message.method == "initialize"_L1) {
        return RPCReply::success(
            message.id,
            RPCReply::initializeResult(message.protocolVersion.value_or(defaultProtocolVersion)));
    }
    return RPCReply::failure(message.id, -32601, u"Unknown method: "_s + message.method);
}

HTTPResponse MCPEndpoint::response(const QByteArray &replies, bool isBatch)
{
    if (replies.isEmpty())
        return HTTPResponse{202};
    return json(200, isBatch ? '[' + replies + ']' : replies);
}

HTTPResponse MCPEndpoint::invalidRequest()
{
    return json(400, RPCReply::failure("null", -32600, u"Invalid request"_s));
}

} // namespace Korvane
