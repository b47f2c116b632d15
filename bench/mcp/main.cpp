// The assistant's server with an event loop, without the rest of the program; started by `run`.
//
// mcp TOKEN TOOLS.json      listens on a free port and prints it

#include "app/Settings.h"
#include "base/ShellSink.h"
#include "mcp/MCPServer.h"
#include "mcp/ToolSet.h"

#include <QCoreApplication>
#include <QFile>
#include <QTcpServer>

#include <cstdio>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

class FixedSettings final : public Settings
{
public:
    FixedSettings(int port, QString token)
        : m_port(port)
        , m_token(std::move(token))
    {
    }
    bool flag(const QString &) const override { return false; }
    int number(const QString &) const override { return m_port; }
    QString text(const QString &) const override { return m_token; }
    void setFlag(const QString &, bool) override { }
    void setNumber(const QString &, int) override { }
    void setText(const QString &, const QString &) override { }
    void remove(const QString &) override { }

private:
    int m_port;
    QString m_token;
};

class NoShell final : public ShellSink
{
public:
    void appendLine(const QString &text, REPLLine::Kind kind) override
    {
        if (kind == REPLLine::Kind::Error)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    }
    void appendOutput(const QString &) override { }
};

class FixedTools final : public ToolSet
{
public:
    explicit FixedTools(QByteArray definitions)
        : m_definitions(std::move(definitions))
    {
    }
    QByteArray definitions() const override { return m_definitions; }
    QCoro::Task<Result<QString>> call(QString, ToolArguments, CallStop) override
    {
        co_return QString();
    }

private:
    QByteArray m_definitions;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    QFile tools(arguments.value(2));
    if (!tools.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "usage: mcp TOKEN TOOLS.json\n");
        return 2;
    }
    int port = 0;
    {
        QTcpServer free; // finds a free port, on which the server then listens
        if (!free.listen(QHostAddress::LocalHost))
            return 1;
        port = free.serverPort();
    }
    FixedSettings settings(port, arguments.value(1));
    NoShell shell;
    MCPServer server({shell, settings, [](bool) {},
                      std::make_unique<FixedTools>(tools.readAll().trimmed()), &application});
    server.start();
    if (!server.isRunning())
        return 1;
    std::printf("%d\n", port);
    std::fflush(stdout);
    return application.exec();
}
