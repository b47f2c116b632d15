#pragma once

#include "app/AssistantServer.h"
#include "base/Records.h"
#include "base/Result.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace Korvane {

class HTTPReply;
class MCPEndpoint;
class MCPHTTPServer;
class Settings;
class ShellSink;
class ToolCalls;
struct ToolRequest;
class ToolSet;
template <typename T> class Mailbox;

/// The server of the Model Context Protocol, through which an assistant on this computer uses the
/// program. Main thread only. Sockets are handled on a separate thread, and so are the requests
/// that need nothing of the main thread.
class MCPServer final : public QObject, public AssistantServer
{
    Q_OBJECT

public:
    static constexpr quint16 defaultPort = 8787;

    /// The parts of the program that it uses; all must outlive the server.
    struct Dependencies
    {
        ShellSink &shell;
        Settings &settings;
        /// Called with whether the server is running, when that changes.
        std::function<void(bool)> setRunning;
        std::unique_ptr<ToolSet> tools;
        /// What the tools work on.
        const QObject *state;
    };

    /// Reads port and token from the settings; makes and keeps a token where there is none.
    explicit MCPServer(Dependencies dependencies, QObject *parent = nullptr);
    /// Stops without a Shell line.
    ~MCPServer() override;

    /// Does not store the port, which the preferences do. A running server is restarted with it.
    void setPort(quint16 port);
    /// Makes and stores another token; calls with the old one are refused at once.
    void renewToken();

    void start() override;
    /// Returns when the server does not listen any more.
    void stop();
    [[nodiscard]] bool isRunning() const { return m_isRunning; }

    /// Why starting or listening failed; empty after a successful start.
    [[nodiscard]] const QString &lastError() const { return m_lastError; }
    [[nodiscard]] quint16 port() const { return m_port; }
    /// A secret, for the user and their assistant; must not be logged.
    [[nodiscard]] const QString &token() const { return m_token; }
    /// The shell command that registers this server with an assistant. Contains the token.
    [[nodiscard]] QString connectionCommand() const;

signals:
    void isRunningChanged();
    void lastErrorChanged();

private:
    struct Event;
    using Events = Mailbox<Event>;

    [[nodiscard]] Result<void> listen();
    void close();
    void restart();
    void handleEvents();
    [[nodiscard]] static QCoro::Task<void> serve(ToolCalls &calls, ToolRequest request,
                                                 HTTPReply reply);
    void change(bool isRunning, const QString &lastError, const QString &line, REPLLine::Kind kind);
    [[nodiscard]] QString endpointUrl() const;

    Dependencies m_dependencies;
    quint16 m_port;
    QString m_token;
    bool m_isRunning = false;
    QString m_lastError;
    std::unique_ptr<ToolCalls> m_calls;
    std::shared_ptr<const MCPEndpoint> m_endpoint; // made by the first start
    std::shared_ptr<Events> m_events;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::unique_ptr<MCPHTTPServer> m_http;
};

} // namespace Korvane
