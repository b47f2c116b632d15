#pragma once

#include "mcp/ToolSet.h"

#include <QByteArray>

#include <optional>

namespace Korvane {

/// One JSON-RPC message: the members that Korvane reads. A member that is absent or of another type
/// than expected is empty.
struct RPCMessage
{
    bool isRequest = false; // has an id, so it is answered
    QByteArray id;          // as JSON
    QString method;

    // Members of `params`.
    QString toolName;        // name
    ToolArguments arguments; // arguments
    std::optional<QString> protocolVersion;
    QByteArray requestId; // as JSON
};

} // namespace Korvane
