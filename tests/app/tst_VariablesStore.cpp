#include "app/AppFixture.h"
#include "support/Awaited.h"
#include "support/ScriptedBoard.h"

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QStringList errors(const AppFixture &shop)
{
    return shop.lines().filter(u"error: "_s);
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
            BoardAppFixture shop;
            shop.connectBoard();
            shop.variables = ScriptedBoard::reply(output);
            shop.refresh();
            QTRY_VERIFY(!shop.programs.isEmpty() && shop.isBoardIdle());
            QCOMPARE(shop.table(), table);
            QCOMPARE(errors(shop),
                     table.isNull()
                         ? QStringList(u"error: Could not read variables from the device"_s)
                         : QStringList());
        }
    }

    void reportsWhyTheBoardFailedAndKeepsTheTable()
    {
        BoardAppFixture shop;
        shop.connectBoard();
        shop.state->variablesStore().setVariables({{u"old"_s, u"int"_s, u"0"_s}});
        shop.variables =
            ScriptedBoard::reply("__VARS__[]", "Traceback\r\nMemoryError: no room\r\n");
        shop.refresh();
        QTRY_COMPARE(errors(shop),
                     QStringList{u"error: Could not read variables: MemoryError: no room"_s});
        QCOMPARE(shop.table(), u"old:int=0"_s);
    }

    void readsNothingFromABusyBoard()
    {
        BoardAppFixture shop;
        shop.connectBoard();
        shop.variables = "working\r\n";
        shop.refresh();
        QTRY_COMPARE(shop.programs.size(), 1);
        shop.refresh();
        // Were the second refresh waiting for the line, it would have it before this one.
        const auto last = shop.state->link().executeOnDevice(u"last"_s, std::chrono::seconds(9));
        shop.board.send("__VARS__[]\x04\x04>");
        QTRY_COMPARE(shop.programs.constLast(), "last"_ba);
        QCOMPARE(shop.programs.size(), 2);
        QTRY_VERIFY(shop.isBoardIdle());
        shop.answer = "OKbusy\r\n"; // the program does not end
        shop.runOnBoard();
        QTRY_VERIFY(shop.state->programRun().deviceProgramRunning());
        QTRY_VERIFY(!shop.state->link().deviceCommandInFlight());
        QVERIFY(awaited(shop.state->variablesStore().refreshVariables()));
    }

    void saysWhenThereIsNoSessionToRestart()
    {
        AppFixture shop({u"/nowhere/python3"_s});
        shop.state->errors().reportFailureOf(shop.state->variablesStore().restartLocalSession());
        QTRY_COMPARE(shop.lines(2), QStringList{u"error: "_s + PythonRunner::notFoundMessage()});
        shop.refresh();
        QTRY_COMPARE(shop.lines(2).size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_VariablesStore)
#include "tst_VariablesStore.moc"
