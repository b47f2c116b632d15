#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"
#include "base/UserPrompts.h"
#include "board/BoardRecords.h"
#include "board/WritePermit.h"
#include "mcp/BoardQueue.h"
#include "mcp/ToolSet.h"

#include <memory>

namespace Korvane {

class AppState;

/// The tools for the files of the board. Each returns the tool's text, or the error that the client
/// gets. The board must be connected when a call begins. Main thread only.
class BoardFileTools final
{
public:
    using Answer = QCoro::Task<Result<QString>>;

    /// Both must outlive this.
    BoardFileTools(AppState &state, BoardQueue &queue);

    [[nodiscard]] Answer list(ToolArguments arguments, CallStop stop);
    [[nodiscard]] Answer read(ToolArguments arguments, CallStop stop);
    /// Writes the file after the user's confirmation, or without a question while
    /// Preferences::WriteWithoutAsking is on.
    [[nodiscard]] Answer write(ToolArguments arguments, CallStop stop);
    /// Deletes a file or an empty folder, after the same confirmation.
    [[nodiscard]] Answer remove(ToolArguments arguments, CallStop stop);

private:
    class Question;

    [[nodiscard]] Async<bool> confirmWithoutHoldingBoard(UserPrompts::Confirmation question,
                                                         std::shared_ptr<BoardQueue::Access> held,
                                                         CallStop stop, Lifetime::Watch life);
    [[nodiscard]] Async<UserPrompts::Texts> writeQuestion(WritePermit permit, QString size,
                                                          CallStop stop, Lifetime::Watch life);
    [[nodiscard]] Async<UserPrompts::Texts> removeQuestion(WritePermit permit,
                                                           std::shared_ptr<DeviceFileNode> node,
                                                           CallStop stop, Lifetime::Watch life);
    [[nodiscard]] Async<DeviceFileNode> find(WritePermit permit, CallStop stop);
    /// Whether a call that began with \p permit may change the board now; \p operation is for the
    /// message. To be tested after each wait.
    [[nodiscard]] Result<void> check(const CallStop &stop, const WritePermit &permit,
                                     const QString &operation);
    [[nodiscard]] Error refusalReason(const Question &question, const Error &declined,
                                      const Result<void> &ready);
    [[nodiscard]] bool isConnected() const;
    [[nodiscard]] bool asksFirst() const;
    [[nodiscard]] QString deviceName() const;
    /// Reports the failure of an operation in the Shell too, and returns it.
    [[nodiscard]] Error failed(const Error &error);

    AppState &m_state;
    BoardQueue &m_queue;
    Lifetime m_life;
};

} // namespace Korvane
