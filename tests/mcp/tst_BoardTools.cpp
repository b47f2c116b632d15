#include "app/Workshop.h"
#include "mcp/BoardTools.h"
#include "support/Awaited.h"
#include "support/Files.h"
#include "support/VirtualBoard.h"

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

using Arguments = QVariantMap;

const QString noBoard = u"! No device connected. Use connect_device first."_s;

Arguments on(const QString &path)
{
    return {{u"path"_s, path}};
}

/// A workshop with the tools in it.
struct Toolbox : Workshop
{
    Toolbox()
        : tools(std::make_unique<BoardTools>(*state))
    {
        state->shell().clear();
    }

    QCoro::Task<Result<QString>> begin(const QString &name, const Arguments &values = {})
    {
        ToolArguments arguments;
        for (const auto &[key, value] : values.asKeyValueRange()) {
            if (value.userType() == QMetaType::QString)
                arguments.insert(key, value.toString());
            else
                arguments.insert(key, value.toDouble());
        }
        return tools->call(name, std::move(arguments));
    }
    static QString told(const Result<QString> &answer)
    {
        return answer ? *answer : u"! "_s + answer.error().message;
    }
    /// The answer, or "! " and why there is none.
    QString call(const QString &name, const Arguments &values = {})
    {
        return told(awaited(begin(name, values)));
    }
    QString runCode(const QString &code) { return call(u"run_code"_s, {{u"code"_s, code}}); }
    QString connectDevice(const QString &port)
    {
        return call(u"connect_device"_s, {{u"port"_s, port}});
    }
    QString list(const QString &path) { return call(u"list_device_files"_s, on(path)); }
    QString read(const QString &path) { return call(u"read_device_file"_s, on(path)); }
    QString remove(const QString &path) { return call(u"delete_device_file"_s, on(path)); }
    QString put(const QString &path, const QString &content)
    {
        return call(u"write_device_file"_s, {{u"path"_s, path}, {u"content"_s, content}});
    }
    QString text() const { return lines(0).join(u'\n'); }

    std::unique_ptr<BoardTools> tools;
};

} // namespace

class tst_BoardTools final : public QObject
{
    Q_OBJECT

    VirtualBoard m_board;

    /// A workshop that is connected to the real board, which has no files.
    std::unique_ptr<Toolbox> connected()
    {
        auto box = std::make_unique<Toolbox>();
        box->settings.setFlag(Settings::autoApproveWrites, true);
        if (box->connectDevice(m_board.port()) != u"Connected to "_s + m_board.port() + u'.')
            qFatal("%s", qPrintable(box->text()));
        box->runCode(u"import os\nfor n in os.listdir('/'):\n try: os.remove('/' + n)\n"
                     " except OSError: os.rmdir('/' + n)"_s);
        return box;
    }

private slots:
    void initTestCase() { QVERIFY2(m_board.start(), qPrintable(m_board.errorText())); }

    void definesItsToolsToTheByte()
    {
        const QString path =
            qEnvironmentVariable("KORVANE_SOURCE_DIR") + u"/bench/mcp/tools.json"_s;
        QCOMPARE(Toolbox().tools->definitions(), bytesOf(path).trimmed());
    }

    void answersWithoutABoard()
    {
        Toolbox box;
        const auto check = [&](const QString &tool, const Arguments &arguments,
                               const QString &answer, const QString &logged = {}) {
            box.state->shell().clear();
            QCOMPARE(box.call(tool, arguments), answer);
            QCOMPARE(box.text(), u"info: 🤖 "_s + tool + logged);
        };
        check(u"frobnicate"_s,
              {{u"name"_s, u"c"_s}, {u"port"_s, u"b"_s}, {u"path"_s, u""_s}, {u"code"_s, u"x"_s}},
              u"! Unknown tool: frobnicate"_s, u" (path: , port: b, name: c)"_s);
        check({}, {{u"path"_s, 1}}, u"! Unknown tool: "_s); // numbers are not logged
        for (const auto &name :
             {u"list_device_files"_s, u"read_device_file"_s, u"write_device_file"_s,
              u"delete_device_file"_s, u"run_code"_s, u"run_file"_s, u"soft_reset"_s})
            check(name, {}, noBoard);
        const QString noPorts = u"! No serial ports found. Is the board plugged in?"_s;
        check(u"connect_device"_s, {}, noPorts);
        check(u"connect_device"_s, {{u"port"_s, u""_s}}, noPorts, u" (port: )"_s);
        check(u"open_in_editor"_s, {{u"name"_s, u""_s}, {u"content"_s, u"x"_s}},
              u"! Missing required argument “name”."_s, u" (name: )"_s);
        check(u"open_in_editor"_s, {{u"name"_s, u"a.py"_s}, {u"content"_s, 1}},
              u"! Missing required argument “content”."_s, u" (name: a.py)"_s);
    }

