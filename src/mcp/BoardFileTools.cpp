#include "mcp/BoardFileTools.h"

#include "app/AppState.h"
#include "base/Utf8.h"
#include "board/DeviceLink.h"
#include "board/QuestionWithdrawal.h"
#include "mcp/MCPToolError.h"
#include "mcp/ToolTexts.h"

#include <functional>
#include <memory>
#include <stop_token>
#include <utility>

namespace Korvane {

using namespace Qt::StringLiterals;
using namespace ToolTexts;

namespace {

const QString writeOperation = u"Device write"_s;
const QString deleteOperation = u"Delete"_s;

} // namespace

/// A question of one call. It ends, waiting or open, when the call is not wanted any more or the
/// connection to the board ends.
class BoardFileTools::Question final
{
public:
    using MakeTexts = std::function<Async<UserPrompts::Texts>()>;

    Question(DeviceLink &link, const std::stop_token &unwanted)
        : m_end(link, unwanted)
    {
    }

    /// To be asked once, and while this exists. It is not asked when \p makeTexts fails.
    [[nodiscard]] UserPrompts::Confirmation confirmation(MakeTexts makeTexts)
    {
        UserPrompts::Confirmation confirmation;
        confirmation.asker = UserPrompts::Asker::Assistant;
        confirmation.withdrawn = m_end.token();
        confirmation.prepare = [notAsked = m_notAsked, makeTexts = std::move(makeTexts)] {
            return prepare(makeTexts(), notAsked);
        };
        return confirmation;
    }
    /// Why it was not asked.
    [[nodiscard]] const std::optional<Error> &notAsked() const { return *m_notAsked; }
    [[nodiscard]] bool isWithdrawn() const { return m_end.isWithdrawn(); }

private:
    static QCoro::Task<std::optional<UserPrompts::Texts>> prepare(
        Async<UserPrompts::Texts> making, std::shared_ptr<std::optional<Error>> notAsked)
    {
        const auto texts = co_await std::move(making);
        if (texts)
            co_return *texts;
        *notAsked = texts.error();
        co_return std::nullopt;
    }

