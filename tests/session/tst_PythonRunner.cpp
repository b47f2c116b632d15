#include "session/PythonChild.h"
#include "session/PythonRunner.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <csignal>
#include <cstdio>
#include <list>
#include <memory>

using namespace Korvane;

namespace {

/// A runner and a log of its callbacks and results: "out …", "err …", "info …", "result …".
class RunnerFixture final
{
public:
    explicit RunnerFixture(const QStringList &interpreters = PythonRunner::defaultInterpreters())
        : runner(std::make_unique<PythonRunner>(interpreters))
    {
        const auto appender = [this](const QString &kind) {
            return [this, kind](const QString &text) { append(kind, text); };
        };
        runner->onOutput = appender(u"out "_qs);
        runner->onErrorOutput = appender(u"err "_qs);
        runner->onInfo = appender(u"info "_qs);
    }

    RunResult wait(QCoro::Task<RunResult> &&task) { return QCoro::waitFor(task); }
    RunResult run(const QString &code) { return wait(runner->run(code, QString(), true)); }

    /// The output of the command, or its error.
    QString shell(const QString &code)
    {
        log.clear();
        const RunResult result = wait(runner->runShell(code));
        return result.error.isEmpty() ? log.join(u'|').mid(4).trimmed() : result.error;
    }

    pid_t childId() { return shell(u"__import__('os').getpid()"_qs).toInt(); }

    /// Clears the log and runs a file.
    QCoro::Task<void> start(const QString &code)
    {
        log.clear();
        return logResult(runner->run(code, QString(), true));
    }

    /// Logs the result when the caller is resumed.
    QCoro::Task<void> logResult(QCoro::Task<RunResult> task, QString name = QString())
    {
        const RunResult result = co_await task;
        append(u"result "_qs, name + result.error);
    }

    QStringList log; // outlives the runner, whose pending results are still logged
    std::unique_ptr<PythonRunner> runner;

private:
    void append(const QString &kind, const QString &text)
    {
        if (kind == u"out "_qs && !log.isEmpty() && log.last().startsWith(kind))
            log.last() += text;
        else
            log << kind + text;
    }
};

bool processExists(pid_t id)
{
    return QFile::exists(u"/proc/%1"_qs.arg(id)); // also as a zombie
}

const QString sessionEnded = u"The Python session ended. It will restart on the next run."_qs;

} // namespace

class tst_PythonRunner final : public QObject
{
    Q_OBJECT

private slots:
    void startsTheInterpreterInAKnownEnvironment()
    {
        qputenv("PYTHONIOENCODING", "latin-1");
        RunnerFixture fixture;
        QCOMPARE(
            fixture.shell(u"import os, sys; e = os.environ; print(*sys.orig_argv[:3], "
                          "os.getcwd(), e['PYTHONIOENCODING'], e['PYTHONDONTWRITEBYTECODE'])"_qs),
            u"/usr/bin/python3 -u -c %1 utf-8 1"_qs.arg(QDir::homePath()));
        qunsetenv("PYTHONIOENCODING");
    }

