#include "app/Settings.h"
#include "mcp/MCPServer.h"
#include "support/MemorySettings.h"
#include "support/ScriptedPrompts.h"
#include "support/ShellLines.h"
#include "ui/window/ContentView.h"
#include "ui/window/KorvaneApp.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// The program with settings that outlive it.
class Program
{
public:
    explicit Program(MemorySettings &settings)
        : app(AppState::Dependencies{.settings = settings,
                                     .prompts = m_prompts,
                                     .interpreters = {},
                                     .serialRoots = {m_folder.path(), m_folder.path(), {}}})
    {
    }

    [[nodiscard]] QList<QAction *> menu()
    {
        return app.window().findChild<QMenu *>(u"claudeMenu"_s)->actions();
    }
    /// The menu as it reads: "Title", "Title [x]" or "Title [ ]", "-" for a separator, and "(!)"
    /// behind what should not be.
    [[nodiscard]] QStringList items()
    {
        QStringList texts;
        for (const QAction *action : menu()) {
            QString text = action->isSeparator() ? u"-"_s : action->text();
            if (action->isCheckable())
                text += action->isChecked() ? u" [x]"_s : u" [ ]"_s;
            if (!action->isEnabled() || !action->shortcut().isEmpty())
                text += u" (!)"_s;
            texts << text;
        }
        return texts;
    }
    void choose(int item) { menu().at(item)->trigger(); }
    [[nodiscard]] QStringList lines() { return describe(app.state().shell().replLines()); }

private:
    QTemporaryDir m_folder;
    ScriptedPrompts m_prompts;

public:
    KorvaneApp app;
};

MemorySettings settingsWithFreePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    MemorySettings settings;
    settings.setNumber(Settings::serverPort, server.serverPort());
    return settings;
}

} // namespace

class tst_ClaudeCommands final : public QObject
{
    Q_OBJECT

private slots:
    void startsAndStopsTheServer()
    {
        MemorySettings settings = settingsWithFreePort();
        Program program(settings);
        QCOMPARE(program.items(),
                 QStringList({u"Start MCP Server"_s, u"Copy Connection Command"_s, u"-"_s,
                              u"Start Server When the IDE Opens [ ]"_s,
                              u"Write to the Device Without Asking [ ]"_s}));
        program.app.show();
        const auto *indicator = program.app.window().findChild<QWidget *>(u"assistantIndicator"_s);
        QVERIFY(!indicator->isVisible());
        program.choose(0);
        QVERIFY2(program.app.state().mcpRunning(), qPrintable(program.lines().join(u'\n')));
        QVERIFY(indicator->isVisible());
        QCOMPARE(indicator->toolTip(), u"Claude can reach this device — Claude menu to stop"_s);
        QCOMPARE(program.items().constFirst(), u"Stop MCP Server"_s);

        Program second(settings); // its port is taken
        second.choose(0);
        QCOMPARE(second.items().constFirst(), u"Start MCP Server"_s);
        QVERIFY(second.lines().constLast().startsWith(u"error: Could not start MCP server: "_s));

        program.choose(0);
        QVERIFY(!program.app.state().mcpRunning() && !indicator->isVisible());
        QCOMPARE(program.items().constFirst(), u"Start MCP Server"_s);
    }

    void setsWhatTheNextStartAndTheNextWriteGoBy()
    {
        MemorySettings settings = settingsWithFreePort();
        {
            Program program(settings);
            program.choose(3);
            program.choose(4);
            QVERIFY(settings.flag(Settings::serverEnabled));
            QVERIFY(settings.flag(Settings::autoApproveWrites));
            QVERIFY(!program.app.server().isRunning());
            QVERIFY(program.items().at(3).endsWith(u"[x]"_s));
        }
        Program program(settings);
        QVERIFY2(program.app.server().isRunning(), qPrintable(program.lines().join(u'\n')));
        QCOMPARE(program.items().constFirst(), u"Stop MCP Server"_s);
        QVERIFY(program.items().at(4).endsWith(u"[x]"_s));
        program.choose(3);
        QVERIFY(!settings.flag(Settings::serverEnabled));
        QVERIFY(program.app.server().isRunning());

        settings.setFlag(Settings::autoApproveWrites, false); // by somebody else
        program.app.server().announceSettingsChange();
        QVERIFY(program.items().at(4).endsWith(u"[ ]"_s));
    }

    void copiesTheConnectionCommand()
    {
        MemorySettings settings = settingsWithFreePort();
        Program program(settings);
        const qsizetype before = program.lines().size();
        for (int time = 1; time <= 2; ++time) {
            QGuiApplication::clipboard()->setText(u"something else"_s);
            program.choose(1);
            QCOMPARE(QGuiApplication::clipboard()->text(),
                     program.app.server().connectionCommand());
            QCOMPARE(program.lines().mid(before),
                     QStringList(time,
                                 u"info: Connection command copied — run it in a terminal "
                                 "to register this IDE with Claude Code."_s));
        }
        QVERIFY(!program.lines().join(u'\n').contains(program.app.server().token()));
    }
};

QTEST_MAIN(tst_ClaudeCommands)
#include "tst_ClaudeCommands.moc"
