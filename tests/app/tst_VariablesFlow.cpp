#include "Workshop.h"
#include "support/ScriptedBoard.h"

#include <QCryptographicHash>
#include <QSignalSpy>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// A workshop with a board that answers as told, and an old row in the table.
struct BoardWorkshop : Workshop
{
    BoardWorkshop()
    {
        board.onProgram = [this](const QByteArray &program) {
            programs << program;
            return answer;
        };
        connectTo(board);
        state->variablesFlow().setVariables({{u"old"_s, u"int"_s, u"0"_s}});
    }
    QStringList errors() const { return lines().filter(u"error: "_s); }

    ScriptedBoard board;
    QByteArray answer = ScriptedBoard::reply("__VARS__[]\r\n");
    QByteArrayList programs;
};

} // namespace

class tst_VariablesFlow final : public QObject
{
    Q_OBJECT

private slots:
    void readsWhatTheBoardReports_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("table"); // null: the old one, and an error
        QTest::newRow("two rows") << R"(__VARS__[{"n":"a","t":"int","v":"1"},)"
                                     R"({"n": "b", "t": "str", "v": "'\u00e4ö\"'"}])"
                                     "\r\n"_ba
                                  << u"a:int=1 b:str='äö\"'"_s;
        QTest::newRow("none") << "__VARS__[]\r\n"_ba << u""_s;
        QTest::newRow("text before")
            << "warning\r\n__VARS__ \r\n[{\"n\":\"a\"}] \r\n"_ba << u"a:?=?"_s;
        QTest::newRow("further members") << R"(__VARS__[{"v":"1","x":""}])"_ba << u"?:?=1"_s;
        QTest::newRow("no marker") << "[]\r\n"_ba << QString();
        QTest::newRow("no output") << ""_ba << QString();
        QTest::newRow("text behind") << "__VARS__[]\r\nbye\r\n"_ba << QString();
        QTest::newRow("first marker counts") << "__VARS__x__VARS__[]"_ba << QString();
        QTest::newRow("no list") << R"(__VARS__{"n":"a"})"_ba << QString();
        QTest::newRow("no objects") << R"(__VARS__[["n"]])"_ba << QString();
        QTest::newRow("no strings") << R"(__VARS__[{"n":"a"},{"n":1}])"_ba << QString();
        QTest::newRow("raw line end in a string") << "__VARS__[{\"n\":\"a\nb\"}]"_ba << QString();
    }

    void readsWhatTheBoardReports()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, table);
        BoardWorkshop shop;
        shop.answer = ScriptedBoard::reply(output);
        shop.refresh();
        QTRY_VERIFY(!shop.programs.isEmpty() && shop.isBoardIdle());
        QCOMPARE(
            QCryptographicHash::hash(shop.programs.first(), QCryptographicHash::Sha256).toHex(),
            "d083c2249f1f67953a0f97e07435049754f90684823a208fdc05b951a80cfdb3"_ba);
        QCOMPARE(shop.table(), table.isNull() ? u"old:int=0"_s : table);
        QCOMPARE(shop.errors(),
                 table.isNull() ? QStringList{u"error: Could not read variables from the device"_s}
                                : QStringList());
    }

    void reportsWhyTheBoardFailed_data()
    {
        QTest::addColumn<bool>("mute");
        QTest::addColumn<QString>("reason");
        QTest::newRow("raised") << false << u"MemoryError: no room"_s;
        QTest::newRow("no raw REPL")
            << true
            << u"The board never entered the raw REPL — try disconnecting and reconnecting"_s;
    }

    void reportsWhyTheBoardFailed()
    {
        QFETCH(bool, mute);
        QFETCH(QString, reason);
        BoardWorkshop shop;
        shop.board.setMute(mute);
        shop.answer = ScriptedBoard::reply(
            "__VARS__[]",
            "Traceback (most recent call last):\r\n  line 1\r\nMemoryError: no room\r\n");
        shop.refresh();
        QTRY_COMPARE(shop.errors(), QStringList{u"error: Could not read variables: "_s + reason});
        QCOMPARE(shop.table(), u"old:int=0"_s);
    }

    void leavesABoardAloneThatRunsAProgram()
    {
        BoardWorkshop shop;
        shop.answer = "working\r\n"; // and does not end
        shop.write(u"work()"_s);
        shop.run();
        QTRY_VERIFY(shop.text().contains(u"working"_s));
        const QStringList before = shop.lines();
        shop.refresh();
        QVERIFY(!shop.state->link().deviceCommandInFlight());
        QCOMPARE(shop.lines(), before);
        QCOMPARE(shop.table(), u"old:int=0"_s);
    }

    void leavesABoardAloneThatExecutesACommand()
    {
        BoardWorkshop shop;
        shop.answer = "working\r\n";
        shop.refresh();
        QTRY_COMPARE(shop.programs.size(), 1);
        shop.refresh();
        // Were the second refresh waiting for the line, it would have it before this one.
        const auto last = shop.state->link().executeOnDevice(u"last"_s, std::chrono::seconds(9));
        shop.answer = ScriptedBoard::reply({});
        shop.board.send("__VARS__[]\x04\x04>");
        QTRY_COMPARE(shop.programs.constLast(), "last"_ba);
        QCOMPARE(shop.programs.size(), 2);
        QTRY_VERIFY(shop.isBoardIdle());
        QCOMPARE(shop.table(), u""_s);
    }

    void asksTheSessionWithoutABoard()
    {
        Workshop shop;
        QSignalSpy changes(&shop.state->variablesFlow(), &VariablesFlow::variablesChanged);
        shop.state->submitShell(u"x = [5]"_s);
        QTRY_COMPARE(shop.table(), u"x:list=[5]"_s);
        shop.state->submitShell(u"x.append(6)"_s);
        shop.refresh();
        shop.refresh();
        QTRY_COMPARE(changes.size(), 4);
        QCOMPARE(shop.table(), u"x:list=[5, 6]"_s);
    }

    void restartsTheSessionEmpty()
    {
        Workshop shop;
        shop.state->submitShell(u"x = 5"_s);
        QTRY_COMPARE(shop.table(), u"x:int=5"_s);
        shop.state->variablesFlow().restartLocalSession();
        QTRY_COMPARE(shop.table(), u""_s);
        QCOMPARE(shop.lines(), QStringList({u"input: >>> x = 5"_s, u"info: Session restarted."_s}));
    }

    void saysWhenThereIsNoSessionToRestart()
    {
        Workshop shop({u"/nowhere/python3"_s});
        shop.state->variablesFlow().restartLocalSession();
        QTRY_COMPARE(shop.lines(2),
                     QStringList({u"info: Session restarted."_s,
                                  u"error: "_s + PythonRunner::notFoundMessage()}));
        shop.refresh();
        QTRY_COMPARE(shop.lines(2).size(), 2);
    }
};

QTEST_GUILESS_MAIN(tst_VariablesFlow)
#include "tst_VariablesFlow.moc"
