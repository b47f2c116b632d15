#include "mcp/ToolCalls.h"

#include "mcp/MCPToolError.h"
#include "mcp/RPCReply.h"

#include <QElapsedTimer>

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;

// How long a batch runs before control returns to the event loop.
constexpr qint64 turnMs = 4;

} // namespace

ToolCalls::ToolCalls(ToolSet &tools, const QObject *state)
    : m_tools(tools)
    , m_state(state)
{
}

QCoro::Task<HTTPResponse> ToolCalls::run(ToolRequest request, quint64 connection)
{
    const auto alive = m_lifetime.watch();
    const auto running = m_running.emplace(m_running.end());
    running->connection = connection;
    running->session = request.session;
    for (const ToolRequest::Step &step : request.steps) {
        if (const auto *const next = std::get_if<ToolRequest::Call>(&step))
            running->nextIds.insert(next->id);
    }
    QByteArray replies;
    QElapsedTimer turn;
    turn.start();
    for (ToolRequest::Step &step : request.steps) {
        if (turn.hasExpired(turnMs)) {
            if (!co_await m_delay.sleep(std::chrono::milliseconds(0)) || !alive)
                co_return HTTPResponse{404};
            if (running->isAbandoned) // meanwhile
                break;
            turn.start();
        }
        QByteArray reply;
        if (auto *const known = std::get_if<QByteArray>(&step)) {
            reply = std::move(*known);
        } else if (auto *const cancellation = std::get_if<ToolRequest::Cancellation>(&step)) {
            cancel(cancellation->requestId, *running);
            continue;
        } else {
            ToolRequest::Call next = std::move(std::get<ToolRequest::Call>(step));
            reply = co_await call(std::move(next), *running);
            if (!alive)
                co_return HTTPResponse{404};
            running->id.clear();
        }
        if (!replies.isEmpty())
            replies += ',';
        replies += reply;
        if (request.isBatch && replies.size() > MCPEndpoint::maxBatchBytes)
            break;
        if (running->isAbandoned)
            break; // the response is dropped
    }
    m_running.erase(running);
    if (request.isBatch && replies.size() > MCPEndpoint::maxBatchBytes)
        co_return MCPEndpoint::invalidRequest();
    co_return MCPEndpoint::response(replies, request.isBatch);
}

/// The reply to one call.
QCoro::Task<QByteArray> ToolCalls::call(ToolRequest::Call call, Running &running)
{
    if (!m_state)
        co_return RPCReply::toolResult(call.id, u"The IDE is shutting down."_s, true);
    running.nextIds.remove(call.id);
    if (running.canceledIds.remove(call.id))
        co_return RPCReply::toolResult(call.id, MCPToolError::canceled().message, true);
    running.id = call.id;
    running.unwanted = std::stop_source();
    running.canceled = std::stop_source();
    CallStop stop;
    stop.unwanted = running.unwanted.get_token();
    stop.canceled = running.canceled.get_token();
    const Result<QString> result =
        co_await m_tools.call(std::move(call.name), std::move(call.arguments), std::move(stop));
    co_return RPCReply::toolResult(call.id, result ? *result : result.error().message, !result);
}

void ToolCalls::abandon(quint64 connection)
{
    for (Running &running : m_running) {
        if (running.connection != connection)
            continue;
        running.isAbandoned = true;
        running.unwanted.request_stop(); // ends the call from the event loop
    }
}

void ToolCalls::abandonAll()
{
    for (Running &running : m_running) {
        running.isAbandoned = true;
        running.unwanted.request_stop();
    }
}

/// Cancels the call with the id \p requestId of the client of \p by, when it is running or follows
/// in a batch that is running. Calls on the same connection or of the same session are those of one
/// client. Nothing is canceled when two calls match, as can happen with clients without a session.
/// Calls that follow \p by in its own batch are not canceled.
void ToolCalls::cancel(const QByteArray &requestId, const Running &by)
{
    const auto isMeant = [&](const Running &running) {
        return &running != &by && (running.id == requestId || running.nextIds.contains(requestId))
            && (running.session == by.session || running.connection == by.connection);
    };
    if (requestId.isEmpty() || std::count_if(m_running.begin(), m_running.end(), isMeant) != 1)
        return;
    const auto found = std::find_if(m_running.begin(), m_running.end(), isMeant);
    if (found->id != requestId) {
        found->canceledIds.insert(requestId);
        return;
    }
    found->unwanted.request_stop();
    found->canceled.request_stop();
}

} // namespace Korvane
