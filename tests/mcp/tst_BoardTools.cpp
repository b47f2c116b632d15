#include "app/AppFixture.h"
#include "mcp/BoardTools.h"
#include "support/Awaited.h"
#include "support/Files.h"
#include "support/VirtualBoard.h"

#include <cmath>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QByteArray toText(const Result<QString> &answer)
{
    return (answer ? *answer : u"! "_s + answer.error().message).toUtf8();
}

/// A fixture with the tools in it.
struct ToolsFixture : AppFixture
{
    explicit ToolsFixture(const SerialPortManager::Roots &ports = TestPort::roots())
        : AppFixture(PythonRunner::defaultInterpreters(), ports)
        , tools(std::make_unique<BoardTools>(*state))
    {
        state->shell().clear();
    }

    /// \p line is the tool and its arguments, "run_code|code=1".
    QCoro::Task<Result<QString>> begin(const QByteArray &line)
    {
        QStringList parts = QString::fromUtf8(line).split(u'|');
        const QString name = parts.takeFirst();
        ToolArguments arguments;
        for (const QString &part : parts)
            arguments.insert(part.section(u'=', 0, 0), part.section(u'=', 1));
        return tools->call(name, std::move(arguments), stop);
    }
    /// The answer, or "! " and the error message.
    QByteArray call(const QByteArray &line) { return toText(awaited(begin(line))); }
    QByteArray text() const { return lines(0).join(u'\n').toUtf8(); }

    std::unique_ptr<BoardTools> tools;
    CallStop stop; // for the calls that begin next
};

const QByteArray noBoard = "! No device connected. Use connect_device first.";

} // namespace

class tst_BoardTools final : public QObject
{
    Q_OBJECT

    VirtualBoard m_board;

    /// A fixture that is connected to the virtual board, whose files are deleted.
    std::unique_ptr<ToolsFixture> connected() { return connected(m_board); }
    static std::unique_ptr<ToolsFixture> connected(const VirtualBoard &board)
    {
        auto fixture = std::make_unique<ToolsFixture>();
        fixture->settings.setFlag(Settings::autoApproveWrites, true);
        const QByteArray port = board.port().toUtf8();
        if (fixture->call("connect_device|port=" + port) != "Connected to " + port + '.')
            qFatal("%s", fixture->text().constData());
        fixture->call("run_code|code=import os\nfor n in os.listdir('/'):\n"
                      " try: os.remove('/' + n)\n except OSError: os.rmdir('/' + n)");
        return fixture;
    }

private slots:
    void initTestCase() { QVERIFY2(m_board.start(), qPrintable(m_board.errorText())); }

    void returnsTheToolDefinitions()
    {
        const QString root = qEnvironmentVariable("KORVANE_SOURCE_DIR");
        QCOMPARE(ToolsFixture().tools->definitions(),
                 bytesOf(root + u"/bench/mcp/tools.json"_s).trimmed());
    }

    void answersWithoutABoard()
    {
        ToolsFixture fixture({{}, {}, {}});
        const auto check = [&](const QByteArray &line, const QByteArray &answer,
                               const QByteArray &logged = {}) {
            fixture.state->shell().clear();
            QCOMPARE(fixture.call(line), answer);
            QCOMPARE(fixture.text(), "info: 🤖 " + (logged.isEmpty() ? line : logged));
        };
        check("frobnicate|name=c|port=b|path=|code=x", "! Unknown tool: frobnicate",
              "frobnicate (path: , port: b, name: c)");
        check("a\nb|name=\u202Ec", "! Unknown tool: a\nb", "a␊b (name: ⟨U+202E⟩c)");
        check("", "! Unknown tool: ");
        for (const QByteArray tool : {"list_device_files", "read_device_file", "write_device_file",
                                      "delete_device_file", "run_code", "run_file", "soft_reset"})
            check(tool, noBoard);
        const QByteArray noPorts = "! No serial ports found. Is the board plugged in?";
        check("connect_device", noPorts);
        check("connect_device|port=", noPorts, "connect_device (port: )");
        check("open_in_editor|name=|content=x", "! Missing required argument “name”.",
              "open_in_editor (name: )");
        check("open_in_editor|content=x|name=" + QByteArray(2000, 'n'),
              "! The argument “name” is longer than 1024 characters.",
              "open_in_editor (name: " + QByteArray(1024, 'n') + ")");
        check("open_in_editor|name=a.py", "! Missing required argument “content”.",
              "open_in_editor (name: a.py)");
    }

