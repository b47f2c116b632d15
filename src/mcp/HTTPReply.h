#pragma once

#include "mcp/HTTPResponse.h"
#include "mcp/Mailbox.h"

#include <QtGlobal>

#include <memory>

namespace Korvane {

/// The response to one request, as posted to the server's thread.
struct HTTPDelivery
{
    quint64 connection = 0;
    qsizetype requestBytes = 0;
    HTTPResponse response;
};

/// Answers one request: once, at any time, from any thread. Does nothing when called again, or when
/// the connection or the server has been closed meanwhile.
class HTTPReply final
{
public:
    using Mailbox = Korvane::Mailbox<HTTPDelivery>;

    /// \p requestBytes is what the request adds to HTTPLoad::bytes while it is unanswered.
    HTTPReply(std::shared_ptr<Mailbox> mailbox, quint64 connection, qsizetype requestBytes);
    HTTPReply(HTTPReply &&) noexcept = default;
    HTTPReply &operator=(HTTPReply &&) noexcept = default;

    void operator()(HTTPResponse response);

    /// The id of the connection that the request came from; unique within one server.
    [[nodiscard]] quint64 connection() const { return m_connection; }

private:
    std::shared_ptr<Mailbox> m_mailbox; // null once answered
    quint64 m_connection;
    qsizetype m_requestBytes;
};

} // namespace Korvane