    QuestionWithdrawal m_end;
    /// Shared with the preparation, which may end after this when the question ends before it.
    std::shared_ptr<std::optional<Error>> m_notAsked = std::make_shared<std::optional<Error>>();
};

BoardFileTools::BoardFileTools(AppState &state, BoardQueue &queue)
    : m_state(state)
    , m_queue(queue)
{
}

BoardFileTools::Answer BoardFileTools::list(ToolArguments arguments, CallStop stop)
{
    const auto life = m_life.watch();
    const QString folder = optional(arguments, pathKey, u"/"_s);
    const auto access = co_await m_queue.acquire(stop);
    if (!access)
        co_return access.error();
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
    const auto access = co_await m_queue.acquire(stop);
    if (!access)
        co_return access.error();
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
    WritePermit permit = files.permitWrite(*path);

    if (const auto ready = check(stop, permit, writeOperation); !ready)
        co_return ready.error();
    auto access = co_await m_queue.acquire(stop);
    if (!access)
        co_return access.error();
    if (const auto ready = check(stop, permit, writeOperation); !ready)
        co_return ready.error();

    if (asksFirst()) {
        access->reset(); // other calls continue while the question waits and is open
        Question question(m_state.link(), stop.unwanted);
        DeviceFiles::WriteRequest request;
        request.path = *path;
        request.declined = MCPToolError::writeDeclined(*path);
        request.looksForPath = false;
        request.question = [this, &question, permit, size, stop](bool) {
            return std::optional(
                question.confirmation([this, permit, size, stop, life = m_life.watch()] {
                    return writeQuestion(permit, size, stop, life);
                }));
        };
        const auto granted = co_await files.requestWrite(std::move(request));
        if (!life)
            co_return MCPToolError::closed();
        if (!granted)
            co_return refusalReason(question, granted.error(), check(stop, permit, writeOperation));
        permit = *granted;
        access = co_await m_queue.acquire(stop);
        if (!access)
            co_return access.error();
        if (const auto ready = check(stop, permit, writeOperation); !ready)
            co_return ready.error();
    }
    const auto held = std::make_shared<BoardQueue::Access>(std::move(*access));
    permit.setConfirm([this, held, stop, life](UserPrompts::Confirmation question) {
        return confirmWithoutHoldingBoard(std::move(question), held, stop, life);
    });
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
    const WritePermit permit = files.permitWrite(*path);
    if (const auto ready = check(stop, permit, deleteOperation); !ready)
        co_return ready.error();
    auto access = co_await m_queue.acquire(stop);
    if (!access)
        co_return access.error();
    const auto found = co_await find(permit, stop);
    if (!life)
        co_return MCPToolError::closed();
    if (!found)
        co_return found.error();
    const auto node = std::make_shared<DeviceFileNode>(*found);

    if (asksFirst()) {
        access->reset();
        Question question(m_state.link(), stop.unwanted);
        auto confirmation =
            question.confirmation([this, permit, node, stop, life = m_life.watch()] {
                return removeQuestion(permit, node, stop, life);
            });
        Error declined = MCPToolError::deletionDeclined(*path);
        const auto confirmed =
            co_await files.confirmAction(std::move(confirmation), std::move(declined));
        if (!life)
            co_return MCPToolError::closed();
        if (!confirmed)
            co_return refusalReason(question, confirmed.error(),
                                    check(stop, permit, deleteOperation));
        access = co_await m_queue.acquire(stop);
        if (!access)
            co_return access.error();
        if (const auto ready = check(stop, permit, deleteOperation); !ready)
            co_return ready.error();
    }
    const auto deleted = co_await files.deleteDeviceNode(*node);
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

/// Asks while other calls use the board, and then replaces \p held by an access of its own.
Async<bool> BoardFileTools::confirmWithoutHoldingBoard(UserPrompts::Confirmation question,
                                                       std::shared_ptr<BoardQueue::Access> held,
                                                       CallStop stop, Lifetime::Watch life)
{
    if (!life)
        co_return MCPToolError::closed();
    held->reset();
    const QuestionWithdrawal end(m_state.link(), stop.unwanted);
    question.asker = UserPrompts::Asker::Assistant;
    question.withdrawn = end.token();
    const auto confirmed = co_await m_state.deviceFiles().confirmAction(std::move(question));
    if (!life)
        co_return MCPToolError::closed();
    if (!confirmed)
        co_return false;
    const auto access = co_await m_queue.acquire(stop);
    if (!access)
        co_return access.error();
    *held = *access;
    co_return true;
}

/// The text of the question, at the time when it is opened. The board is asked whether the file
/// exists, unless it is busy: questions of the user must not wait for that.
Async<UserPrompts::Texts> BoardFileTools::writeQuestion(WritePermit permit, QString size,
                                                        CallStop stop, Lifetime::Watch life)
{
    if (!life)
        co_return MCPToolError::closed();
    if (const auto ready = check(stop, permit, writeOperation); !ready)
        co_return ready.error();
    const QString path = permit.path();
    std::optional<bool> exists;
    if (m_queue.isFree()) {
        const auto access = co_await m_queue.acquire(stop);
        if (!access)
            co_return access.error();
        const auto isThere = co_await m_state.deviceFiles().checkDeviceFileExists(path);
        if (!life)
            co_return MCPToolError::closed();
        if (const auto ready = check(stop, permit, writeOperation); !ready)
            co_return ready.error();
        if (isThere)
            exists = *isThere;
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

/// As `writeQuestion`. \p node is what is to be deleted, as of the last listing; it is looked for
/// again unless the board is busy.
Async<UserPrompts::Texts> BoardFileTools::removeQuestion(WritePermit permit,
                                                         std::shared_ptr<DeviceFileNode> node,
                                                         CallStop stop, Lifetime::Watch life)
{
    if (!life)
        co_return MCPToolError::closed();
    if (const auto ready = check(stop, permit, deleteOperation); !ready)
        co_return ready.error();
    if (m_queue.isFree()) {
        const auto access = co_await m_queue.acquire(stop);
        if (!access)
            co_return access.error();
        const auto found = co_await find(permit, stop);
        if (!life)
            co_return MCPToolError::closed();
        if (!found)
            co_return found.error();
        *node = *found;
    }
    UserPrompts::Texts texts;
    texts.title = u"Let Claude delete “"_s + permit.path() + u"”?"_s;
    texts.message = node->isDirectory
        ? u"Removes the directory from "_s + deviceName() + u". It must be empty."_s
        : u"Removes %1 bytes from "_s.arg(node->size) + deviceName()
            + u". This cannot be undone."_s;
    texts.confirmTitle = u"Delete"_s;
    co_return texts;
}

/// Lists the board, and looks for what is to be deleted. The caller holds the access to the board.
Async<DeviceFileNode> BoardFileTools::find(WritePermit permit, CallStop stop)
{
    const auto life = m_life.watch();
    DeviceFiles &files = m_state.deviceFiles();
    if (const auto ready = check(stop, permit, deleteOperation); !ready)
        co_return ready.error();
    co_await files.refreshDeviceFiles();
    if (!life)
        co_return MCPToolError::closed();
    if (const auto ready = check(stop, permit, deleteOperation); !ready)
        co_return ready.error();
    if (const auto &error = files.listingError())
        co_return *error;
    const DeviceFileNode *found = files.deviceNode(permit.path());
    if (!found)
        co_return MCPToolError::notThere(permit.path());
    co_return DeviceFileNode(*found);
}

Result<void> BoardFileTools::check(const CallStop &stop, const WritePermit &permit,
                                   const QString &operation)
{
    if (stop.unwanted.stop_requested())
        return MCPToolError::canceled();
    if (!isConnected())
        return failed(MCPToolError::notConnected());
    if (!m_state.deviceFiles().check(permit))
        return failed(MCPToolError::boardReplaced());
    if (m_state.programRun().deviceProgramRunning())
        return failed(MCPToolError::programRunning(operation));
    return {};
}

/// Why a question was not answered with yes: \p declined, unless it was not asked or has ended.
Error BoardFileTools::refusalReason(const Question &question, const Error &declined,
                                    const Result<void> &ready)
{
    if (question.notAsked())
        return *question.notAsked();
    return question.isWithdrawn() && !ready ? ready.error() : failed(declined);
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
