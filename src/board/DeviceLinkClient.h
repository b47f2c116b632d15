#pragma once

namespace Korvane {

/// What DeviceLink must know about the program on the board before it starts a command. Main thread
/// only.
class DeviceLinkClient
{
public:
    virtual ~DeviceLinkClient() = default;

    /// A streamed program is on the board: commands fail at once.
    [[nodiscard]] virtual bool deviceProgramRunning() const = 0;
    [[nodiscard]] virtual bool isPausedAtBreakpoint() const = 0;
    /// A streamed program has ended, but the end of its reply hasn't arrived: commands wait.
    [[nodiscard]] virtual bool isReplyEnding() const = 0;
};

} // namespace Korvane
