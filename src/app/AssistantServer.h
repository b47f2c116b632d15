#pragma once

namespace Korvane {

/// The interface of the assistant's server that the rest of the program uses: to start it with the
/// program and from a menu. It reports its state through AppState.
class AssistantServer
{
public:
    virtual ~AssistantServer() = default;

    /// Does nothing when it is running. A failure is an error line in the Shell.
    virtual void start() = 0;
    /// Returns when the server does not listen any more.
    virtual void stop() = 0;
    [[nodiscard]] virtual bool isRunning() const = 0;
};

} // namespace Korvane