    void tellsTheStateAndOpensText()
    {
        Toolbox box;
        box.state->localFiles().setLocalWorkingDir(box.folder.path());
        const QString four = u"Connection: Not Connected\nAvailable ports: none\n"
                             "Device directory: /\nLocal directory: %1\n"_s.arg(box.folder.path());
        QCOMPARE(box.call(u"device_status"_s), four + u"Editor: untitled.py"_s);
        box.write(u"x"_s);
        QCOMPARE(box.call(u"device_status"_s), four + u"Editor: untitled.py (unsaved changes)"_s);
        QCOMPARE(
            box.call(u"open_in_editor"_s, {{u"name"_s, u"blink.py"_s}, {u"content"_s, u""_s}}),
            u"Opened blink.py in the editor. It is not on the device until you write it there."_s);
        QCOMPARE(box.state->documents().selectedFile()->name, u"blink.py"_s);
        QCOMPARE(box.lines(0).constLast(), u"info: Opened blink.py in the editor."_s);
    }

    void connectsToThePortThatIsMeant()
    {
        ScriptedBoard first;
        ScriptedBoard second;
        Toolbox one;
        const auto roots = [&](const QString &ports) {
            one.tools.reset();
            one.state.reset(new AppState({
                .settings = one.settings,
                .questions = one.questions,
                .serialRoots = {one.folder.path(), one.folder.path(), ports},
            }));
            one.tools = std::make_unique<BoardTools>(*one.state);
        };
        QStringList ports{first.port(), second.port()};
        ports.sort();
        roots(ports.join(u':'));
        QCOMPARE(one.call(u"connect_device"_s),
                 u"! Several ports available — name one: "_s + ports.join(u", "_s));
        QCOMPARE(one.connectDevice(second.port()), u"Connected to "_s + second.port() + u'.');
        QCOMPARE(one.connectDevice(first.port()),
                 u"Already connected to "_s + second.port() + u'.');
        roots(first.port());
        QCOMPARE(one.call(u"connect_device"_s), u"Connected to "_s + first.port() + u'.');
    }

    void takesNoOrdinaryFileForABoard()
    {
        Toolbox box;
        const QString path = box.folder.filePath(u"secret"_s);
        Korvane::put(path, "secret\n");
        for (const QString &port : {path, box.folder.path(), box.folder.filePath(u"missing"_s)})
            QCOMPARE(box.connectDevice(port), u"! Could not open "_s + port + u'.');
        QCOMPARE(bytesOf(path), "secret\n");
        QVERIFY(!box.text().contains(u"secret\n"_s));
    }

    void runsCode()
    {
        const auto box = connected();
        const QString traceback = u"Traceback (most recent call last):\n"
                                  "  File \"<stdin>\", line %1, in <module>\n%2\n"_s;
        QCOMPARE(box->runCode(u"print('ä')\nprint(1)"_s), u"ä\n1\n"_s);
        QCOMPARE(box->runCode(u"left = 1"_s), u"(no output)"_s);
        QCOMPARE(box->runCode(u"1/0"_s),
                 u"The code raised:\n"_s
                     + traceback.arg(u"1"_s, u"ZeroDivisionError: divide by zero"_s));
        QCOMPARE(box->runCode(u"print('a')\nraise ValueError('b')"_s),
                 u"Output before the failure:\na\n\nThen it raised:\n"_s
                     + traceback.arg(u"2"_s, u"ValueError: b"_s));
        QCOMPARE(box->runCode({}), u"! Missing required argument “code”."_s);
        const QString status = box->call(u"device_status"_s);
        QVERIFY2(QRegularExpression(u"\nMicroPython: \\S.* — \\S.*$"_s).match(status).hasMatch(),
                 qPrintable(status));
        QCOMPARE(box->call(u"soft_reset"_s),
                 u"Soft reset sent. boot.py and main.py have run again."_s);
        QCOMPARE(box->runCode(u"print('left' in globals())"_s), u"False\n"_s);
    }

