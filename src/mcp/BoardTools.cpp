#include "mcp/BoardTools.h"

#include "app/AppState.h"
#include "base/PythonResource.h"
#include "board/BoardScripts.h"
#include "mcp/MCPToolError.h"
#include "mcp/ToolDefinitions.h"
#include "mcp/ToolTexts.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>
#include <variant>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr auto statusTimeout = 5s;
constexpr double runCodeTimeoutSeconds = 10;
constexpr double runFileTimeoutSeconds = 30;
constexpr auto resetPause = 1500ms; // until boot.py and main.py have run, on most boards

using namespace ToolTexts;

const QString timeoutKey = u"timeout"_s;

QString statusScript()
{
    return pythonResource(QLatin1StringView("mcp/scripts/status.py"));
}

} // namespace

struct BoardTools::Tool
{
    QString name;
    bool needsBoard;
    std::variant<Answer (BoardTools::*)(ToolArguments, CallStop),
                 Answer (BoardFileTools::*)(ToolArguments, CallStop)>
        run;
};

BoardTools::BoardTools(AppState &state)
    : m_state(state)
    , m_queue(state.link())
    , m_files(state, m_queue)
{
}

QByteArray BoardTools::definitions() const
{
    return toolDefinitions();
}

const BoardTools::Tool *BoardTools::find(const QString &name)
{
    static const Tool tools[] = {
        {u"device_status"_s, false, &BoardTools::deviceStatus},
        {u"connect_device"_s, false, &BoardTools::connectDevice},
        {u"list_device_files"_s, true, &BoardFileTools::list},
        {u"read_device_file"_s, true, &BoardFileTools::read},
        {u"write_device_file"_s, true, &BoardFileTools::write},
        {u"delete_device_file"_s, true, &BoardFileTools::remove},
        {u"run_code"_s, true, &BoardTools::runCode},
        {u"run_file"_s, true, &BoardTools::runFile},
        {u"soft_reset"_s, true, &BoardTools::softReset},
        {u"open_in_editor"_s, false, &BoardTools::openInEditor},
    };
    const auto found = std::find_if(std::begin(tools), std::end(tools),
                                    [&](const Tool &tool) { return tool.name == name; });
    return found == std::end(tools) ? nullptr : found;
}

QCoro::Task<Result<QString>> BoardTools::call(QString name, ToolArguments arguments, CallStop stop)
{
    m_state.shell().appendInfo(logLine(name, arguments));
    const Tool *tool = find(name);
    if (!tool)
        co_return MCPToolError::unknownTool(name);
    if (const auto names = checkNames(arguments); !names)
        co_return names.error();
    if (tool->needsBoard && !isConnected())
        co_return MCPToolError::notConnected();

    const auto life = m_life.watch();
    OneShot<Result<QString>> &shot = m_calls.emplace_back();
    const auto position = std::prev(m_calls.end());
    m_state.setAssistantCalls(static_cast<qsizetype>(m_calls.size()));
    work(tool, std::move(arguments), std::move(stop), position);
    auto answer = co_await shot.wait();
    if (!answer || !life) // the destructor resumes calls that have their answer, too
        co_return MCPToolError::closed();
    m_calls.erase(position);
    m_state.setAssistantCalls(static_cast<qsizetype>(m_calls.size()));
    co_return *std::move(answer);
}

BoardTools::Answer BoardTools::start(const Tool &tool, ToolArguments arguments, CallStop stop)
{
    if (const auto *const run =
            std::get_if<Answer (BoardFileTools::*)(ToolArguments, CallStop)>(&tool.run))
        return (m_files.**run)(std::move(arguments), std::move(stop));
    return (this->*std::get<0>(tool.run))(std::move(arguments), std::move(stop));
}

/// May end long after this was destroyed, when the board or the user answers.
QCoro::Task<void> BoardTools::work(const Tool *tool, ToolArguments arguments, CallStop stop,
                                   Calls::iterator call)
{
    const auto life = m_life.watch();
    Answer answering = start(*tool, std::move(arguments), std::move(stop));
    auto answer = co_await std::move(answering);
    if (life)
        call->deliver(std::move(answer));
}

