#pragma once

namespace Korvane {

/// What the program knows of the server through which an assistant reaches it: enough to start it
/// with the program and from a menu. It reports what happens through AppState.
class AssistantServer
{
public:
    virtual ~AssistantServer() = default;

    /// Does nothing when it is running. A failure is an error line in the Shell.
    virtual void start() = 0;
    /// Returns when nothing listens any more.
    virtual void stop() = 0;
    [[nodiscard]] virtual bool isRunning() const = 0;
};

} // namespace Korvane
