#pragma once

#include "mcp/HTTPRequest.h"

namespace Korvane {

/// Checks whether a request may use the endpoint: it must be for its path and contain the token. A
/// value that can be used on any thread.
class MCPAccess final
{
public:
    /// \p token is not empty.
    explicit MCPAccess(const QByteArray &token);

    [[nodiscard]] bool isForEndpoint(const HTTPRequest &request) const;
    /// Takes the same time wherever a wrong token first differs.
    [[nodiscard]] bool hasToken(const HTTPRequest &request) const;

private:
    QByteArray m_authorization;
};

} // namespace Korvane
