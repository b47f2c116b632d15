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
struct HTTPRequest;
class MCPEndpoint;
class MCPHTTPServer;
class RequestHandover;
class Settings;
class ShellSink;
class ToolSet;

/// Makes the running program reachable by an assistant on this computer, through the Model Context
/// Protocol. Main thread only; what happens on the network happens on a thread of its own.
class MCPServer final : public QObject, public AssistantServer
{
    Q_OBJECT

public:
    static constexpr quint16 defaultPort = 8787;

    /// What it needs of the rest of the program, which outlives it.
    struct Dependencies
    {
        ShellSink &shell;
        Settings &settings;
        /// Told whether the server listens.
        std::function<void(bool)> setRunning;
        std::unique_ptr<ToolSet> tools;
        /// What the tools work on.
        const QObject *state;
    };

    /// Reads port and token from the settings, once; makes and keeps a token where there is none.
    explicit MCPServer(Dependencies dependencies, QObject *parent = nullptr);
    /// Stops without a word in the Shell.
    ~MCPServer() override;

    void start() override;
    void stop() override;
    [[nodiscard]] bool isRunning() const override { return m_isRunning; }

    /// Why it could not start or go on; empty after a successful start.
    [[nodiscard]] const QString &lastError() const { return m_lastError; }
    [[nodiscard]] quint16 port() const { return m_port; }
    /// A secret: for the person and their assistant, never for a log.
    [[nodiscard]] const QString &token() const { return m_token; }
    /// The line for a terminal that makes an assistant know this server. Holds the token.
    [[nodiscard]] QString connectionCommand() const;

    /// To be called by whoever has changed a setting that concerns the assistant.
    void announceSettingsChange() { emit settingsChanged(); }

signals:
    void isRunningChanged();
    void lastErrorChanged();
    /// All who show such a setting read it again.
    void settingsChanged();

private:
    [[nodiscard]] Result<void> listen();
    void close();
    void serveWaiting();
    [[nodiscard]] static QCoro::Task<void> serve(MCPEndpoint &endpoint, HTTPRequest request,
                                                 HTTPReply reply);
    void change(bool isRunning, const QString &lastError, const QString &line, REPLLine::Kind kind);
    [[nodiscard]] QString endpointUrl() const;

    Dependencies m_dependencies;
    quint16 m_port;
    QString m_token;
    bool m_isRunning = false;
    QString m_lastError;
    std::unique_ptr<MCPEndpoint> m_endpoint;
    std::shared_ptr<RequestHandover> m_handover;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::unique_ptr<MCPHTTPServer> m_http;
};

} // namespace Korvane
