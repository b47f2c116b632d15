#pragma once

#include <QString>

#include <optional>

namespace Korvane {

/// The modules and functions of the connected board's MicroPython that file operations and
/// transfers use. Read at most once per connection (BoardProfile).
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
    bool hasJson = false;
    /// `os.size`, on boards without `os.stat`.
    bool hasSize = false;
    /// There are no folders, and names of files don't begin with a slash.
    bool isFlat = false;

    [[nodiscard]] bool hasCrc32() const { return !crc32Module.isEmpty(); }
    /// `os.stat` accepts absolute paths.
    [[nodiscard]] bool hasStatOfPaths() const { return hasStat && !isFlat; }
    /// \p path, which begins with a slash, as the functions of the board expect it.
    [[nodiscard]] QString nativePath(const QString &path) const
    {
        return isFlat && path.startsWith(u'/') ? path.sliced(1) : path;
    }

    /// Reads what the script of `TransferScripts::capabilities` printed; nothing when that is not
    /// as expected.
    [[nodiscard]] static std::optional<BoardCapabilities> parse(const QString &output);
};

} // namespace Korvane
