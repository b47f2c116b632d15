#include "mcp/MCPServer.h"

#include "app/Settings.h"
#include "base/ShellSink.h"
#include "mcp/MCPEndpoint.h"
#include "mcp/MCPHTTPServer.h"
#include "mcp/ToolCalls.h"

#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QUuid>

#include <cerrno>
#include <limits>
#include <utility>
#include <variant>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;

// How long requests are handled before control returns to the event loop.
constexpr qint64 turnMs = 2;

quint16 storedPort(const Settings &settings)
{
    const int port = settings.number(Settings::serverPort);
    const bool isPort = port >= 1 && port <= std::numeric_limits<quint16>::max();
    return isPort ? quint16(port) : MCPServer::defaultPort;
}

QString newToken(Settings &settings)
{
    const QString token = QUuid::createUuid().toString(QUuid::Id128);
    settings.setText(Settings::serverToken, token);
    return token;
}

QString storedToken(Settings &settings)
{
    const QString token = settings.text(Settings::serverToken);
    return token.isEmpty() ? newToken(settings) : token;
}

} // namespace

/// What the server's thread reports. The load that MCPHTTPServer allows also bounds how many of
/// these are queued.
struct MCPServer::Event
{
    struct Request
    {
        ToolRequest request;
        HTTPReply reply;
    };
    struct Abandoned
    {
        quint64 connection;
    };
    struct Failed
    {
        QString message;
    };
    std::variant<Request, Abandoned, Failed> value;
};

MCPServer::MCPServer(Dependencies dependencies, QObject *parent)
    : QObject(parent)
    , m_dependencies(std::move(dependencies))
    , m_port(storedPort(m_dependencies.settings))
    , m_token(storedToken(m_dependencies.settings))
    , m_calls(std::make_unique<ToolCalls>(*m_dependencies.tools, m_dependencies.state))
{
}

MCPServer::~MCPServer()
{
    close();
}

void MCPServer::setPort(quint16 port)
{
    if (std::exchange(m_port, port) != port)
        restart();
}

void MCPServer::renewToken()
{
    m_token = newToken(m_dependencies.settings);
    m_endpoint.reset();
    restart();
}

/// Restarts a running server with the current token and port.
void MCPServer::restart()
{
    if (!m_isRunning)
        return;
    stop();
    start();
}

void MCPServer::start()
{
    if (m_isRunning)
        return;
    close(); // a server whose listener failed still exists
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
    const MCPAccess access(m_token.toUtf8());
    if (!m_endpoint)
        m_endpoint =
            std::make_shared<const MCPEndpoint>(access, m_dependencies.tools->definitions());
    m_events = std::make_shared<Events>();
    if (m_events->descriptor() < 0)
        return Error{ErrorCode::Network, qt_error_string(errno), {}, errno};
    m_notifier = std::make_unique<QSocketNotifier>(m_events->descriptor(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &MCPServer::handleEvents);

    // These run on the server's thread, so they must not use this object.
    m_http = std::make_unique<MCPHTTPServer>(
        m_port,
        [endpoint = m_endpoint, events = m_events](const HTTPRequest &request,
                                                   HTTPReply reply) -> std::optional<HTTPResponse> {
            MCPEndpoint::Answer answer = endpoint->answer(request);
            if (auto *const response = std::get_if<HTTPResponse>(&answer))
                return std::move(*response);
            if (events->post(
                    {Event::Request{std::get<ToolRequest>(std::move(answer)), std::move(reply)}}))
                return std::nullopt;
            return HTTPResponse{404};
        },
        [access](const HTTPRequest &head) {
            return access.isForEndpoint(head) && access.hasToken(head);
        });
    m_http->setOnFailure([events = m_events](const QString &message) {
        (void)events->post({Event::Failed{message}});
    });
    m_http->setOnAbandoned([events = m_events](quint64 connection) {
        (void)events->post({Event::Abandoned{connection}});
    });
    return m_http->start();
}

/// Closes the listener and all connections, and ends the calls that have not begun on the board.
void MCPServer::close()
{
    if (m_events)
        m_events->close();
    m_http.reset(); // stops
    m_notifier.reset();
    m_calls->abandonAll();
}

void MCPServer::handleEvents()
{
    // A request may lead to a stop, and to another start.
    const auto events = m_events;
    events->acknowledge();
    QElapsedTimer turn;
    turn.start();
    while (auto event = events->take()) {
        if (auto *const asked = std::get_if<Event::Request>(&event->value)) {
            QCoro::Task<void> task =
                serve(*m_calls, std::move(asked->request), std::move(asked->reply));
        } else if (const auto *const abandoned = std::get_if<Event::Abandoned>(&event->value)) {
            m_calls->abandon(abandoned->connection);
        } else {
            const QString message = std::get<Event::Failed>(event->value).message;
            close();
            change(false, message, u"MCP server stopped: "_s + message, REPLLine::Kind::Error);
        }
        if (turn.hasExpired(turnMs)) {
            events->wake();
            break;
        }
    }
}

/// A task that may be dropped: its wait ends when the calls or the tools are destroyed.
QCoro::Task<void> MCPServer::serve(ToolCalls &calls, ToolRequest request, HTTPReply reply)
{
    const quint64 connection = reply.connection();
    auto response = calls.run(std::move(request), connection);
    reply(co_await std::move(response));
}

/// Emits after the whole state has changed.
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
