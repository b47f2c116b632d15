#pragma once

#include "base/Delay.h"
#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "base/UserPrompts.h"
#include "mcp/ToolSet.h"

#include <QObject>

#include <list>

namespace Korvane {

class AppState;
struct DeviceExecution;

/// The tools with which an assistant sees and works with the board. They go through the same
/// operations as the window, so that the Shell shows what the assistant does, and what cannot be
/// taken back waits for the person's yes.
class BoardTools final : public ToolSet
{
public:
    /// \p state must outlive this.
    explicit BoardTools(AppState &state);

    [[nodiscard]] QByteArray definitions() const override;
    /// A question to the person holds its own call up, for as long as they take, and no other.
    [[nodiscard]] QCoro::Task<Result<QString>> call(QString name, ToolArguments arguments,
                                                    CallStop stop) override;

private:
    using Answer = QCoro::Task<Result<QString>>;
    using Calls = std::list<OneShot<Result<QString>>>;
    struct Tool;

    [[nodiscard]] static const Tool *find(const QString &name);
    QCoro::Task<void> work(const Tool *tool, ToolArguments arguments, Calls::iterator call);

    [[nodiscard]] Answer deviceStatus(ToolArguments arguments);
    [[nodiscard]] Answer connectDevice(ToolArguments arguments);
    [[nodiscard]] Answer listDeviceFiles(ToolArguments arguments);
    [[nodiscard]] Answer readDeviceFile(ToolArguments arguments);
    [[nodiscard]] Answer writeDeviceFile(ToolArguments arguments);
    [[nodiscard]] Answer deleteDeviceFile(ToolArguments arguments);
    [[nodiscard]] Answer runCode(ToolArguments arguments);
    [[nodiscard]] Answer runFile(ToolArguments arguments);
    [[nodiscard]] Answer softReset(ToolArguments arguments);
    [[nodiscard]] Answer openInEditor(ToolArguments arguments);

    [[nodiscard]] Answer run(QString code, double timeoutSeconds);
    [[nodiscard]] UserPrompts::Confirmation writeQuestion(const QString &path, const QString &size,
                                                          bool exists) const;
    [[nodiscard]] bool isConnected() const;
    [[nodiscard]] bool asksFirst() const;
    [[nodiscard]] QString deviceName() const;
    /// Reports the failure of an operation in the Shell too, and returns it.
    [[nodiscard]] Error failed(const Error &error);

    AppState &m_state;
    Calls m_calls; // without an answer yet
    Delay m_delay;
    Lifetime m_life;
};

} // namespace Korvane
