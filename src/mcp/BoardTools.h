#pragma once

#include "base/Delay.h"
#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "mcp/BoardFileTools.h"
#include "mcp/BoardQueue.h"
#include "mcp/ToolSet.h"

#include <list>

namespace Korvane {

class AppState;

/// The tools for the board. They call the same operations as the window: each call writes a line to
/// the Shell, and writing and deleting need the user's confirmation.
class BoardTools final : public ToolSet
{
public:
    /// \p state must outlive this.
    explicit BoardTools(AppState &state);

    [[nodiscard]] QByteArray definitions() const override;
    /// A question to the user delays its own call until it is answered, and no other.
    [[nodiscard]] QCoro::Task<Result<QString>> call(QString name, ToolArguments arguments,
                                                    CallStop stop) override;

private:
    using Answer = QCoro::Task<Result<QString>>;
    using Calls = std::list<OneShot<Result<QString>>>;
    struct Tool;

    [[nodiscard]] static const Tool *find(const QString &name);
    [[nodiscard]] Answer start(const Tool &tool, ToolArguments arguments, CallStop stop);
    QCoro::Task<void> work(const Tool *tool, ToolArguments arguments, CallStop stop,
                           Calls::iterator call);

    [[nodiscard]] Answer deviceStatus(ToolArguments arguments, CallStop stop);
    [[nodiscard]] Answer connectDevice(ToolArguments arguments, CallStop stop);
    [[nodiscard]] Answer runCode(ToolArguments arguments, CallStop stop);
    [[nodiscard]] Answer runFile(ToolArguments arguments, CallStop stop);
    [[nodiscard]] Answer softReset(ToolArguments arguments, CallStop stop);
    [[nodiscard]] Answer openInEditor(ToolArguments arguments, CallStop stop);

    [[nodiscard]] Answer run(QString code, double timeoutSeconds, CallStop stop);
    [[nodiscard]] bool isConnected() const;

    AppState &m_state;
    BoardQueue m_queue;
    BoardFileTools m_files;
    Calls m_calls; // without an answer yet
    Delay m_delay;
    Lifetime m_life;
};

} // namespace Korvane