    void reportsOutputErrorsAndVariables_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("log");
        QTest::addColumn<QString>("error"); // its end
        QTest::addColumn<QString>("variables");
        const auto row = [](const char *name, const char *code, const QString &log,
                            const QString &error, const QString &variables = QString()) {
            QTest::newRow(name) << QString::fromUtf8(code) << log << error << variables;
        };
        row("no line end", "print('hé€', end='')", u"out hé€"_qs, {});
        row("variables", "class C: pass\nimport json\na, _h, b = 5, 1, 'c'", {}, {},
            u"a:int=5 b:str='c'"_qs);
        row("traceback", "x = 1\nx / 0", {}, u"ZeroDivisionError: division by zero\n"_qs,
            u"x:int=1"_qs);
        row("surrogates", "raise SystemExit('\U0001F600\\ud800')", {}, u"SystemExit: 😀\uFFFD\n"_qs);
        row("errors", "import os\nos.write(2, b'a\\xffb')", u"err a\uFFFDb"_qs, {});
        row("a delimiter", "print('a\\x04b', end='')", u"out a{\"vars\": []}"_qs,
            u"Unreadable reply from the Python session"_qs);
        row("100 kB and exit", "import os\nprint('y' * 100000)\nos._exit(0)",
            u"out "_qs + QString(100'000, u'y') + u'\n', sessionEnded);
        row("half a character and exit", "import os\nos.write(1, b'a\\xe2')\nos._exit(0)",
            u"out a"_qs, sessionEnded);
        // The interpreter cannot reply any more.
        row("killed from outside",
            "import os, subprocess\nsubprocess.Popen(['kill', '-9', str(os.getpid())])\n"
            "while True: pass",
            {}, sessionEnded);
        row("a grandchild keeps its output",
            "import os, subprocess\nsubprocess.Popen(['sleep', '20'])\nos._exit(1)", {},
            sessionEnded);
    }

    void reportsOutputErrorsAndVariables()
    {
        QFETCH(QString, log);
        QFETCH(QString, error);
        QFETCH(QString, code);
        RunnerFixture fixture;
        const RunResult result = fixture.run(code);
        QStringList shown;
        for (const PythonVariable &variable : result.variables)
            shown << u"%1:%2=%3"_qs.arg(variable.name, variable.type, variable.value);
        // Output after the reply and errors (another pipe) may arrive later. A driver that cannot
        // reply prints a traceback, which is left out.
        const auto logged = [&] {
            return fixture.log.join(u'|').section(u"err Traceback"_qs, 0, 0);
        };
        QTRY_VERIFY2(logged() == log, qPrintable(logged().left(1000)));
        QTEST(shown.join(u' '), "variables");
        QVERIFY2(result.error.endsWith(error) && result.error.isEmpty() == error.isEmpty(),
                 qPrintable(result.error));
        QCOMPARE(fixture.shell(u"1+1"_qs), u"2"_qs);
    }

    void servesCallersInTheOrderOfTheirCalls()
    {
        RunnerFixture fixture;
        QStringList expected;
        std::list<QCoro::Task<void>> tasks;
        for (const char *name : {"a", "b", "c", "d"}) {
            const QString text = QString::fromLatin1(name);
            const QString code = u"print('%1', end=''); raise SystemExit('%1')"_qs.arg(text);
            tasks.push_back(fixture.logResult(fixture.runner->runShell(code), text + u' '));
            expected << u"out "_qs + text << u"result %1 SystemExit: %1\n"_qs.arg(text);
        }
        QTRY_COMPARE(fixture.log, expected);
        const QString large = u"len('%1')"_qs.arg(QString(5'000'000, u'é')); // in many writes
        QCOMPARE(fixture.shell(large), u"5000000"_qs);
    }

    void interruptsALoop()
    {
        // A shell that starts this test in the background lets it ignore SIGINT.
        for (const auto handler : {SIG_DFL, SIG_IGN}) {
            const auto previous = ::signal(SIGINT, handler);
            RunnerFixture fixture;
            const pid_t child = fixture.childId();
            fixture.runner->interrupt(); // has no effect
            const auto task = fixture.start(u"print(1)\nwhile True: pass"_qs);
            QTRY_COMPARE(fixture.log, QStringList{u"out 1\n"_qs});
            fixture.runner->interrupt();
            QTRY_COMPARE(fixture.log.mid(1), QStringList{u"result KeyboardInterrupt\n"_qs});
            // The time-out of the interrupt must not restart the session during the next request.
            QCOMPARE(fixture.run(u"import time; time.sleep(2.2)"_qs).error, QString());
            QCOMPARE(fixture.childId(), child);
            ::signal(SIGINT, previous);
        }
    }

    void replacesAChildThatIgnoresTheInterrupt()
    {
        RunnerFixture fixture;
        const pid_t child = fixture.childId();
        const auto task = fixture.start(
            u"import signal\nsignal.signal(2, signal.SIG_IGN)\nprint(1)\nwhile True: pass"_qs);
        QTRY_COMPARE(fixture.log, QStringList{u"out 1\n"_qs});
        QElapsedTimer timer;
        timer.start();
        fixture.runner->interrupt();
        QTRY_COMPARE(
            fixture.log.mid(1),
            QStringList({u"info Python session did not respond to Ctrl+C — restarted it."_qs,
                         u"result Interrupted."_qs}));
        QVERIFY2(timer.elapsed() >= 2000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(fixture.shell(u"'signal' in dir()"_qs), u"False"_qs);
        QTRY_VERIFY2(!processExists(child), "a zombie is left");
    }

    void restarts()
    {
        const QStringList programs{
            QString(),  // no child
            u"pass"_qs, // being launched
            u"while True: print('y' * 1000)"_qs,
            u"import os, time\nos.write(1, b'printed\\xe2')\ntime.sleep(9)"_qs,
            u"import signal, time\nsignal.signal(15, signal.SIG_IGN)\n"
            "print(1)\ntime.sleep(1)\nprint('stale\\x04{}\\x04')"_qs,
        };
        for (const QString &code : programs) {
            RunnerFixture fixture;
            const bool isPrinting = code.contains(u"print"_qs);
            const pid_t child = isPrinting ? fixture.childId() : 0;
            QCoro::Task<void> task;
            if (!code.isEmpty())
                task = fixture.start(code);
            QTRY_VERIFY(!isPrinting || !fixture.log.isEmpty());
            fixture.log.clear();
            const RunResult result = fixture.wait(fixture.runner->restart());
            QVERIFY2(result.error.isEmpty() && result.variables.isEmpty(), qPrintable(code));
            QCOMPARE(fixture.log.join(u'|'),
                     code.isEmpty() ? u"info Session restarted."_qs
                                    : u"info Session restarted.|result Interrupted."_qs);
            QTRY_VERIFY2(!processExists(child) || child == 0, "a zombie is left");
            QTRY_COMPARE(fixture.runner->findChildren<PythonChild *>().size(), 1);
            QCOMPARE(fixture.shell(u"6*7"_qs), u"42"_qs);
        }
    }

    void answersWhatAProgramAsks()
    {
        RunnerFixture fixture;
        const auto waits = [&] { return fixture.runner->isWaitingForInput(); };
        const auto task = fixture.start(u"import sys\nprint(input('a? '), sys.stdin.read(2),"
                                        "\n  sys.stdin.readline().rstrip(), input())\ninput()"_qs);
        QTRY_VERIFY(waits());
        QCOMPARE(fixture.log, QStringList{u"out a? "_qs});
        fixture.runner->answerInput(u"é \"x\\\n12"_qs + QChar(0xD800) + u"\n"_qs);
        QTRY_VERIFY(waits());
        fixture.runner->answerInput(u"last\n"_qs);
        QTRY_VERIFY(waits());
        QCOMPARE(fixture.log, QStringList{u"out a? é \"x\\ 12 ? last\n"_qs});
        fixture.runner->answerInput({});
        QTRY_VERIFY(fixture.log.constLast().contains(u"EOFError"_qs));
        QVERIFY(!waits());

        // An interrupt ends the wait for input, until the next input() call.
        const auto second = fixture.start(u"try: input()\nexcept KeyboardInterrupt: input()"_qs);
        QTRY_VERIFY(waits());
        fixture.runner->interrupt();
        QVERIFY(!waits());
        QTRY_VERIFY(waits());
        fixture.runner->interrupt();
        QTRY_COMPARE(fixture.log, QStringList{u"result KeyboardInterrupt\n"_qs});
        QCOMPARE(fixture.shell(u"1"_qs), u"1"_qs);

        // Input that a program has not read is not given to the next one.
        const auto third = fixture.start(u"input()"_qs);
        QTRY_VERIFY(waits());
        fixture.runner->answerInput(u"1\n2\n"_qs);
        QTRY_COMPARE(fixture.log, QStringList{u"result "_qs});
        const auto fourth = fixture.start(u"input()"_qs);
        QTRY_VERIFY(waits());
    }

    void survivesAnInterruptAtTheEndOfAProgram()
    {
        RunnerFixture fixture;
        const pid_t child = fixture.childId();
        const QString code =
            u"import sys\ndef trace(frame, *_):\n if frame.f_code.co_name == '_block':\n"
            "  sys.settrace(None)\n  raise KeyboardInterrupt\nsys.settrace(trace)"_qs;
        QCOMPARE(fixture.run(code).error, u"KeyboardInterrupt\n"_qs);
        ::kill(child, SIGINT);
        (void)fixture.shell(u"1"_qs); // the signal may interrupt this one
        QCOMPARE(fixture.childId(), child);
    }

    void interruptsTheFirstRunBeforeItHasStarted()
    {
        RunnerFixture fixture;
        const auto task = fixture.start(u"while True: pass"_qs);
        fixture.runner->interrupt();
        QTRY_COMPARE(fixture.log, QStringList{u"result KeyboardInterrupt\n"_qs});
    }

    void reportsWhyThereIsNoSession()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"python3"_qs);
        RunnerFixture fixture({folder.filePath(u"absent"_qs), path});
        QCOMPARE(fixture.shell(u"1"_qs), u"Python 3 not found. Install Python from python.org"_qs);
        QVERIFY(QFile(path).open(QIODevice::WriteOnly));
        QCOMPARE(fixture.shell(u"1"_qs), u"Could not start Python: execve: Permission denied"_qs);
        QVERIFY(QFile::remove(path) && QFile::link(u"/usr/bin/python3"_qs, path));
        QCOMPARE(fixture.shell(QString(QChar(0xDC00))),
                 u"Could not encode command for the Python session"_qs);
        QCOMPARE(fixture.shell(u"2"_qs), u"2"_qs);
    }