BoardTools::Answer BoardTools::deviceStatus(ToolArguments, CallStop stop)
{
    const auto life = m_life.watch();
    DeviceLink &link = m_state.link();
    QString connection = u"Not Connected"_s;
    if (isConnected())
        connection = link.connectionState().port();
    else if (link.connectionState().kind() == DeviceConnectionState::Kind::Connecting)
        connection = u"Connecting…"_s;
    const QStringList &ports = link.availablePorts();
    QStringList lines{
        u"Connection: "_s + connection,
        u"Available ports: "_s + (ports.isEmpty() ? u"none"_s : ports.join(u", "_s)),
        u"Device directory: "_s + m_state.deviceFiles().deviceWorkingDir(),
        u"Local directory: "_s + m_state.localFiles().localWorkingDir(),
    };
    if (const EditorFile *file = m_state.documents().selectedFile())
        lines << u"Editor: "_s + file->name()
                + (file->isModified() ? u" (unsaved changes)"_s : u""_s);
    if (isConnected()) {
        const auto access = co_await m_queue.acquire(stop);
        if (!access)
            co_return access.error();
        const auto version = co_await link.executeOnDevice(statusScript(), statusTimeout);
        if (!life)
            co_return MCPToolError::closed();
        if (version)
            lines << u"MicroPython: "_s + version->trimmed().replace(u'\n', u" — "_s);
    }
    co_return lines.join(u'\n');
}

BoardTools::Answer BoardTools::connectDevice(ToolArguments arguments, CallStop)
{
    const auto life = m_life.watch();
    DeviceLink &link = m_state.link();
    if (isConnected())
        co_return u"Already connected to "_s + link.connectionState().port() + u'.';
    link.refreshPorts();
    QString port = optional(arguments, portKey);
    if (port.isEmpty()) {
        const QStringList &ports = link.availablePorts();
        if (ports.isEmpty())
            co_return MCPToolError::noPorts();
        if (ports.size() > 1)
            co_return MCPToolError::severalPorts(ports);
        port = ports.first();
    }
    if (const auto opened = link.connectDevice(port); !opened) {
        m_state.errors().report(opened.error());
        co_return MCPToolError::notOpened(port);
    }
    const int connection = link.connectionNumber();
    co_await m_state.deviceFiles().refreshDeviceFiles();
    if (!life)
        co_return MCPToolError::closed();
    if (connection != link.connectionNumber()) // unplugged meanwhile
        co_return MCPToolError::notOpened(port);
    co_return u"Connected to "_s + port + u'.';
}

BoardTools::Answer BoardTools::runCode(ToolArguments arguments, CallStop stop)
{
    const auto code = required(arguments, codeKey);
    if (!code)
        co_return code.error();
    for (const QChar character : *code) {
        if (character >= QChar(1) && character <= QChar(4))
            co_return MCPToolError::controlCharacter(character);
    }
    const double timeout = arguments.number(timeoutKey).value_or(runCodeTimeoutSeconds);
    co_return co_await run(*code, timeout, std::move(stop));
}

BoardTools::Answer BoardTools::runFile(ToolArguments arguments, CallStop stop)
{
    const auto path = required(arguments, pathKey);
    if (!path)
        co_return path.error();
    const QString code = u"exec(open("_s + BoardScripts::pathLiteral(*path) + u").read())"_s;
    const double timeout = arguments.number(timeoutKey).value_or(runFileTimeoutSeconds);
    co_return co_await run(code, timeout, std::move(stop));
}

BoardTools::Answer BoardTools::run(QString code, double timeoutSeconds, CallStop stop)
{
    if (!std::isfinite(timeoutSeconds) || timeoutSeconds < 0)
        co_return MCPToolError::badTimeout();
    const auto access = co_await m_queue.acquire(stop);
    if (!access)
        co_return access.error();
    const std::chrono::duration<double> timeout(timeoutSeconds);
    const auto execution =
        co_await m_state.link().executeOnDeviceRaw(std::move(code), timeout, stop);
    if (!execution && execution.error().code == ErrorCode::Canceled)
        co_return MCPToolError::canceled();
    if (!execution)
        co_return execution.error();
    co_return describe(*execution);
}

BoardTools::Answer BoardTools::softReset(ToolArguments, CallStop)
{
    const auto life = m_life.watch();
    const int connection = m_state.link().connectionNumber();
    const auto reset = co_await m_state.link().softReset();
    if (!life)
        co_return MCPToolError::closed();
    if (!reset) {
        m_state.errors().report(reset.error());
        co_return reset.error();
    }
    const bool isOver = co_await m_delay.sleep(resetPause);
    if (!isOver)
        co_return MCPToolError::closed();
    if (connection != m_state.link().connectionNumber())
        co_return MCPToolError::notConnected();
    co_return u"Soft reset sent. boot.py and main.py have run again."_s;
}

BoardTools::Answer BoardTools::openInEditor(ToolArguments arguments, CallStop)
{
    const auto name = required(arguments, nameKey);
    if (!name)
        co_return name.error();
    const auto content = required(arguments, contentKey);
    if (!content)
        co_return content.error();
    m_state.documents().openTextInEditor(*name, *content);
    co_return u"Opened "_s + *name
        + u" in the editor. It is not on the device until you write it there."_s;
}

bool BoardTools::isConnected() const
{
    return m_state.link().connectionState().isConnected();
}

} // namespace Korvane
