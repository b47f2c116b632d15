#include "mcp/MCPServer.h"

#include "app/Settings.h"
#include "base/ShellSink.h"
#include "mcp/MCPEndpoint.h"
#include "mcp/MCPHTTPServer.h"
#include "mcp/RequestHandover.h"

#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QUuid>

#include <cerrno>
#include <limits>
#include <utility>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;

// How long requests are served in one go before the window has its turn.
constexpr qint64 turnMs = 2;

quint16 storedPort(const Settings &settings)
{
    const int port = settings.number(Settings::serverPort);
    const bool isPort = port >= 1 && port <= std::numeric_limits<quint16>::max();
    return isPort ? quint16(port) : MCPServer::defaultPort;
}

QString storedToken(Settings &settings)
{
    QString token = settings.text(Settings::serverToken);
    if (token.isEmpty()) {
        token = QUuid::createUuid().toString(QUuid::Id128);
        settings.setText(Settings::serverToken, token);
    }
    return token;
}

} // namespace

MCPServer::MCPServer(Dependencies dependencies, QObject *parent)
    : QObject(parent)
    , m_dependencies(std::move(dependencies))
    , m_port(storedPort(m_dependencies.settings))
    , m_token(storedToken(m_dependencies.settings))
    , m_endpoint(std::make_unique<MCPEndpoint>(MCPAccess(m_token.toUtf8()), *m_dependencies.tools,
                                               m_dependencies.state))
{
}

MCPServer::~MCPServer()
{
    close();
}

void MCPServer::start()
{
    if (m_isRunning)
        return;
    close(); // a server whose listener failed is still there
    if (const auto listening = listen(); !listening) {
        close();
        const QString reason = listening.error().message;
        change(false, reason, u"Could not start MCP server: "_s + reason, REPLLine::Kind::Error);
        return;
    }
    change(true, {}, u"MCP server listening on "_s + endpointUrl(), REPLLine::Kind::Info);
}

void MCPServer::stop()
{
    close();
    if (m_isRunning)
        change(false, m_lastError, u"MCP server stopped."_s, REPLLine::Kind::Info);
}

Result<void> MCPServer::listen()
{
    m_handover = std::make_shared<RequestHandover>();
    if (m_handover->descriptor() < 0)
        return Error{ErrorCode::Network, qt_error_string(errno), {}, errno};
    m_notifier = std::make_unique<QSocketNotifier>(m_handover->descriptor(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &MCPServer::serveWaiting);

    // Both run on the server's queue, so they hold nothing of this object.
    const std::weak_ptr<RequestHandover> handover = m_handover;
    const MCPAccess access(m_token.toUtf8());
    m_http = std::make_unique<MCPHTTPServer>(
        m_port,
        [handover](HTTPRequest request, HTTPReply reply) {
            if (const auto alive = handover.lock())
                alive->put(std::move(request), std::move(reply));
            else
                reply(HTTPResponse{404});
        },
        // The body of a request that will be turned away is not worth holding.
        [access](const HTTPRequest &head) {
            return access.isForEndpoint(head) && access.hasToken(head);
        });
    m_http->setOnFailure([handover](const QString &message) {
        if (const auto alive = handover.lock())
            alive->putFailure(message);
    });
    return m_http->start();
}

/// Lets nobody in and nobody wait. What the tools have begun goes on, but nobody hears of it.
void MCPServer::close()
{
    if (m_handover)
        m_handover->close();
    m_http.reset(); // stops
    m_notifier.reset();
    m_handover.reset();
}

void MCPServer::serveWaiting()
{
    // A request may lead to a stop, and to another start.
    const auto handover = m_handover;
    handover->beginTurn();
    QElapsedTimer turn;
    turn.start();
    for (;;) {
        auto item = handover->take();
        if (!item)
            break;
        QCoro::Task<void> task =
            serve(*m_endpoint, std::move(item->request), std::move(item->reply));
        if (turn.hasExpired(turnMs)) {
            handover->breakOff();
            break;
        }
    }
    if (const auto failure = handover->takeFailure(); failure && handover == m_handover)
        change(false, *failure, u"MCP server stopped: "_s + *failure, REPLLine::Kind::Error);
}

/// A task that may be dropped: its wait for the endpoint ends when that goes.
QCoro::Task<void> MCPServer::serve(MCPEndpoint &endpoint, HTTPRequest request, HTTPReply reply)
{
    auto answer = endpoint.answer(std::move(request));
    reply(co_await std::move(answer));
}

/// Whoever hears of a change finds it made.
void MCPServer::change(bool isRunning, const QString &lastError, const QString &line,
                       REPLLine::Kind kind)
{
    const bool wasRunning = std::exchange(m_isRunning, isRunning);
    const QString lastErrorBefore = std::exchange(m_lastError, lastError);
    if (wasRunning != isRunning)
        m_dependencies.setRunning(isRunning);
    m_dependencies.shell.appendLine(line, kind);
    if (wasRunning != isRunning)
        emit isRunningChanged();
    if (lastErrorBefore != lastError)
        emit lastErrorChanged();
}

QString MCPServer::connectionCommand() const
{
    return u"claude mcp add --transport http micropython "_s + endpointUrl()
        + u" --header \"Authorization: Bearer "_s + m_token + u'"';
}

QString MCPServer::endpointUrl() const
{
    return u"http://127.0.0.1:%1/mcp"_s.arg(m_port);
}

} // namespace Korvane
