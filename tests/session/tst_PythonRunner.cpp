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

/// A runner and everything it tells, in order: "out …", "err …", "info …", "result …".
class Session final
{
public:
    explicit Session(const QStringList &interpreters = PythonRunner::defaultInterpreters())
        : runner(std::make_unique<PythonRunner>(interpreters))
    {
        const auto teller = [this](const QString &kind) {
            return [this, kind](const QString &text) { tell(kind, text); };
        };
        runner->onOutput = teller(u"out "_qs);
        runner->onErrorOutput = teller(u"err "_qs);
        runner->onInfo = teller(u"info "_qs);
    }

    RunResult wait(QCoro::Task<RunResult> &&task) { return QCoro::waitFor(task); }
    RunResult run(const QString &code) { return wait(runner->run(code, QString(), true)); }

    /// What the command prints, or the error that it ends in.
    QString shell(const QString &code)
    {
        log.clear();
        const RunResult result = wait(runner->runShell(code));
        return result.error.isEmpty() ? log.join(u'|').mid(4).trimmed() : result.error;
    }

    pid_t childId() { return shell(u"__import__('os').getpid()"_qs).toInt(); }

    /// Runs a file from a clean log on.
    QCoro::Task<void> start(const QString &code)
    {
        log.clear();
        return logResult(runner->run(code, QString(), true));
    }

    /// Logs the result when the caller is resumed.
    QCoro::Task<void> logResult(QCoro::Task<RunResult> task, QString name = QString())
    {
        const RunResult result = co_await task;
        tell(u"result "_qs, name + result.error);
    }

    QStringList log; // outlives the runner, whose callers still tell their results
    std::unique_ptr<PythonRunner> runner;

private:
    void tell(const QString &kind, const QString &text)
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
    void startsTheInterpreterInAKnownSurrounding()
    {
        qputenv("PYTHONIOENCODING", "latin-1");
        Session session;
        QCOMPARE(
            session.shell(u"import os, sys; e = os.environ; print(*sys.orig_argv[:3], "
                          "os.getcwd(), e['PYTHONIOENCODING'], e['PYTHONDONTWRITEBYTECODE'])"_qs),
            u"/usr/bin/python3 -u -c %1 utf-8 1"_qs.arg(QDir::homePath()));
        qunsetenv("PYTHONIOENCODING");
    }

