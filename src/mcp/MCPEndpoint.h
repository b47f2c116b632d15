#pragma once

#include "mcp/HTTPResponse.h"
#include "mcp/MCPAccess.h"
#include "mcp/ToolSet.h"

#include <variant>
#include <vector>

namespace Korvane {

struct RPCMessage;

/// The steps of a POST that need the main thread, in the order of its messages.
struct ToolRequest
{
    struct Call
    {
        QByteArray id; // as JSON
        QString name;
        ToolArguments arguments;
    };
    struct Cancellation
    {
        QByteArray requestId; // as JSON
    };
    /// A QByteArray holds finished replies, separated by commas.
    using Step = std::variant<QByteArray, Call, Cancellation>;

    bool isBatch = false;
    /// The client's `Mcp-Session-Id`; empty when it sends none.
    QByteArray session = {};
    std::vector<Step> steps;
};

/// Answers the requests of an assistant as far as that needs no main thread: checks the access,
/// parses the JSON-RPC messages, answers all but tool calls and cancellations. Immutable and
/// thread-safe.
///
/// The messages and their answers are described in docs/formats/http-and-json-rpc.md.
class MCPEndpoint final
{
public:
    using Answer = std::variant<HTTPResponse, ToolRequest>;

    /// \p toolDefinitions is a JSON array.
    MCPEndpoint(MCPAccess access, const QByteArray &toolDefinitions);

    /// The response, or what the main thread must do for it.
    [[nodiscard]] Answer answer(const HTTPRequest &request) const;

    /// The response to a POST with these replies, separated by commas; 202 when there are none.
    [[nodiscard]] static HTTPResponse response(const QByteArray &replies, bool isBatch);
    /// The response to a batch whose replies would be longer than `maxBatchBytes`.
    [[nodiscard]] static HTTPResponse invalidRequest();

    /// The replies to a batch may be much larger than the batch: without a limit, a few megabytes
    /// of requests could cause gigabytes of replies. Limits the replies, and the memory of calls
    /// that are waiting.
    static constexpr qsizetype maxBatchBytes = qsizetype{64} * 1024 * 1024;

private:
    [[nodiscard]] QByteArray reply(const RPCMessage &message) const;

    MCPAccess m_access;
    QByteArray m_toolsResult;
};

} // namespace Korvane