    void reportsTheStateAndOpensText()
    {
        ToolsFixture fixture({{}, {}, {}});
        fixture.state->localFiles().setLocalWorkingDir(fixture.folder.path());
        const QByteArray status = "Connection: Not Connected\nAvailable ports: none\n"
                                  "Device directory: /\nLocal directory: "
            + fixture.folder.path().toUtf8() + "\nEditor: untitled.py";
        QCOMPARE(fixture.call("device_status"), status);
        fixture.write(u"x"_s);
        QCOMPARE(fixture.call("device_status"), status + " (unsaved changes)");
        QCOMPARE(
            fixture.call("open_in_editor|name=blink.py|content="),
            "Opened blink.py in the editor. It is not on the device until you write it there.");
        QCOMPARE(fixture.state->documents().selectedFile()->name(), u"blink.py"_s);
        QCOMPARE(fixture.lines(0).constLast(), u"info: Opened blink.py in the editor."_s);

        const auto tabs = [&] {
            QStringList texts;
            for (const EditorFile *file : fixture.state->documents().openFiles())
                texts << file->name() + u'=' + file->content();
            return texts.join(u'|');
        };
        fixture.call("open_in_editor|name=b.py|content=1");
        fixture.call("open_in_editor|name=blink.py|content=2");
        QCOMPARE(tabs(), u"untitled.py=x|blink.py=2|b.py=1"_s);
        fixture.write(u"edited"_s);
        fixture.call("open_in_editor|name=blink.py|content=3");
        QCOMPARE(tabs(), u"untitled.py=x|blink.py=edited|b.py=1|blink.py=3"_s);
    }

    void connectsToTheRequestedPort()
    {
        ScriptedBoard first;
        ScriptedBoard second;
        ToolsFixture one;
        const auto roots = [&](const QByteArray &ports) {
            one.tools.reset();
            one.state.reset(new AppState({
                .settings = one.settings,
                .prompts = one.prompts,
                .serialRoots = {one.folder.path(), one.folder.path(), QString::fromUtf8(ports)},
            }));
            one.tools = std::make_unique<BoardTools>(*one.state);
        };
        QByteArrayList ports{first.port().toUtf8(), second.port().toUtf8()};
        std::sort(ports.begin(), ports.end());
        roots(ports.join(':'));
        QCOMPARE(one.call("connect_device"),
                 "! Several ports available — name one: " + ports.join(", "));
        QCOMPARE(one.call("connect_device|port=" + ports[1]), "Connected to " + ports[1] + '.');
        QCOMPARE(one.call("connect_device|port=" + ports[0]),
                 "Already connected to " + ports[1] + '.');
        roots(ports[0]);
        QCOMPARE(one.call("connect_device"), "Connected to " + ports[0] + '.');
    }

    void runsCode()
    {
        const auto fixture = connected();
        const QByteArray traceback =
            "Traceback (most recent call last):\n  File \"<stdin>\", line ";
        QCOMPARE(fixture->call("run_code|code=print('ä')\nprint(1)"), "ä\n1\n");
        QCOMPARE(fixture->call("run_code|code=left = 1"), "(no output)");
        QCOMPARE(fixture->call("run_code|code=1/0"),
                 "The code raised:\n" + traceback
                     + "1, in <module>\nZeroDivisionError: divide by zero\n");
        QCOMPARE(fixture->call("run_code|code=print('a')\nraise ValueError('b')"),
                 "Output before the failure:\na\n\nThen it raised:\n" + traceback
                     + "2, in <module>\nValueError: b\n");
        QCOMPARE(fixture->call("run_code|code="), "! Missing required argument “code”.");
        QCOMPARE(fixture->call("run_code|code=print(1)\4"),
                 "! The code contains the control character 0x04, on which the board's REPL acts."
                 " Write it as an escape sequence.");
        for (const double timeout : {-0.1, HUGE_VAL, std::nan("")}) {
            ToolArguments arguments;
            arguments.insert(u"code"_s, u"1"_s);
            arguments.insert(u"timeout"_s, timeout);
            QCOMPARE(toText(awaited(fixture->tools->call(u"run_code"_s, arguments, {}))),
                     "! The timeout must be a number of seconds that is not negative.");
        }
        // A time-out that is text is ignored.
        QCOMPARE(fixture->call("run_code|timeout=0|code=import time\ntime.sleep(.2)"),
                 "(no output)");
        QCOMPARE(fixture->call("soft_reset"),
                 "Soft reset sent. boot.py and main.py have run again.");
        QCOMPARE(fixture->call("run_code|code=print('left' in globals())"), "False\n");
    }