    void givesUpWhenTheTimeIsUp()
    {
        ScriptedBoard board;
        Toolbox box;
        box.connectTo(board);
        board.setDelay(std::chrono::milliseconds(150));
        // A number as text is not a time.
        QCOMPARE(box.call(u"run_code"_s, {{u"code"_s, u"x"_s}, {u"timeout"_s, u"0.01"_s}}),
                 u"(no output)"_s);
        board.setMute(true);
        const QString late = box.call(u"run_code"_s, {{u"code"_s, u"x"_s}, {u"timeout"_s, 1.2}});
        QVERIFY2(late.startsWith(u"! "_s), qPrintable(late));
    }

    void worksWithFiles()
    {
        const auto box = connected();
        const QString odd = u"/it's \\ odd.py"_s;
        const auto failsWith = [](const QString &answer, const QString &start) {
            QVERIFY2(answer.startsWith(u"! "_s + start), qPrintable(answer));
        };
        QCOMPARE(box->call(u"list_device_files"_s), u"/ is empty."_s);
        QCOMPARE(box->put(u"/a.txt"_s, u"ä\r\n"_s), u"Wrote 4 bytes to /a.txt."_s);
        QCOMPARE(box->put(u"/empty"_s, u""_s), u"Wrote 0 bytes to /empty."_s);
        QCOMPARE(box->put(odd, u"print(6 * 7)"_s), u"Wrote 12 bytes to "_s + odd + u'.');
        failsWith(box->put(u"/none/a"_s, u"x"_s), u"Device write failed: "_s);
        box->runCode(u"import os\nos.mkdir('/lib')\nf = open('/lib/bin', 'wb')\n"
                     "f.write(b'\\xff')\nf.close()"_s);
        QCOMPARE(box->call(u"list_device_files"_s),
                 u"/:\n/lib/\n/a.txt  4 bytes\n/empty  0 bytes\n"_s + odd + u"  12 bytes"_s);
        QCOMPARE(box->list(u"/lib"_s), u"/lib:\n/lib/bin  1 bytes"_s);
        for (const auto &path : {u"/a.txt"_s, u"/nope"_s})
            QCOMPARE(box->list(path), u"! "_s + path + u" is not a directory on the device."_s);
        QCOMPARE(box->read(u"/a.txt"_s), u"ä\r\n"_s);
        QCOMPARE(box->read(u"/lib/bin"_s),
                 u"/lib/bin is 1 bytes of binary data (not valid UTF-8)."_s);
        failsWith(box->read(u"/nope"_s), u"Cannot read /nope: "_s);
        QCOMPARE(box->call(u"run_file"_s, on(odd)), u"42\n"_s);
        failsWith(box->remove(u"/lib"_s), u"Delete failed: "_s);
        QCOMPARE(box->remove(odd), u"Deleted "_s + odd + u'.');
        QCOMPARE(box->remove(odd), u"! "_s + odd + u" is not on the device."_s);
        QVERIFY(box->questions.asked.isEmpty());
    }

