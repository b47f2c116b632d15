#pragma once

#include "mcp/HTTPRequest.h"

#include <QByteArrayView>

#include <functional>
#include <optional>

namespace Korvane {

/// Parses requests from the bytes of one connection, however these are split. The time is linear in
/// the bytes, and no more memory is used than for the bytes received. See
/// docs/formats/http-and-json-rpc.md.
class HTTPRequestParser final
{
public:
    static constexpr qsizetype maxHeadBytes = qsizetype{64} * 1024;
    static constexpr qsizetype maxBodyBytes = qsizetype{64} * 1024 * 1024;

    /// Called once for each request, when its head is complete.
    using HeadCheck = std::function<bool(const HTTPRequest &head)>;

    /// When \p isAuthorized returns false, the body is dropped as it arrives and the request is
    /// returned with an empty one. Without a check all bodies are kept.
    explicit HTTPRequestParser(HeadCheck isAuthorized = {});

    /// Adds received bytes; ignores them once isRefusing() returns true.
    void append(QByteArrayView bytes);

    /// The next complete request; nothing when more bytes are needed.
    [[nodiscard]] std::optional<HTTPRequest> next();

    /// A part of a request has arrived that `next` has not returned yet.
    [[nodiscard]] bool isInsideRequest() const { return m_hasHead || m_start < m_buffer.size(); }
    /// The check has accepted at least one head.
    [[nodiscard]] bool hasSeenAuthorized() const { return m_hasSeenAuthorized; }

    /// A length or size was beyond the bounds. The stream cannot be parsed any further: nothing is
    /// accepted from then on.
    [[nodiscard]] bool isRefusing() const { return m_isRefusing; }

private:
    bool readHead();
    bool parseHead(QByteArrayView head);
    void discard();
    void refuse();
    void takeBody(QByteArrayView bytes);

    HeadCheck m_isAuthorized;
    bool m_hasSeenAuthorized = false;
    QByteArray m_buffer;      // from m_start: what has not been consumed; empty during a body
    qsizetype m_start = 0;    // number of consumed bytes at the front of m_buffer
    qsizetype m_searched = 0; // from m_start: no end of a head begins before this
    bool m_hasHead = false;   // m_request has its head; its body may be incomplete
    bool m_isBodyKept = true;
    qsizetype m_bodyLeft = 0;
    HTTPRequest m_request;
    bool m_isRefusing = false;
};

} // namespace Korvane
