#pragma once

#include <stop_token>

namespace Korvane {

/// Requests to end an operation that a remote client has asked for. Requested on the main thread
/// only. A stop callback must not end the operation inside request_stop(), but from the event loop.
struct CallStop
{
    /// The result is not wanted any more: the client has closed its connection, the server was
    /// stopped, or the call was canceled. The operation ends if it has not begun on the board.
    std::stop_token unwanted;
    /// The call was canceled: a program that it runs on the board is interrupted as well.
    std::stop_token canceled;
};

} // namespace Korvane