    void asksBeforeItChangesTheBoard()
    {
        const auto box = connected();
        const QString board = u" on "_s + m_board.port() + u". | "_s;
        const auto answerWith = [&](bool yes) { box->questions.confirmation.confirmed = yes; };
        box->settings.setFlag(Settings::autoApproveWrites, false);
        answerWith(false);
        QCOMPARE(box->put(u"/a"_s, u"ä"_s), u"! The user declined the write to /a."_s);
        answerWith(true);
        QCOMPARE(box->put(u"/a"_s, u"xyz"_s), u"Wrote 3 bytes to /a."_s);
        QCOMPARE(box->put(u"/a"_s, u"ä"_s), u"Wrote 2 bytes to /a."_s);
        QCOMPARE(
            box->questions.takeAsked(),
            u"Let Claude write “/a”? | 2 bytes, creating a new file"_s + board
                + u"Write\nLet Claude write “/a”? | 3 bytes, creating a new file"_s + board
                + u"Write\nLet Claude write “/a”? | 2 bytes, replacing the file already at /a"_s
                + board + u"Replace"_s);

        box->runCode(u"import os\nos.mkdir('/d')"_s);
        QCOMPARE(box->remove(u"/d"_s), u"Deleted /d."_s);
        answerWith(false);
        QCOMPARE(box->remove(u"/a"_s), u"! The user declined deleting /a."_s);
        QCOMPARE(box->questions.takeAsked(),
                 u"Let Claude delete “/d”? | Removes the directory from %1. It must be empty."
                 " | Delete\nLet Claude delete “/a”? | Removes 2 bytes from %1."
                 " This cannot be undone. | Delete"_s.arg(m_board.port()));
        QCOMPARE(box->read(u"/a"_s), u"ä"_s);

        box->settings.setFlag(Settings::autoApproveWrites, true); // heard at once
        QCOMPARE(box->remove(u"/a"_s), u"Deleted /a."_s);
        QCOMPARE(box->questions.takeAsked(), QString());
    }

    void leavesABoardAloneThatWasNotMeant()
    {
        ScriptedBoard board;
        Toolbox box;
        box.connectTo(board);
        box.questions.meanwhile = [&] {
            box.state->link().disconnectDevice();
            box.state->link().connectDevice(board.port());
            board.forget();
        };
        QCOMPARE(box.put(u"/a"_s, u"x"_s),
                 u"! Nothing was changed: the board was connected anew while the question was "
                 "open."_s);
        QVERIFY2(!board.transcript().contains(u"wb"_s), qPrintable(board.transcript()));
        box.questions.meanwhile = [&] { box.state->link().disconnectDevice(); };
        QCOMPARE(box.put(u"/a"_s, u"x"_s), u"! Device write failed: Not connected"_s);
    }

    void hearsOfABoardThatVanishes()
    {
        for (const QString &tool : {u"list_device_files"_s, u"delete_device_file"_s}) {
            ScriptedBoard board;
            Toolbox box;
            box.connectTo(board);
            auto call = box.begin(tool, on(u"/"_s));
            box.state->link().disconnectDevice();
            board.vanish();
            QCOMPARE(Toolbox::told(awaited(std::move(call))), noBoard);
        }
    }

    void leavesARunningProgramAlone()
    {
        const auto box = connected();
        box->runCode(u"import os\nos.mkdir('/d')"_s);
        box->list(u"/"_s);
        box->write(u"print('on')\nwhile True: pass"_s);
        box->run();
        QTRY_VERIFY(box->text().contains(u"on\n"_s));
        const QString busy = u"The device is running a program — stop it first"_s;
        QCOMPARE(box->runCode(u"1"_s), u"! "_s + busy);
        QCOMPARE(box->remove(u"/d"_s), u"! Delete failed: "_s + busy);
        box->state->stopRun();
        QTRY_VERIFY(box->isBoardIdle());
    }

    void endsAllCallsWhenItGoes()
    {
        ScriptedBoard board;
        Toolbox box;
        box.connectTo(board);
        board.setMute(true);
        auto running = box.begin(u"run_code"_s, {{u"code"_s, u"1"_s}});
        auto resetting = box.begin(u"soft_reset"_s);
        box.tools.reset();
        QVERIFY(running.isReady());
        QVERIFY(resetting.isReady());
        box.state.reset(); // what the calls had begun ends here
        QCOMPARE(awaited(std::move(running)).error().code, ErrorCode::Closed);
        QCOMPARE(awaited(std::move(resetting)).error().code, ErrorCode::Closed);
    }
};

QTEST_GUILESS_MAIN(tst_BoardTools)
#include "tst_BoardTools.moc"
