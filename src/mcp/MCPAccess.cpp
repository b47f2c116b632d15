#include "mcp/MCPAccess.h"

namespace Korvane {

MCPAccess::MCPAccess(const QByteArray &token)
    : m_authorization("Bearer " + token)
{
}

bool MCPAccess::isForEndpoint(const HTTPRequest &request) const
{
    return request.path.startsWith("/mcp");
}

bool MCPAccess::hasToken(const HTTPRequest &request) const
{
    static const QByteArray headerName = QByteArrayLiteral("authorization");
    const auto header = request.headers.find(headerName);
    if (header == request.headers.end())
        return false;
    const QByteArray &given = header->second;
    unsigned difference = given.size() != m_authorization.size();
    for (qsizetype i = 0; i < given.size(); ++i)
        difference |= unsigned(given[i] ^ m_authorization[i % m_authorization.size()]);
    return difference == 0;
}

} // namespace Korvane
