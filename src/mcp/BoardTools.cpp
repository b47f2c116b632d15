#include "mcp/BoardTools.h"

#include "app/AppState.h"
#include "base/PythonResource.h"
#include "base/Utf8.h"
#include "base/VisibleText.h"
#include "board/BoardScripts.h"
#include "mcp/MCPToolError.h"
#include "mcp/ToolDefinitions.h"
#include "mcp/ToolTexts.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

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
    Answer (BoardTools::*run)(ToolArguments, CallStop);
};

BoardTools::BoardTools(AppState &state)
    : m_state(state)
    , m_queue(state.link())
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
        {u"list_device_files"_s, true, &BoardTools::listDeviceFiles},
        {u"read_device_file"_s, true, &BoardTools::readDeviceFile},
        {u"write_device_file"_s, true, &BoardTools::writeDeviceFile},
        {u"delete_device_file"_s, true, &BoardTools::deleteDeviceFile},
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
    if (tool->needsBoard && !isConnected())
        co_return MCPToolError::notConnected();

    OneShot<Result<QString>> &shot = m_calls.emplace_back();
    const auto position = std::prev(m_calls.end());
    work(tool, std::move(arguments), std::move(stop), position);
    auto answer = co_await shot.wait();
    if (!answer)
        co_return MCPToolError::closed();
    m_calls.erase(position);
    co_return *std::move(answer);
}

/// May end long after this was destroyed, when the board or the user answers.
QCoro::Task<void> BoardTools::work(const Tool *tool, ToolArguments arguments, CallStop stop,
                                   Calls::iterator call)
{
    const auto life = m_life.watch();
    auto answer = co_await (this->*tool->run)(std::move(arguments), std::move(stop));
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
        const BoardQueue::Turn turn = co_await m_queue.turn(stop);
        if (!life)
            co_return MCPToolError::closed();
        if (!turn)
            co_return MCPToolError::canceled();
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
    co_await m_state.deviceFiles().refreshDeviceFiles();
    if (!life)
        co_return MCPToolError::closed();
    if (!isConnected()) // unplugged meanwhile
        co_return MCPToolError::notOpened(port);
    co_return u"Connected to "_s + port + u'.';
}

BoardTools::Answer BoardTools::listDeviceFiles(ToolArguments arguments, CallStop stop)
{
    const auto life = m_life.watch();
    const QString folder = optional(arguments, pathKey, u"/"_s);
    const BoardQueue::Turn turn = co_await m_queue.turn(stop);
    if (!life)
        co_return MCPToolError::closed();
    if (!turn)
        co_return MCPToolError::canceled();
    DeviceFiles &files = m_state.deviceFiles();
    co_await files.refreshDeviceFiles();
    if (!life)
        co_return MCPToolError::closed();
    if (!isConnected())
        co_return MCPToolError::notConnected();
    if (const auto &error = files.listingError())
        co_return *error;
    const auto *children = files.deviceChildren(folder);
    if (!children)
        co_return MCPToolError::notADirectory(folder);
    co_return describe(folder, *children);
}

BoardTools::Answer BoardTools::readDeviceFile(ToolArguments arguments, CallStop stop)
{
    const auto life = m_life.watch();
    const auto path = required(arguments, pathKey);
    if (!path)
        co_return path.error();
    const BoardQueue::Turn turn = co_await m_queue.turn(stop);
    if (!life)
        co_return MCPToolError::closed();
    if (!turn)
        co_return MCPToolError::canceled();
    const auto bytes = co_await m_state.deviceFiles().readDeviceFile(*path, *path);
    if (!life)
        co_return MCPToolError::closed();
    if (!bytes)
        co_return failed(bytes.error());
    if (const auto text = Utf8::decodeStrict(*bytes))
        co_return *text;
    co_return *path + u" is %1 bytes of binary data (not valid UTF-8)."_s.arg(bytes->size());
}

