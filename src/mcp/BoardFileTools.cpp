#include "mcp/BoardFileTools.h"

#include "app/AppState.h"
#include "base/Utf8.h"
#include "mcp/MCPToolError.h"
#include "mcp/ToolTexts.h"

#include <utility>

namespace Korvane {

using namespace Qt::StringLiterals;
using namespace ToolTexts;

BoardFileTools::BoardFileTools(AppState &state, BoardQueue &queue)
    : m_state(state)
    , m_queue(queue)
{
}

BoardFileTools::Answer BoardFileTools::list(ToolArguments arguments, CallStop stop)
{
    const auto life = m_life.watch();
    const QString folder = optional(arguments, pathKey, u"/"_s);
    const auto turn = co_await m_queue.turn(stop);
    if (!turn)
        co_return turn.error();
    DeviceFiles &files = m_state.deviceFiles();
    const WritePermit permit = files.permitWrite(folder); // for this connection
    co_await files.refreshDeviceFiles();
    if (!life)
        co_return MCPToolError::closed();
    if (!isConnected())
        co_return MCPToolError::notConnected();
    if (!files.check(permit))
        co_return MCPToolError::boardReplaced();
    if (const auto &error = files.listingError())
        co_return *error;
    const auto *children = files.deviceChildren(folder);
    if (!children)
        co_return MCPToolError::notADirectory(folder);
    co_return describe(folder, *children);
}

BoardFileTools::Answer BoardFileTools::read(ToolArguments arguments, CallStop stop)
{
    const auto life = m_life.watch();
    const auto path = required(arguments, pathKey);
    if (!path)
        co_return path.error();
    const auto turn = co_await m_queue.turn(stop);
    if (!turn)
        co_return turn.error();
    const auto bytes = co_await m_state.deviceFiles().readDeviceFile(*path, *path);
    if (!life)
        co_return MCPToolError::closed();
    if (!bytes)
        co_return failed(bytes.error());
    if (const auto text = Utf8::decodeStrict(*bytes))
        co_return *text;
    co_return *path + u" is %1 bytes of binary data (not valid UTF-8)."_s.arg(bytes->size());
}

BoardFileTools::Answer BoardFileTools::write(ToolArguments arguments, CallStop stop)
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
    auto turn = co_await m_queue.turn(stop);
    if (!turn)
        co_return turn.error();

    WritePermit permit = files.permitWrite(*path);
    if (asksFirst()) {
        turn->reset(); // other calls continue while the question waits and is open
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
        if (!turn)
            co_return turn.error();
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

BoardFileTools::Answer BoardFileTools::remove(ToolArguments arguments, CallStop stop)
{
    const auto life = m_life.watch();
    const auto path = required(arguments, pathKey);
    if (!path)
        co_return path.error();
    DeviceFiles &files = m_state.deviceFiles();
    if (m_state.programRun().deviceProgramRunning())
        co_return failed(MCPToolError::programRunning(u"Delete"_s));
    auto turn = co_await m_queue.turn(stop);
    if (!turn)
        co_return turn.error();
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
        turn->reset();
        question.asker = UserPrompts::Asker::Assistant;
        Error declined = MCPToolError::deletionDeclined(*path);
        const auto confirmed =
            co_await files.confirmAction(std::move(question), std::move(declined));
        if (!life)
            co_return MCPToolError::closed();
        if (!confirmed)
            co_return failed(confirmed.error());
        turn = co_await m_queue.turn(stop);
        if (!turn)
            co_return turn.error();
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

/// The text of the question, at the time when it is opened. The board is asked whether the file
/// exists, unless it is busy: questions of the user must not wait for that.
QCoro::Task<std::optional<UserPrompts::Texts>> BoardFileTools::writeQuestion(QString path,
                                                                             QString size,
                                                                             CallStop stop,
                                                                             Lifetime::Watch life)
{
    if (!life || !isConnected())
        co_return std::nullopt;
    std::optional<bool> exists;
    if (m_queue.isFree()) {
        const auto turn = co_await m_queue.turn(stop);
        if (!turn || !isConnected())
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

bool BoardFileTools::isConnected() const
{
    return m_state.link().connectionState().isConnected();
}

bool BoardFileTools::asksFirst() const
{
    return !m_state.preferences().flag(Preferences::WriteWithoutAsking);
}

QString BoardFileTools::deviceName() const
{
    return isConnected() ? m_state.link().connectionState().port() : u"the device"_s;
}

Error BoardFileTools::failed(const Error &error)
{
    m_state.errors().report(error);
    return error;
}

} // namespace Korvane
