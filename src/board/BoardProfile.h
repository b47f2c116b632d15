#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"
#include "board/BoardCapabilities.h"

namespace Korvane {

class DeviceLink;

/// The capabilities of the connected board's MicroPython, read by one command for each connection
/// at most, and the operations whose program depends on it. Main thread only.
class BoardProfile final
{
public:
    /// \p link must outlive this.
    explicit BoardProfile(DeviceLink &link);

    /// Reads them from the board unless they were read on this connection. Errors: those of
    /// DeviceLink, `Remote` when the answer is not valid.
    [[nodiscard]] Async<BoardCapabilities> capabilities();
    /// Nothing until they have been read on this connection.
    [[nodiscard]] std::optional<BoardCapabilities> known() const;

    /// Lists the whole board: what DeviceListing::parse reads. Errors: those of DeviceLink.
    [[nodiscard]] Async<QString> listing();
    /// \p path, which begins with a slash, as the board's functions expect it: see
    /// BoardCapabilities::nativePath. Asks the board only while nothing about it is known.
    [[nodiscard]] Async<QString> nativePath(QString path);
    /// The board's reply, with "__EXISTS__1" or "__EXISTS__0" for \p path.
    [[nodiscard]] Async<QString> existsReply(QString path);

private:
    /// True when a listing has shown that the board has `json`, and `os.stat` for every path.
    [[nodiscard]] bool isListingComplete() const;

    DeviceLink &m_link;
    std::optional<BoardCapabilities> m_capabilities;
    int m_capabilitiesConnection = 0;
    int m_listedConnection = 0;
    Lifetime m_life;
};

} // namespace Korvane