    void tellsWhatAProgramDid_data()
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
        // Its child can no longer answer.
        row("killed from outside",
            "import os, subprocess\nsubprocess.Popen(['kill', '-9', str(os.getpid())])\n"
            "while True: pass",
            {}, sessionEnded);
        row("a grandchild keeps its output",
            "import os, subprocess\nsubprocess.Popen(['sleep', '20'])\nos._exit(1)", {},
            sessionEnded);
    }

    void tellsWhatAProgramDid()
    {
        QFETCH(QString, log);
        QFETCH(QString, error);
        QFETCH(QString, code);
        Session session;
        const RunResult result = session.run(code);
        QStringList shown;
        for (const PythonVariable &variable : result.variables)
            shown << u"%1:%2=%3"_qs.arg(variable.name, variable.type, variable.value);
        // What it printed after its reply, or as an error by another pipe, may arrive later. A
        // driver that cannot reply says so.
        const auto logged = [&] {
            return session.log.join(u'|').section(u"err Traceback"_qs, 0, 0);
        };
        QTRY_VERIFY2(logged() == log, qPrintable(logged().left(1000)));
        QTEST(shown.join(u' '), "variables");
        QVERIFY2(result.error.endsWith(error) && result.error.isEmpty() == error.isEmpty(),
                 qPrintable(result.error));
        QCOMPARE(session.shell(u"1+1"_qs), u"2"_qs);
    }

    void servesCallersInTheOrderInWhichTheyCame()
    {
        Session session;
        QStringList expected;
        std::list<QCoro::Task<void>> tasks;
        for (const char *name : {"a", "b", "c", "d"}) {
            const QString text = QString::fromLatin1(name);
            const QString code = u"print('%1', end=''); raise SystemExit('%1')"_qs.arg(text);
            tasks.push_back(session.logResult(session.runner->runShell(code), text + u' '));
            expected << u"out "_qs + text << u"result %1 SystemExit: %1\n"_qs.arg(text);
        }
        QTRY_COMPARE(session.log, expected);
        const QString large = u"len('%1')"_qs.arg(QString(5'000'000, u'é')); // in many writes
        QCOMPARE(session.shell(large), u"5000000"_qs);
    }

    void interruptsALoop()
    {
        // A script that starts us in the background leaves SIGINT ignored.
        for (const auto handler : {SIG_DFL, SIG_IGN}) {
            const auto previous = ::signal(SIGINT, handler);
            Session session;
            const pid_t child = session.childId();
            session.runner->interrupt(); // finds nothing to interrupt
            const auto task = session.start(u"print(1)\nwhile True: pass"_qs);
            QTRY_COMPARE(session.log, QStringList{u"out 1\n"_qs});
            session.runner->interrupt();
            QTRY_COMPARE(session.log.mid(1), QStringList{u"result KeyboardInterrupt\n"_qs});
            // The watchdog must not strike at the next request.
            QCOMPARE(session.run(u"import time; time.sleep(2.2)"_qs).error, QString());
            QCOMPARE(session.childId(), child);
            ::signal(SIGINT, previous);
        }
    }

    void replacesAChildThatIgnoresTheInterrupt()
    {
        Session session;
        const pid_t child = session.childId();
        const auto task = session.start(
            u"import signal\nsignal.signal(2, signal.SIG_IGN)\nprint(1)\nwhile True: pass"_qs);
        QTRY_COMPARE(session.log, QStringList{u"out 1\n"_qs});
        QElapsedTimer timer;
        timer.start();
        session.runner->interrupt();
        QTRY_COMPARE(
            session.log.mid(1),
            QStringList({u"info Python session did not respond to Ctrl+C — restarted it."_qs,
                         u"result Interrupted."_qs}));
        QVERIFY2(timer.elapsed() >= 2000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(session.shell(u"'signal' in dir()"_qs), u"False"_qs);
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
            Session session;
            const bool isPrinting = code.contains(u"print"_qs);
            const pid_t child = isPrinting ? session.childId() : 0;
            QCoro::Task<void> task;
            if (!code.isEmpty())
                task = session.start(code);
            QTRY_VERIFY(!isPrinting || !session.log.isEmpty());
            session.log.clear();
            const RunResult result = session.wait(session.runner->restart());
            QVERIFY2(result.error.isEmpty() && result.variables.isEmpty(), qPrintable(code));
            QCOMPARE(session.log.join(u'|'),
                     code.isEmpty() ? u"info Session restarted."_qs
                                    : u"info Session restarted.|result Interrupted."_qs);
            QTRY_VERIFY2(!processExists(child) || child == 0, "a zombie is left");
            QTRY_COMPARE(session.runner->findChildren<PythonChild *>().size(), 1);
            QCOMPARE(session.shell(u"6*7"_qs), u"42"_qs);
        }
    }

    void answersWhatAProgramAsks()
    {
        Session session;
        const auto waits = [&] { return session.runner->isWaitingForInput(); };
        const auto task = session.start(u"import sys\nprint(input('a? '), sys.stdin.read(2),"
                                        "\n  sys.stdin.readline().rstrip(), input())\ninput()"_qs);
        QTRY_VERIFY(waits());
        QCOMPARE(session.log, QStringList{u"out a? "_qs});
        session.runner->answerInput(u"é \"x\\\n12"_qs + QChar(0xD800) + u"\n"_qs);
        QTRY_VERIFY(waits());
        session.runner->answerInput(u"last\n"_qs);
        QTRY_VERIFY(waits());
        QCOMPARE(session.log, QStringList{u"out a? é \"x\\ 12 ? last\n"_qs});
        session.runner->answerInput({});
        QTRY_VERIFY(session.log.constLast().contains(u"EOFError"_qs));
        QVERIFY(!waits());

        // An interrupted question takes no late answer for the next one's.
        const auto second = session.start(u"try: input()\nexcept KeyboardInterrupt: input()"_qs);
        QTRY_VERIFY(waits());
        session.runner->interrupt();
        QVERIFY(!waits());
        QTRY_VERIFY(waits());
        session.runner->interrupt();
        QTRY_COMPARE(session.log, QStringList{u"result KeyboardInterrupt\n"_qs});
        QCOMPARE(session.shell(u"1"_qs), u"1"_qs);

        // Input that a program has not read is not given to the next one.
        const auto third = session.start(u"input()"_qs);
        QTRY_VERIFY(waits());
        session.runner->answerInput(u"1\n2\n"_qs);
        QTRY_COMPARE(session.log, QStringList{u"result "_qs});
        const auto fourth = session.start(u"input()"_qs);
        QTRY_VERIFY(waits());
    }

    void survivesAnInterruptAtTheEndOfAProgram()
    {
        Session session;
        const pid_t child = session.childId();
        const QString code =
            u"import sys\ndef trace(frame, *_):\n if frame.f_code.co_name == '_block':\n"
            "  sys.settrace(None)\n  raise KeyboardInterrupt\nsys.settrace(trace)"_qs;
        QCOMPARE(session.run(code).error, u"KeyboardInterrupt\n"_qs);
        ::kill(child, SIGINT);
        (void)session.shell(u"1"_qs); // the signal may interrupt this one
        QCOMPARE(session.childId(), child);
    }

    void interruptsTheFirstRunBeforeItHasStarted()
    {
        Session session;
        const auto task = session.start(u"while True: pass"_qs);
        session.runner->interrupt();
        QTRY_COMPARE(session.log, QStringList{u"result KeyboardInterrupt\n"_qs});
    }

    void saysWhyThereIsNoSession()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"python3"_qs);
        Session session({folder.filePath(u"absent"_qs), path});
        QCOMPARE(session.shell(u"1"_qs), u"Python 3 not found. Install Python from python.org"_qs);
        QVERIFY(QFile(path).open(QIODevice::WriteOnly));
        QCOMPARE(session.shell(u"1"_qs), u"Could not start Python: execve: Permission denied"_qs);
        QVERIFY(QFile::remove(path) && QFile::link(u"/usr/bin/python3"_qs, path));
        QCOMPARE(session.shell(QString(QChar(0xDC00))),
                 u"Could not encode command for the Python session"_qs);
        QCOMPARE(session.shell(u"2"_qs), u"2"_qs);
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
        Session session;
        const pid_t child = session.childId();
        const auto first = session.start(
            u"import signal\nfor s in [%1]: signal.signal(s, 1)\nprint(1)\nwhile True: pass"_qs.arg(
                ignored));
        QTRY_VERIFY(!session.log.isEmpty());
        if (ignored == u"2, 15")
            QCOMPARE(session.wait(session.runner->restart()).error, QString());
        const auto second = session.logResult(session.runner->readVariables(), u"2 "_qs);
        session.log.removeFirst();
        QElapsedTimer timer;
        timer.start();
        session.runner.reset();
        QVERIFY2(timer.elapsed() < 4000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY2(!processExists(child), "the child still runs");
        QCOMPARE(session.log.filter(u"result "_qs),
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

    // The event loop finds the output of both sessions at once. While it shows that of one, the
    // program of the other writes an error and ends: its reply is read before the error is seen.
    void passesOnErrorsBeforeTheResult()
    {
        QTemporaryDir folder;
        Session sessions[2];
        std::list<QCoro::Task<void>> tasks;
        for (Session &session : sessions)
            QVERIFY(session.childId() > 0);
        for (Session &session : sessions) {
            const QString ready = folder.filePath(QString::number(tasks.size()));
            const QString go = folder.filePath(u"go"_qs);
            session.runner->onOutput = [go](const QString &) {
                QVERIFY(QFile(go).open(QIODevice::WriteOnly));
                QThread::msleep(500);
            };
            tasks.push_back(session.start(
                u"import os, sys, time\nprint(1)\nopen('%1', 'w')\nwhile not os.path.exists('%2'): "
                "time.sleep(0.01)\nsys.stderr.write('late')"_qs.arg(ready, go)));
            while (!QFile::exists(ready))
                QThread::msleep(5);
        }
        for (const Session &session : sessions)
            QTRY_COMPARE(session.log, QStringList({u"err late"_qs, u"result "_qs}));
    }
};

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().contains(u"--crash"_qs)) {
        Session session;
        std::printf("%d", session.childId());
        std::fflush(stdout);
        const auto task = session.start(u"print(1)\nwhile True: pass"_qs);
        while (session.log.isEmpty())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        std::raise(SIGKILL);
    }
    tst_PythonRunner test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_PythonRunner.moc"
