#include "mcp/HTTPReply.h"

#include <utility>

namespace Korvane {

HTTPReply::HTTPReply(std::shared_ptr<Mailbox> mailbox, quint64 connection, qsizetype requestBytes)
    : m_mailbox(std::move(mailbox))
    , m_connection(connection)
    , m_requestBytes(requestBytes)
{
}

void HTTPReply::operator()(HTTPResponse response)
{
    if (const auto mailbox = std::exchange(m_mailbox, nullptr))
        (void)mailbox->post({m_connection, m_requestBytes, std::move(response)});
}

} // namespace Korvane
