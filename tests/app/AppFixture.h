#pragma once

#include "app/AppState.h"
#include "support/MemorySettings.h"
#include "support/ScriptedBoard.h"
#include "support/ScriptedPrompts.h"
#include "support/ShellLines.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace Korvane {

/// The whole program without its window, and without the ports and settings of this computer.
struct AppFixture
{
    explicit AppFixture(const QStringList &interpreters = PythonRunner::defaultInterpreters(),
                        const SerialPortManager::Roots &ports = TestPort::roots())
        : state(std::make_unique<AppState>(AppState::Dependencies{
            .settings = settings,
            .prompts = prompts,
            .interpreters = interpreters,
            .serialRoots = ports,
        }))
    {
    }

    /// Connects, and waits for the listing that follows.
    void connectTo(ScriptedBoard &board)
    {
        const auto answers = std::exchange(board.onProgram, &ScriptedBoard::answerWithoutFiles);
        QVERIFY(state->link().connectDevice(board.port()));
        QVERIFY(QTest::qWaitFor([&] { return isBoardIdle() && board.received().endsWith('\2'); }));
        board.onProgram = answers;
        board.forget();
    }
    void write(const QString &source) { state->documents().updateSelectedContent(source); }
    void run() { state->runCurrentFile(); }
    void stop() { state->stopRun(); }
    void refresh() { state->errors().reportFailureOf(state->variablesStore().refreshVariables()); }

    /// The lines of the Shell from index \p from on.
    QStringList lines(qsizetype from = 1) const
    {
        return describe(state->shell().replLines()).mid(from);
    }
    QString text() const { return lines().join(u'\n'); }
    /// The Variables table: "a:int=1 b:str='x'".
    QString table() const
    {
        QStringList rows;
        for (const PythonVariable &row : state->variablesStore().variables())
            rows << row.name + u':' + row.type + u'=' + row.value;
        return rows.join(u' ');
    }
    bool isBoardIdle() const
    {
        return !state->link().deviceCommandInFlight()
            && !state->programRun().deviceProgramRunning();
    }

    QTemporaryDir folder;
    MemorySettings settings;
    ScriptedPrompts prompts;
    std::unique_ptr<AppState> state;
};

/// A fixture with a board that has one variable and answers all other programs with `answer`.
struct BoardAppFixture : AppFixture
{
    BoardAppFixture()
    {
        board.onProgram = [this](const QByteArray &program) {
            if (program.contains("__LS__"))
                return ScriptedBoard::answerWithoutFiles(program);
            programs << program;
            return program.contains("__VARS__") ? variables : answer;
        };
    }
    void connectBoard() { connectTo(board); }
    void runOnBoard()
    {
        if (!isConnected())
            connectBoard();
        write(QStringLiteral("work()"));
        run();
    }
    bool isConnected() const { return state->link().connectionState().isConnected(); }

    ScriptedBoard board;
    QByteArray variables = ScriptedBoard::reply(R"(__VARS__[{"n":"a","t":"int","v":"1"}])");
    QByteArray answer = ScriptedBoard::reply("done\r\n");
    QByteArrayList programs;
};

} // namespace Korvane
