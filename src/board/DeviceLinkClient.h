#pragma once

#include <QByteArray>

namespace Korvane {

/// What the link to the board asks of, and tells, the rest of the program. Called in the stated
/// order, on the main thread.
class DeviceLinkClient
{
public:
    virtual ~DeviceLinkClient() = default;

    /// A streamed program is on the board.
    [[nodiscard]] virtual bool deviceProgramRunning() const = 0;
    [[nodiscard]] virtual bool isPausedAtBreakpoint() const = 0;

    /// A new connection is about to be read: forget what is left of the stream before.
    virtual void deviceReaderStarting() = 0;
    /// Bytes that belong to no command.
    virtual void handleDeviceData(const QByteArray &chunk) = 0;
    /// The last step of connecting: show the board's side, start one listing.
    virtual void deviceConnected() = 0;
    /// The first step of losing the board: show what is left of the stream.
    virtual void flushDeviceStream() = 0;
    /// The link has ended: reset the board's tree and folder, the confirmations, and the flags of
    /// debugging and running.
    virtual void deviceLinkEnded() = 0;
};

} // namespace Korvane
