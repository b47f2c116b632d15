#include "app/VariablesStore.h"

#include "base/PythonResource.h"
#include "base/VariableRows.h"
#include "board/DeviceError.h"
#include "board/DeviceLink.h"
#include "board/ProgramRun.h"
#include "session/PythonRunner.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

constexpr auto variablesTimeout = 10s;

/// The program that prints the board's globals, after a marker.
QString variablesScript()
{
    return pythonResource(QLatin1StringView("app/variables.py"));
}

/// Reads what the program above printed; nothing when its form is unexpected.
std::optional<QList<PythonVariable>> parseVariables(const QString &output)
{
    static constexpr QStringView marker = u"__VARS__";
    const qsizetype found = output.indexOf(marker);
    if (found < 0)
        return std::nullopt;
    const QByteArray text = QStringView(output).sliced(found + marker.size()).trimmed().toUtf8();
    const auto rows = nlohmann::json::parse(text.begin(), text.end(), nullptr, false);
    return VariableRows::parse(rows, VariableRows::boardKeys);
}

} // namespace

VariablesStore::VariablesStore(PythonRunner &runner, DeviceLink &link, const ProgramRun &programRun,
                               QObject *parent)
    : QObject(parent)
    , m_runner(runner)
    , m_link(link)
    , m_programRun(programRun)
{
    // The rows are those of the other interpreter.
    for (const auto changed : {&DeviceLink::connected, &DeviceLink::ended})
        connect(&link, changed, this, [this] { setVariables({}); });
}

void VariablesStore::setVariables(const QList<PythonVariable> &variables)
{
    m_variables = variables;
    emit variablesChanged();
}

Async<void> VariablesStore::refreshVariables()
{
    return m_link.connectionState().isConnected() ? refreshFromBoard() : refreshFromSession();
}

Async<void> VariablesStore::restartLocalSession()
{
    const auto life = m_life.watch();
    const RunResult result = co_await m_runner.restart();
    if (!life)
        co_return DeviceError::closed();
    setVariables(result.variables);
    if (!result.error.isEmpty()) // no interpreter was found
        co_return Error{ErrorCode::File, result.error};
    co_return Result<void>();
}

Async<void> VariablesStore::refreshFromSession()
{
    const auto life = m_life.watch();
    const RunResult result = co_await m_runner.readVariables();
    if (life && !m_link.connectionState().isConnected())
        setVariables(result.variables);
    co_return Result<void>();
}

Async<void> VariablesStore::refreshFromBoard()
{
    if (m_link.deviceCommandInFlight() || m_programRun.deviceProgramRunning())
        co_return Result<void>();
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    const Result<QString> output =
        co_await m_link.executeOnDevice(variablesScript(), variablesTimeout);
    if (!life)
        co_return DeviceError::closed();
    if (connection != m_link.connectionNumber()) // these are the variables of another connection
        co_return Result<void>();
    if (!output) {
        Error error = output.error();
        error.message.prepend(QStringLiteral("Could not read variables: "));
        co_return error;
    }
    const auto variables = parseVariables(*output);
    if (!variables) {
        co_return Error{ErrorCode::Remote,
                        QStringLiteral("Could not read variables from the device")};
    }
    setVariables(*variables);
    co_return Result<void>();
}

} // namespace Korvane
