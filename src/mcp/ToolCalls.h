#pragma once

#include "base/Delay.h"
#include "base/Lifetime.h"
#include "mcp/MCPEndpoint.h"

#include <QPointer>
#include <QSet>

#include <list>

namespace Korvane {

/// Carries out the tool calls of requests, and ends them when their client cancels them or closes
/// its connection. Main thread only.
class ToolCalls final
{
public:
    /// \p tools is borrowed. \p state is what they work on; once it has been destroyed, they are
    /// not called any more.
    ToolCalls(ToolSet &tools, const QObject *state);

    /// Suspends while a tool works. The calls of a batch run one after the other. When this object
    /// is destroyed before the end, the response is a 404 as soon as the tool's call has ended.
    [[nodiscard]] QCoro::Task<HTTPResponse> run(ToolRequest request, quint64 connection);

    /// Ends the calls of \p connection that have not begun on the board; the others continue.
    void abandon(quint64 connection);
    /// The same for all connections.
    void abandonAll();

private:
    struct Running
    {
        quint64 connection = 0;
        QByteArray session;
        bool isAbandoned = false;
        QSet<QByteArray> nextIds;     // of the calls that have not begun
        QSet<QByteArray> canceledIds; // those of them that must not begin
        // Of the call under way.
        QByteArray id;
        std::stop_source unwanted;
        std::stop_source canceled;
    };

    [[nodiscard]] QCoro::Task<QByteArray> call(ToolRequest::Call call, Running &running);
    void cancel(const QByteArray &requestId, const Running &by);

    ToolSet &m_tools;
    QPointer<const QObject> m_state;
    std::list<Running> m_running;
    Delay m_delay;
    Lifetime m_lifetime;
};

} // namespace Korvane