    void worksWithFiles()
    {
        const auto fixture = connected();
        const auto check = [&](const QByteArray &line, const QByteArray &answer) {
            const QByteArray all = fixture->call(line);
            QVERIFY2(answer.endsWith(": ") ? all.startsWith(answer) : all == answer, all);
        };
        check("list_device_files", "/ is empty.");
        check("write_device_file|path=/a.txt|content=ä\r\n", "Wrote 4 bytes to /a.txt.");
        check("write_device_file|path=/empty|content=", "Wrote 0 bytes to /empty.");
        check("write_device_file|path=/it's \\\x04odd.py|content=print(6 * 7)",
              "Wrote 12 bytes to /it's \\\x04odd.py.");
        check("write_device_file|path=/none/a|content=x", "! Device write failed: ");
        check("run_code|code=import os\nos.mkdir('/lib')\nf = open('/lib/bin', 'wb')\n"
              "f.write(b'\\xff')\nf.close()",
              "(no output)");
        check("list_device_files",
              "/:\n/lib/\n/a.txt  4 bytes\n/empty  0 bytes\n/it's \\\x04odd.py  12 bytes");
        check("list_device_files|path=/lib", "/lib:\n/lib/bin  1 bytes");
        check("list_device_files|path=/a.txt", "! /a.txt is not a directory on the device.");
        check("list_device_files|path=/nope", "! /nope is not a directory on the device.");
        check("read_device_file|path=/a.txt", "ä\r\n");
        check("read_device_file|path=/lib/bin",
              "/lib/bin is 1 bytes of binary data (not valid UTF-8).");
        check("read_device_file|path=/nope", "! Cannot read /nope: ");
        check("run_file|path=/it's \\\x04odd.py", "42\n");
        check("delete_device_file|path=/lib", "! Delete failed: ");
        check("delete_device_file|path=/a.txt", "Deleted /a.txt.");
        check("delete_device_file|path=/a.txt", "! /a.txt is not on the device.");
        QVERIFY(fixture->prompts.asked.isEmpty());
    }

    void asksBeforeItChangesTheBoard()
    {
        const auto fixture = connected();
        fixture->call("run_code|code=import os\nos.mkdir('/d')");
        const auto check = [&](bool isConfirmed, const QByteArray &line, const QByteArray &answer,
                               const QString &question) {
            fixture->prompts.confirmation.confirmed = isConfirmed;
            QCOMPARE(fixture->call(line), answer);
            QCOMPARE(fixture->prompts.takeAsked(), question.arg(m_board.port()));
        };
        fixture->settings.setFlag(Settings::autoApproveWrites, false);
        const QString create =
            u"Let Claude write “/a”? | 2 bytes, creating a new file on %1. | Write"_s;
        check(false, "write_device_file|path=/a|content=ä", "! The user declined the write to /a.",
              create);
        check(true, "write_device_file|path=/a|content=ä", "Wrote 2 bytes to /a.", create);
        check(true, "write_device_file|path=/a|content=xyz", "Wrote 3 bytes to /a.",
              u"Let Claude write “/a”? | 3 bytes, replacing the file already at /a on %1."
              " | Replace"_s);
        std::optional<decltype(fixture->begin({}))> other; // uses the board meanwhile
        fixture->prompts.waiting = [&] { other = fixture->begin("run_code|code=1"); };
        check(false, "write_device_file|path=/a|content=", "! The user declined the write to /a.",
              u"Let Claude write “/a”? | 0 bytes, replacing the file at /a on %1 if there is one. "
              "The board is busy and can’t be asked. | Replace"_s);
        fixture->prompts.waiting = [] {};
        check(true, "delete_device_file|path=/d", "Deleted /d.",
              u"Let Claude delete “/d”? | Removes the directory from %1. It must be empty."
              " | Delete"_s);
        check(false, "delete_device_file|path=/a", "! The user declined deleting /a.",
              u"Let Claude delete “/a”? | Removes 3 bytes from %1. This cannot be undone."
              " | Delete"_s);
        QCOMPARE(fixture->call("read_device_file|path=/a"), "xyz");
        fixture->prompts.waiting = [&] {
            fixture->call("run_code|code=import os\nos.remove('/a')");
        };
        QCOMPARE(fixture->call("delete_device_file|path=/a"), "! /a is not on the device.");
        fixture->settings.setFlag(Settings::autoApproveWrites, true); // takes effect at once
        QCOMPARE(fixture->call("write_device_file|path=/a|content="), "Wrote 0 bytes to /a.");
        QCOMPARE(fixture->prompts.takeAsked(), QString());
    }

