#include "app/AppFixture.h"
#include "support/Awaited.h"
#include "support/ScriptedBoard.h"

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QStringList errors(const AppFixture &fixture)
{
    return fixture.lines().filter(u"error: "_s);
}

} // namespace

class tst_VariablesStore final : public QObject
{
    Q_OBJECT

private slots:
    void readsWhatTheBoardReports()
    {
        const QList<std::pair<QByteArray, QString>> cases{
            {"warning\r\n__VARS__ \r\n"
             R"([{"n":"a","t":"int","v":"1"}, {"n": "b", "t": "str", "v": "'\u00e4ö\"'"}])"
             "\r\n",
             u"a:int=1 b:str='äö\"'"_s},
            {R"(__VARS__[{"n":"a"}])", u"a:?=?"_s},
            {"[]\r\n", {}}, // no marker
            {"__VARS__[]\r\nbye\r\n", {}},
            {"__VARS__x__VARS__[]", {}},
            {R"(__VARS__{"n":"a"})", {}},
        };
        for (const auto &[output, table] : cases) {
            BoardAppFixture fixture;
            fixture.connectBoard();
            fixture.variables = ScriptedBoard::reply(output);
            fixture.refresh();
            QTRY_VERIFY(!fixture.programs.isEmpty() && fixture.isBoardIdle());
            QTRY_COMPARE(fixture.table(), table);
            QTRY_COMPARE(errors(fixture),
                         table.isNull()
                             ? QStringList(u"error: Could not read variables from the device"_s)
                             : QStringList());
        }
    }

    void reportsWhyTheBoardFailedAndKeepsTheTable()
    {
        BoardAppFixture fixture;
        fixture.connectBoard();
        fixture.state->variablesStore().setVariables({{u"old"_s, u"int"_s, u"0"_s}});
        fixture.variables =
            ScriptedBoard::reply("__VARS__[]", "Traceback\r\nMemoryError: no room\r\n");
        fixture.refresh();
        QTRY_COMPARE(errors(fixture),
                     QStringList{u"error: Could not read variables: MemoryError: no room"_s});
        QCOMPARE(fixture.table(), u"old:int=0"_s);
    }

    void readsNothingFromABusyBoard()
    {
        BoardAppFixture fixture;
        fixture.connectBoard();
        fixture.variables = "working\r\n";
        fixture.refresh();
        QTRY_COMPARE(fixture.programs.size(), 1);
        fixture.refresh();
        // If the second refresh was queued, it would be sent before this command.
        const auto last = fixture.state->link().executeOnDevice(u"last"_s, std::chrono::seconds(9));
        fixture.board.send("__VARS__[]\x04\x04>");
        QTRY_COMPARE(fixture.programs.constLast(), "last"_ba);
        QCOMPARE(fixture.programs.size(), 2);
        QTRY_VERIFY(fixture.isBoardIdle());
        fixture.answer = "OKbusy\r\n"; // the program does not end
        fixture.runOnBoard();
        QTRY_VERIFY(fixture.state->programRun().deviceProgramRunning());
        QTRY_VERIFY(!fixture.state->link().deviceCommandInFlight());
        QVERIFY(awaited(fixture.state->variablesStore().refreshVariables()));
    }

    void reportsThatThereIsNoSessionToRestart()
    {
        AppFixture fixture({u"/nowhere/python3"_s});
        fixture.state->errors().reportFailureOf(
            fixture.state->variablesStore().restartLocalSession());
        QTRY_COMPARE(fixture.lines(2), QStringList{u"error: "_s + PythonRunner::notFoundMessage()});
        fixture.refresh();
        QTRY_COMPARE(fixture.lines(2).size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_VariablesStore)
#include "tst_VariablesStore.moc"
