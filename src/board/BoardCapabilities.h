#pragma once

#include <QString>

#include <optional>

namespace Korvane {

/// What the MicroPython of the connected board offers to file transfers. Read once per connection.
struct BoardCapabilities
{
    /// Free bytes of the heap after a garbage collection; 0 when unknown.
    qint64 freeHeapBytes = 0;
    /// The module that has `a2b_base64`: "binascii", "ubinascii", or empty when there is none.
    QString base64Module;
    /// The same for `crc32`.
    QString crc32Module;
    bool hasSha256 = false;
    bool hasStat = false;
    bool hasRename = false;

    [[nodiscard]] bool hasCrc32() const { return !crc32Module.isEmpty(); }

    /// Reads what the script of `TransferScripts::capabilities` printed; nothing when that is not
    /// as expected.
    [[nodiscard]] static std::optional<BoardCapabilities> parse(const QString &output);
};

} // namespace Korvane