    void endsItsChildrenWhenItIsDestroyed_data()
    {
        QTest::addColumn<QString>("ignored");
        QTest::newRow("SIGINT") << u""_qs;
        QTest::newRow("SIGTERM") << u"2"_qs;
        QTest::newRow("SIGKILL, and a replaced child") << u"2, 15"_qs;
    }

    void endsItsChildrenWhenItIsDestroyed()
    {
        QFETCH(QString, ignored);
        RunnerFixture fixture;
        const pid_t child = fixture.childId();
        const auto first = fixture.start(
            u"import signal\nfor s in [%1]: signal.signal(s, 1)\nprint(1)\nwhile True: pass"_qs.arg(
                ignored));
        QTRY_VERIFY(!fixture.log.isEmpty());
        if (ignored == u"2, 15")
            QCOMPARE(fixture.wait(fixture.runner->restart()).error, QString());
        const auto second = fixture.logResult(fixture.runner->readVariables(), u"2 "_qs);
        fixture.log.removeFirst();
        QElapsedTimer timer;
        timer.start();
        fixture.runner.reset();
        QVERIFY2(timer.elapsed() < 4000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY2(!processExists(child), "the child still runs");
        QCOMPARE(fixture.log.filter(u"result "_qs),
                 QStringList({u"result Interrupted."_qs, u"result 2 Interrupted."_qs}));
    }

    void endsItsChildWhenTheProgramCrashes()
    {
        QProcess program;
        program.start(QCoreApplication::applicationFilePath(), {u"--crash"_qs});
        QVERIFY(program.waitForFinished() && program.exitStatus() == QProcess::CrashExit);
        const QString child = QString::fromLatin1(program.readAllStandardOutput());
        QVERIFY2(child.toInt() > 0, qPrintable(child));
        const auto isRunning = [&child] {
            QFile commandLine(u"/proc/%1/cmdline"_qs.arg(child)); // empty for a zombie
            return commandLine.open(QIODevice::ReadOnly) && !commandLine.readAll().isEmpty();
        };
        QTRY_VERIFY(!isRunning());
    }

    // The event loop finds output of both sessions at once. While it handles that of one, the
    // program of the other writes an error and ends: its reply is read before the error.
    void passesOnErrorsBeforeTheResult()
    {
        QTemporaryDir folder;
        RunnerFixture fixtures[2];
        std::list<QCoro::Task<void>> tasks;
        for (RunnerFixture &fixture : fixtures)
            QVERIFY(fixture.childId() > 0);
        for (RunnerFixture &fixture : fixtures) {
            const QString ready = folder.filePath(QString::number(tasks.size()));
            const QString go = folder.filePath(u"go"_qs);
            fixture.runner->onOutput = [go](const QString &) {
                QVERIFY(QFile(go).open(QIODevice::WriteOnly));
                QThread::msleep(500);
            };
            tasks.push_back(fixture.start(
                u"import os, sys, time\nprint(1)\nopen('%1', 'w')\nwhile not os.path.exists('%2'): "
                "time.sleep(0.01)\nsys.stderr.write('late')"_qs.arg(ready, go)));
            while (!QFile::exists(ready))
                QThread::msleep(5);
        }
        for (const RunnerFixture &fixture : fixtures)
            QTRY_COMPARE(fixture.log, QStringList({u"err late"_qs, u"result "_qs}));
    }
};

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().contains(u"--crash"_qs)) {
        RunnerFixture fixture;
        std::printf("%d", fixture.childId());
        std::fflush(stdout);
        const auto task = fixture.start(u"print(1)\nwhile True: pass"_qs);
        while (fixture.log.isEmpty())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        std::raise(SIGKILL);
    }
    tst_PythonRunner test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_PythonRunner.moc"
