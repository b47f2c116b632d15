#include "app/Settings.h"
#include "mcp/MCPServer.h"
#include "ui/WindowFixture.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QTcpServer>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

struct ServerFixture : WindowFixture
{
    explicit ServerFixture(const MemorySettings &initialSettings)
        : WindowFixture(Python::None, {}, initialSettings)
    {
    }

    QList<QAction *> menu() { return find<QMenu>("claudeMenu")->actions(); }
    /// The items of the menu: "Title", "Title [x]" or "Title [ ]", "-" for a separator.
    QStringList items()
    {
        QStringList texts;
        for (const QAction *action : menu()) {
            QString text = action->isSeparator() ? u"-"_s : action->text().remove(u'&');
            if (action->isCheckable())
                text += action->isChecked() ? u" [x]"_s : u" [ ]"_s;
            texts << text;
        }
        return texts;
    }
    void choose(int item) { menu().at(item)->trigger(); }
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
        const MemorySettings settings = settingsWithFreePort();
        ServerFixture fixture(settings);
        QCOMPARE(fixture.items(),
                 QStringList({u"Start MCP Server"_s, u"Copy Connection Command"_s, u"-"_s,
                              u"Start Server When the IDE Opens [ ]"_s,
                              u"Write to the Device Without Asking [ ]"_s}));
        const auto *indicator = fixture.find<QWidget>("assistantIndicator");
        QVERIFY(!indicator->isVisible());
        fixture.choose(0);
        QVERIFY2(fixture.state().mcpRunning(), qPrintable(fixture.lines().join(u'\n')));
        QVERIFY(indicator->isVisible());
        QCOMPARE(indicator->toolTip(), u"Claude can reach this device — Claude menu to stop"_s);
        QCOMPARE(fixture.items().constFirst(), u"Stop MCP Server"_s);

        ServerFixture second(settings); // its port is taken
        second.choose(0);
        QCOMPARE(second.items().constFirst(), u"Start MCP Server"_s);
        QVERIFY(second.lines().constLast().startsWith(u"error: Could not start MCP server: "_s));

        fixture.choose(0);
        QVERIFY(!fixture.state().mcpRunning() && !indicator->isVisible());
        QCOMPARE(fixture.items().constFirst(), u"Start MCP Server"_s);
    }

    void setsOptionsOfTheNextStartAndWrite()
    {
        MemorySettings settings = settingsWithFreePort();
        {
            ServerFixture fixture(settings);
            fixture.choose(3);
            fixture.choose(4);
            QVERIFY(!fixture.app->server().isRunning());
            QVERIFY(fixture.items().at(3).endsWith(u"[x]"_s));
            settings = fixture.settings;
        }
        ServerFixture fixture(settings);
        QVERIFY(fixture.app->server().isRunning());
        QCOMPARE(fixture.items().constFirst(), u"Stop MCP Server"_s);
        QVERIFY(fixture.items().at(4).endsWith(u"[x]"_s));
        fixture.choose(3);
        QVERIFY(!fixture.settings.flag(Settings::serverEnabled));
        QVERIFY(fixture.app->server().isRunning());

        fixture.settings.setFlag(Settings::autoApproveWrites, false); // by another program
        emit fixture.find<QMenu>("claudeMenu")->aboutToShow();
        QVERIFY(fixture.items().at(4).endsWith(u"[ ]"_s));
    }

    void copiesTheConnectionCommand()
    {
        ServerFixture fixture(settingsWithFreePort());
        for (int time = 1; time <= 2; ++time) {
            QGuiApplication::clipboard()->setText(u"something else"_s);
            fixture.choose(1);
            QCOMPARE(QGuiApplication::clipboard()->text(),
                     fixture.app->server().connectionCommand());
            QCOMPARE(fixture.lines(),
                     QStringList(time,
                                 u"info: Connection command copied — run it in a terminal "
                                 "to register this IDE with Claude Code."_s));
        }
        QVERIFY(!fixture.lines().join(u'\n').contains(fixture.app->server().token()));
    }
};

QTEST_MAIN(tst_ClaudeCommands)
#include "tst_ClaudeCommands.moc"