    void changesNoBoardThatWasConnectedLater()
    {
        ScriptedBoard board;
        ToolsFixture fixture;
        fixture.connectTo(board);
        fixture.prompts.meanwhile = [&] {
            fixture.state->link().disconnectDevice();
            QVERIFY(fixture.state->link().connectDevice(board.port()));
            board.forget();
        };
        const QByteArray write = "write_device_file|path=/a|content=x";
        QCOMPARE(fixture.call(write),
                 "! Nothing was done: the board was connected anew while the call was waiting.");
        QVERIFY2(!board.transcript().contains(u"wb"_s), qPrintable(board.transcript()));
        QVERIFY(fixture.prompts.takeAsked().contains(u"if there is one"_s)); // no reply
        fixture.prompts.meanwhile = [&] { fixture.state->link().disconnectDevice(); };
        QCOMPARE(fixture.call(write), noBoard);
    }

    void releasesTheBoardWhileAQuestionIsOpen()
    {
        VirtualBoard small({u"--disk"_s, u"50000"_s});
        QVERIFY2(small.start(), qPrintable(small.errorText()));
        const auto fixture = connected(small);
        const QByteArray write = "write_device_file|path=/b|content=" + QByteArray(30'000, 'n');
        QCOMPARE(fixture->call(write), "Wrote 30000 bytes to /b.");
        std::optional<decltype(fixture->begin({}))> later;
        fixture->prompts.meanwhile = [&] {
            QCOMPARE(fixture->call("run_code|code=print(1)"), "1\n");
            later = fixture->begin("run_code|code=import time\ntime.sleep(.3)\nprint(2)");
        };
        QCOMPARE(fixture->call(write), "Wrote 30000 bytes to /b.");
        QVERIFY(later->isReady() && fixture->prompts.takeAsked().contains(u"Write Over"_s));
    }

    void reportsADeletionThatTheBoardDoesNotConfirm()
    {
        ScriptedBoard board;
        ToolsFixture fixture;
        fixture.connectTo(board);
        for (const auto &[removed, exists] :
             {std::pair("?"_ba, "__EXISTS__0"_ba), {"__OK__"_ba, "__EXISTS__1"_ba}}) {
            board.onProgram = [removed = removed, exists = exists](const QByteArray &program) {
                if (program.contains("__LS__"))
                    return ScriptedBoard::reply("__LS__[{\"n\":\"a\",\"p\":\"/a\",\"d\":false}]");
                return ScriptedBoard::reply(program.contains("__EXISTS__") ? exists : removed);
            };
            const QByteArray answer = fixture.call("delete_device_file|path=/a");
            QVERIFY2(answer.startsWith("! "), answer);
        }
    }

    void reportsWhyAListingFailed()
    {
        ScriptedBoard board;
        ToolsFixture fixture;
        fixture.connectTo(board);
        board.onProgram = [](const QByteArray &) {
            return ScriptedBoard::reply({}, "MemoryError: no");
        };
        QCOMPARE(fixture.call("list_device_files"),
                 "! Device file listing failed: MemoryError: no");
        for (const QByteArray tool : {"list_device_files", "delete_device_file"}) {
            auto call = fixture.begin(tool + "|path=/");
            fixture.state->link().disconnectDevice();
            QCOMPARE(toText(awaited(std::move(call))), noBoard);
            fixture.connectTo(board);
        }
    }

    void dropsCallsThatHaveNotBegun()
    {
        const auto fixture = connected();
        std::stop_source unwanted;
        auto first = fixture->begin("run_code|code=import time\ntime.sleep(.5)\nprint(1)");
        fixture->stop.unwanted = unwanted.get_token();
        auto write = fixture->begin("write_device_file|path=/never|content=x");
        auto code = fixture->begin("run_code|code=print(2)");
        unwanted.request_stop();
        const QByteArray canceled = "! The call was canceled.";
        QCOMPARE(toText(awaited(std::move(write))), canceled);
        QCOMPARE(toText(awaited(std::move(code))), canceled);
        QVERIFY(!first.isReady()); // these did not have to wait for it
        QCOMPARE(toText(awaited(std::move(first))), "1\n");
        // A call whose question is open.
        std::stop_source closed;
        fixture->stop = {};
        fixture->call("write_device_file|path=/kept|content=");
        fixture->settings.setFlag(Settings::autoApproveWrites, false);
        fixture->prompts.meanwhile = [&] { closed.request_stop(); };
        for (const QByteArray line :
             {"write_device_file|path=/never|content=x", "delete_device_file|path=/kept"}) {
            closed = std::stop_source();
            fixture->stop.unwanted = closed.get_token();
            QCOMPARE(fixture->call(line), canceled);
            QVERIFY(!fixture->prompts.takeAsked().isEmpty());
        }
        fixture->stop = {};
        QVERIFY(!fixture->call("list_device_files").contains("never"));
    }

    void interruptsTheProgramOfACanceledCall()
    {
        ScriptedBoard board;
        ToolsFixture fixture;
        fixture.connectTo(board);
        board.on("pass\4", "OKon\r\n");
        board.on("\3", "\4KeyboardInterrupt: \r\n\4>");
        std::stop_source unwanted;
        std::stop_source canceled;
        fixture.stop = {unwanted.get_token(), canceled.get_token()};
        auto call = fixture.begin("run_code|code=pass");
        unwanted.request_stop(); // what has begun continues
        QTRY_VERIFY(board.received().endsWith("pass\4"));
        QVERIFY(!call.isReady());
        canceled.request_stop();
        const QByteArray answer = toText(awaited(std::move(call)));
        QVERIFY2(answer.startsWith("Output before the failure:\non\n"), answer);
        QVERIFY2(answer.endsWith("KeyboardInterrupt: \n"), answer);
        QTRY_VERIFY(fixture.isBoardIdle());
    }

    void refusesBoardAccessWhileAProgramRuns()
    {
        const auto fixture = connected();
        fixture->call("write_device_file|path=/a|content=");
        fixture->settings.setFlag(Settings::autoApproveWrites, false);
        fixture->prompts.waiting = [&] {
            fixture->write(u"print('on')\nwhile True: pass"_s);
            fixture->run();
            QTRY_VERIFY(fixture->text().contains("on\n"));
        };
        const QByteArray busy = "The device is running a program — stop it first";
        QCOMPARE(fixture->call("write_device_file|path=/a|content=x"),
                 "! Device write failed: " + busy);
        QCOMPARE(fixture->call("run_code|code=1"), "! " + busy);
        QCOMPARE(fixture->call("list_device_files"), "! Device file listing failed: " + busy);
        QCOMPARE(fixture->call("delete_device_file|path=/a"), "! Delete failed: " + busy);
        QCOMPARE(fixture->call("write_device_file|path=/a|content=x"),
                 "! Device write failed: " + busy);
        QVERIFY(fixture->prompts.asked.isEmpty());
        fixture->state->stopRun();
        QTRY_VERIFY(fixture->isBoardIdle());
    }

    void endsAllCallsWhenItIsDestroyed()
    {
        ScriptedBoard board;
        ToolsFixture fixture;
        fixture.connectTo(board);
        board.setMute(true);
        auto running = fixture.begin("run_code|code=1");
        auto resetting = fixture.begin("soft_reset");
        std::stop_source unwanted;
        fixture.stop.unwanted = unwanted.get_token();
        auto answered = fixture.begin("run_code|code=2");
        unwanted.request_stop();
        QMetaObject::invokeMethod(
            this, [&] { fixture.tools.reset(); }, Qt::QueuedConnection);
        QTRY_VERIFY(!fixture.tools);
        QVERIFY(running.isReady() && resetting.isReady() && answered.isReady());
        QCOMPARE(awaited(std::move(answered)).error().code, ErrorCode::Closed);
        fixture.state.reset(); // what the calls had begun ends here
        QCOMPARE(awaited(std::move(running)).error().code, ErrorCode::Closed);
        QCOMPARE(awaited(std::move(resetting)).error().code, ErrorCode::Closed);
    }
};

QTEST_GUILESS_MAIN(tst_BoardTools)
#include "tst_BoardTools.moc"