BoardTools::Answer BoardTools::writeDeviceFile(ToolArguments arguments, CallStop stop)
{
    const auto life = m_life.watch();
    const auto path = required(arguments, pathKey);
    if (!path)
        co_return path.error();
    const auto content = required(arguments, contentKey);
    if (!content)
        co_return content.error();
    const QString size = QString::number(content->toUtf8().size());
    DeviceFiles &files = m_state.deviceFiles();

    if (m_state.programRun().deviceProgramRunning())
        co_return failed(MCPToolError::programRunning(u"Device write"_s));
    BoardQueue::Turn turn = co_await m_queue.turn(stop);
    if (!life)
        co_return MCPToolError::closed();
    if (!turn)
        co_return MCPToolError::canceled();

    WritePermit permit = files.permitWrite(*path);
    if (asksFirst()) {
        turn.reset(); // other calls continue while the question waits and is open
        DeviceFiles::WriteRequest request;
        request.path = *path;
        request.declined = MCPToolError::writeDeclined(*path);
        request.looksForPath = false;
        request.question = [this, path = *path, size, stop](bool) {
            UserPrompts::Confirmation question;
            question.asker = UserPrompts::Asker::Assistant;
            question.withdrawn = stop.unwanted;
            question.prepare = [this, path, size, stop, life = m_life.watch()] {
                return writeQuestion(path, size, stop, life);
            };
            return std::optional(std::move(question));
        };
        const auto granted = co_await files.requestWrite(std::move(request));
        if (!life)
            co_return MCPToolError::closed();
        if (!granted && stop.unwanted.stop_requested())
            co_return MCPToolError::canceled();
        if (!granted && !isConnected())
            co_return failed(MCPToolError::notConnected());
        if (!granted)
            co_return failed(granted.error());
        permit = *granted;
        turn = co_await m_queue.turn(stop);
        if (!life)
            co_return MCPToolError::closed();
        if (!turn)
            co_return MCPToolError::canceled();
    }
    permit.setAsker(UserPrompts::Asker::Assistant);
    const auto written = co_await files.writeTextToDevice(*content, permit, *path);
    if (!life)
        co_return MCPToolError::closed();
    if (!written)
        co_return failed(written.error());
    co_await files.refreshDeviceFiles();
    if (!life)
        co_return MCPToolError::closed();
    co_return u"Wrote "_s + size + u" bytes to "_s + *path + u'.';
}

