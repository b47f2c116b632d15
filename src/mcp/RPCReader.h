#pragma once

#include "mcp/RPCMessage.h"

#include <functional>

namespace Korvane {

/// What the body of a request is.
enum class RPCBody {
    NotJSON, // or a single value that is neither an object nor an array
    Invalid, // an array with anything but objects in it
    Message,
    Batch,
};

/// Reads \p json and calls \p take for each message, in order. Messages are reported before the
/// text after them has been read: drop them when the result is `NotJSON` or `Invalid`.
///
/// The text must be UTF-8 without a byte-order mark and without NUL, strict JSON, with all numbers
/// in the range of a double. Nesting needs memory, but no stack. Of members with the same name the
/// last counts. An id keeps its value: an integer up to 64 bits is exact, any other number keeps
/// its digits; white space and escapes that are not needed are dropped. Thread-safe.
[[nodiscard]] RPCBody readMessages(QByteArrayView json,
                                   const std::function<void(RPCMessage)> &take);

} // namespace Korvane
