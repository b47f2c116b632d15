#pragma once

#include "base/Delay.h"
#include "base/Lifetime.h"
#include "mcp/HTTPResponse.h"
#include "mcp/JSONValue.h"
#include "mcp/MCPAccess.h"
#include "mcp/ToolSet.h"

#include <QPointer>

namespace Korvane {

/// Answers the requests of an assistant: checks who asks, reads the JSON-RPC messages and hands
/// tool calls to the tools. It keeps nothing of one request for the next. Main thread only.
///
/// The messages and their answers are described in docs/formats/http-and-json-rpc.md.
class MCPEndpoint final
{
public:
    /// \p tools is borrowed. \p state is what they work on; once it has gone, they are not asked
    /// any more.
    MCPEndpoint(MCPAccess access, ToolSet &tools, const QObject *state);

    /// Suspends while a tool works, and in between for a long request, so that the window is never
    /// kept waiting. When this object goes before the end, the answer is a 404 at once.
    [[nodiscard]] QCoro::Task<HTTPResponse> answer(HTTPRequest request);

private:
    struct Message;

    [[nodiscard]] std::optional<HTTPResponse> answerWithoutBody(const HTTPRequest &request) const;
    [[nodiscard]] static Message read(const JSONValue &object);
    [[nodiscard]] QByteArray answerAtOnce(const Message &message);
    [[nodiscard]] QCoro::Task<HTTPResponse> answerBatch(JSONValue batch);
    [[nodiscard]] QCoro::Task<QByteArray> handle(Message message);

    MCPAccess m_access;
    ToolSet &m_tools;
    QPointer<const QObject> m_state;
    QByteArray m_toolsResult; // made on first use
    Delay m_delay;
    Lifetime m_lifetime;
};

} // namespace Korvane