BoardTools::Answer BoardTools::deleteDeviceFile(ToolArguments arguments, CallStop stop)
{
    const auto life = m_life.watch();
    const auto path = required(arguments, pathKey);
    if (!path)
        co_return path.error();
    DeviceFiles &files = m_state.deviceFiles();
    if (m_state.programRun().deviceProgramRunning())
        co_return failed(MCPToolError::programRunning(u"Delete"_s));
    BoardQueue::Turn turn = co_await m_queue.turn(stop);
    if (!life)
        co_return MCPToolError::closed();
    if (!turn)
        co_return MCPToolError::canceled();
    co_await files.refreshDeviceFiles();
    if (!life)
        co_return MCPToolError::closed();
    if (!isConnected())
        co_return MCPToolError::notConnected();
    if (const auto &error = files.listingError())
        co_return *error;
    const DeviceFileNode *found = files.deviceNode(*path);
    if (!found)
        co_return MCPToolError::notThere(*path);
    const DeviceFileNode node = *found; // valid beyond the next listing

    if (asksFirst()) {
        UserPrompts::Confirmation question;
        question.title = u"Let Claude delete “"_s + *path + u"”?"_s;
        question.message = node.isDirectory
            ? u"Removes the directory from "_s + deviceName() + u". It must be empty."_s
            : u"Removes %1 bytes from "_s.arg(node.size) + deviceName()
                + u". This cannot be undone."_s;
        question.confirmTitle = u"Delete"_s;
        question.withdrawn = stop.unwanted;
        turn.reset();
        question.asker = UserPrompts::Asker::Assistant;
        Error declined = MCPToolError::deletionDeclined(*path);
        const auto confirmed =
            co_await files.confirmAction(std::move(question), std::move(declined));
        if (!life)
            co_return MCPToolError::closed();
        if (!confirmed)
            co_return failed(confirmed.error());
        turn = co_await m_queue.turn(stop);
        if (!life)
            co_return MCPToolError::closed();
        if (!turn)
            co_return MCPToolError::canceled();
    }
    const auto deleted = co_await files.deleteDeviceNode(node);
    if (!life)
        co_return MCPToolError::closed();
    if (!deleted && !deleted.error().message.isEmpty())
        co_return failed(deleted.error());
    const bool exists = co_await files.deviceFileExists(*path);
    if (!life)
        co_return MCPToolError::closed();
    if (exists || !deleted)
        co_return MCPToolError::notDeleted(*path);
    co_return u"Deleted "_s + *path + u'.';
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
    const auto life = m_life.watch();
    const BoardQueue::Turn turn = co_await m_queue.turn(stop);
    if (!life)
        co_return MCPToolError::closed();
    if (!turn)
        co_return MCPToolError::canceled();
    const std::chrono::duration<double> timeout(timeoutSeconds);
    const auto execution =
        co_await m_state.link().executeOnDeviceRaw(std::move(code), timeout, stop);
    if (!execution && execution.error().code == ErrorCode::Cancelled)
        co_return MCPToolError::canceled();
    if (!execution)
        co_return execution.error();
    co_return describe(*execution);
}

BoardTools::Answer BoardTools::softReset(ToolArguments, CallStop)
{
    const auto life = m_life.watch();
    const auto reset = co_await m_state.link().softReset();
    if (!life)
        co_return MCPToolError::closed();
    if (!reset)
        co_return failed(reset.error());
    const bool isOver = co_await m_delay.sleep(resetPause);
    if (!isOver)
        co_return MCPToolError::closed();
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

/// The text of the question, at the time when it is opened. The board is asked whether the file
/// exists, unless it is busy: questions of the user must not wait for that.
QCoro::Task<std::optional<UserPrompts::Texts>> BoardTools::writeQuestion(QString path, QString size,
                                                                         CallStop stop,
                                                                         Lifetime::Watch life)
{
    if (!life || !isConnected())
        co_return std::nullopt;
    std::optional<bool> exists;
    if (m_queue.isFree()) {
        const BoardQueue::Turn turn = co_await m_queue.turn(stop);
        if (!life || !turn || !isConnected())
            co_return std::nullopt;
        const bool isThere = co_await m_state.deviceFiles().deviceFileExists(path);
        if (!life || !isConnected())
            co_return std::nullopt;
        exists = isThere;
    }
    const QString place = path + u" on "_s + deviceName();
    UserPrompts::Texts texts;
    texts.title = u"Let Claude write “"_s + path + u"”?"_s;
    if (!exists)
        texts.message = size + u" bytes, replacing the file at "_s + place
            + u" if there is one. The board is busy and can’t be asked."_s;
    else if (*exists)
        texts.message = size + u" bytes, replacing the file already at "_s + place + u'.';
    else
        texts.message = size + u" bytes, creating a new file on "_s + deviceName() + u'.';
    texts.confirmTitle = exists.value_or(true) ? u"Replace"_s : u"Write"_s;
    co_return texts;
}

bool BoardTools::isConnected() const
{
    return m_state.link().connectionState().isConnected();
}

bool BoardTools::asksFirst() const
{
    return !m_state.preferences().flag(Preferences::WriteWithoutAsking);
}

QString BoardTools::deviceName() const
{
    return isConnected() ? m_state.link().connectionState().port() : u"the device"_s;
}

Error BoardTools::failed(const Error &error)
{
    m_state.errors().report(error);
    return error;
}

} // namespace Korvane
