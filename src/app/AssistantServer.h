#pragma once

namespace Korvane {

/// The interface of the assistant's server that AppState uses: to start it with the program. The
/// server reports its state through AppState.
class AssistantServer
{
public:
    virtual ~AssistantServer() = default;

    /// Does nothing when it is running. A failure is an error line in the Shell.
    virtual void start() = 0;
};

} // namespace Korvane
