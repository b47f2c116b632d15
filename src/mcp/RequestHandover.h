#pragma once

#include "mcp/HTTPReply.h"
#include "mcp/HTTPRequest.h"

#include <QString>

#include <deque>
#include <mutex>
#include <optional>
#include <vector>

namespace Korvane {

/// Carries requests from the HTTP server's queue to the main thread, which is woken once for all
/// that have come meanwhile.
class RequestHandover final
{
public:
    struct Item
    {
        HTTPRequest request;
        HTTPReply reply;
    };

    RequestHandover();
    ~RequestHandover();
    RequestHandover(const RequestHandover &) = delete;
    RequestHandover &operator=(const RequestHandover &) = delete;

    /// Any thread. After `close` the request is answered with a 404 at once.
    void put(HTTPRequest request, HTTPReply reply);
    /// Any thread: the listener has failed.
    void putFailure(const QString &message);

    /// Readable while there is something to take. -1 when the system had no descriptor left.
    [[nodiscard]] int descriptor() const { return m_descriptor; }

    // The main thread only:

    /// To be called first whenever the descriptor is readable.
    void beginTurn();
    /// Nothing when all has been taken.
    [[nodiscard]] std::optional<Item> take();
    /// Ends a turn that has not taken all: the descriptor is readable again.
    void breakOff();
    [[nodiscard]] std::optional<QString> takeFailure();
    /// Drops what has not been taken.
    void close();

private:
    void wake();

    const int m_descriptor;
    std::deque<Item> m_taken; // the main thread's own

    std::mutex m_mutex;
    std::deque<Item> m_items;
    std::optional<QString> m_failure;
    bool m_isClosed = false;
};

} // namespace Korvane
