#include "session/PythonChild.h"
#include "session/PythonRunner.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <csignal>
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

    /// Logs the result as soon as the caller hears of it.
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
            session.shell(u"print(*__import__('sys').orig_argv[:3], __import__('os').getcwd())"_qs),
            u"/usr/bin/python3 -u -c "_qs + QDir::homePath());
        QCOMPARE(
            session.shell(
                u"[__import__('os').environ[n] for n in ('PYTHONIOENCODING', 'PYTHONDONTWRITEBYTECODE')]"_qs),
            u"['utf-8', '1']"_qs);
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
        row("variables",
            "import json\nclass C:\n  def __repr__(s): return 'c' * 600\nb = C()\na = 5\n_h = "
            "1\ndef f(): pass",
            {}, {}, u"a:int=5 b:C="_qs + QString(500, u'c') + u"..."_qs);
        row("traceback", "x = 1\n1 / 0", {},
            u"Traceback (most recent call last):\n  File \"<untitled>\", line 2, in <module>\n"
            "ZeroDivisionError: division by zero\n"_qs,
            u"x:int=1"_qs);
        row("syntax error", "x =", {}, u"SyntaxError: invalid syntax\n"_qs);
        row("input()", "input('?')", {}, u" - assign the value directly in the Shell\n"_qs);
        row("exit with 3", "raise SystemExit(3)", {}, u"SystemExit: 3\n"_qs);
        row("exit with 0", "import sys; sys.exit(0)", {}, {});
        row("half surrogate pairs",
            "class C:\n  def __repr__(s): return '\\ud800!'\nx = C()\nraise Exception('\\udfff!')",
            {}, u"Exception: \uFFFD!\n"_qs, u"x:C=\uFFFD!"_qs);
        row("no text", "import os\nos.write(1, b'a\\xffb')", u"out a\uFFFDb"_qs, {});
        row("errors", "import os\nos.write(2, b'a\\xffb')", u"err a\uFFFDb"_qs, {});
        row("a delimiter", "print('a\\x04b', end='')", u"out a{\"vars\": []}"_qs,
            u"Unreadable reply from the Python session"_qs);
        row("exit of the child", "import os\nprint('bye')\nos._exit(0)", u"out bye\n"_qs,
            sessionEnded);
        row("its death", "import os\nos.kill(os.getpid(), 9)", {}, sessionEnded);
        row("100 kB and exit", "import os\nprint('y' * 100000)\nos._exit(0)",
            u"out "_qs + QString(100'000, u'y') + u'\n', sessionEnded);
        row("10 MB on one line", "print('y' * 10000000)",
            u"out "_qs + QString(10'000'000, u'y') + u'\n', {});
    }

    void tellsWhatAProgramDid()
    {
        QFETCH(QString, code);
        QFETCH(QString, log);
        QFETCH(QString, error);
        QFETCH(QString, variables);
        Session session;
        const RunResult result = session.run(code);
        QStringList shown;
        for (const PythonVariable &variable : result.variables)
            shown << u"%1:%2=%3"_qs.arg(variable.name, variable.type, variable.value);
        // What it printed after its reply, or as an error by another pipe, may come later.
        QTRY_VERIFY2(session.log.join(u'|') == log, qPrintable(session.log.join(u'|').left(1000)));
        QCOMPARE(shown.join(u' '), variables);
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
    }

    void interruptsALoop_data()
    {
        QTest::addColumn<bool>("inBackground");
        QTest::newRow("started by a person") << false;
        QTest::newRow("started by a script, which leaves SIGINT ignored") << true;
    }

    void interruptsALoop()
    {
        QFETCH(bool, inBackground);
        const auto previous = ::signal(SIGINT, inBackground ? SIG_IGN : SIG_DFL);
        Session session;
        const pid_t child = session.childId();
        session.runner->interrupt(); // finds nothing to interrupt
        const auto task = session.start(u"print(1)\nwhile True: pass"_qs);
        QTRY_COMPARE(session.log, QStringList{u"out 1\n"_qs});
        QElapsedTimer timer;
        timer.start();
        session.runner->interrupt();
        QTRY_COMPARE(session.log.mid(1), QStringList{u"result KeyboardInterrupt\n"_qs});
        QVERIFY(timer.elapsed() < 1500);
        // The watchdog must not strike at the next request.
        QCOMPARE(session.run(u"import time; time.sleep(2.5)"_qs).error, QString());
        QCOMPARE(session.childId(), child);
        ::signal(SIGINT, previous);
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

    void restarts_data()
    {
        QTest::addColumn<QString>("code");
        QTest::newRow("no child") << QString();
        QTest::newRow("being launched") << u"pass"_qs;
        QTest::newRow("busy") << u"print(1)\nwhile True: pass"_qs;
        QTest::newRow("flooding") << u"while True: print('y' * 1000)"_qs;
        QTest::newRow("deaf to SIGTERM")
            << u"import signal, time\nsignal.signal(15, signal.SIG_IGN)\n"
               "print(1)\ntime.sleep(1)\nprint('stale\\x04{}\\x04')"_qs;
    }

    void restarts()
    {
        QFETCH(QString, code);
        Session session;
        const bool isPrinting = code.contains(u"print"_qs);
        const pid_t child = isPrinting ? session.childId() : 0;
        QStringList log{u"info Session restarted."_qs};
        QCoro::Task<void> task;
        if (!code.isEmpty()) {
            log << u"result Interrupted."_qs;
            task = session.start(code);
        }
        QTRY_VERIFY(!isPrinting || !session.log.isEmpty());
        session.log.clear();
        const RunResult result = session.wait(session.runner->restart());
        QCOMPARE(result.error, QString());
        QVERIFY(result.variables.isEmpty());
        QCOMPARE(session.log, log);
        QTRY_VERIFY2(!processExists(child) || child == 0, "a zombie is left");
        QTRY_COMPARE(session.runner->findChildren<PythonChild *>().size(), 1);
        QCOMPARE(session.shell(u"6*7"_qs), u"42"_qs);
    }

    void startsAnewAfterAnIdleChildWasKilled()
    {
        Session session;
        const pid_t child = session.childId();
        session.log.clear();
        ::kill(child, SIGKILL);
        QTRY_VERIFY(!processExists(child));
        QCOMPARE(session.log, QStringList());
        QVERIFY(session.childId() != child);
    }

    void endsARequestWhoseChildCanNoLongerAnswer_data()
    {
        QTest::addColumn<QString>("code");
        QTest::newRow("killed from outside")
            << u"import os, subprocess\nsubprocess.Popen(['kill', '-9', str(os.getpid())])\nwhile True: pass"_qs;
        QTest::newRow("closed its output") << u"import os\nos.close(1)"_qs;
        QTest::newRow("closed its commands") << u"import os\nos.close(0)\nos.close(1)"_qs;
        QTest::newRow("a grandchild keeps its output")
            << u"import os, subprocess\nsubprocess.Popen(['sleep', '20'])\nos._exit(1)"_qs;
    }

    void endsARequestWhoseChildCanNoLongerAnswer()
    {
        QFETCH(QString, code);
        Session session;
        QCOMPARE(session.run(code).error, sessionEnded);
        QCOMPARE(session.shell(u"1+1"_qs), u"2"_qs);
    }

    void saysWhyThereIsNoSession()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"python3"_qs);
        Session session({folder.filePath(u"absent"_qs), path});
        QCOMPARE(session.shell(u"1"_qs), u"Python 3 not found. Install Python from python.org"_qs);
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        QCOMPARE(session.shell(u"1"_qs), u"Could not start Python: execve: Permission denied"_qs);
        QVERIFY(QFile::remove(path) && QFile::link(u"/usr/bin/python3"_qs, path));
        QCOMPARE(session.shell(QString(QChar(0xDC00))),
                 u"Could not encode command for the Python session"_qs);
        QCOMPARE(session.shell(u"2"_qs), u"2"_qs);
    }

    void tellsThatTheChildTakesNoCommandsAndFeedsTheNextOneWhole()
    {
        Session session;
        // A thread keeps the process alive when the driver has found its commands closed.
        const QString code =
            u"import os, threading, time\n"
            "threading.Thread(target=time.sleep, args=(1,)).start()\nos.close(0)"_qs;
        QCOMPARE(session.run(code).error, QString());
        QTRY_VERIFY(session.log.join(QString()).contains(u"Bad file descriptor"_qs));
        for (int i = 0; i < 2; ++i)
            QCOMPARE(session.run(QString(1'000'000, u'#')).error,
                     u"Python session stopped accepting input: Broken pipe"_qs);
        const QString large = u"len('%1')"_qs.arg(QString(5'000'000, u'é'));
        QTRY_COMPARE(session.shell(large), u"5000000"_qs);
    }

    void showsAFloodWithoutStallingTheEventLoop_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<qsizetype>("length");
        QTest::newRow("100 MB of output")
            << u"line = 'y' * 99 + '\\n'\nfor i in range(1000): print(line * 1000, end='')"_qs
            << qsizetype(100'000'000);
        QTest::newRow("60,000 lines of errors")
            << u"import sys\nfor i in range(60000): print('%08d' % i, file=sys.stderr)"_qs
            << qsizetype(540'000);
    }

    void showsAFloodWithoutStallingTheEventLoop()
    {
        QFETCH(QString, code);
        QFETCH(qsizetype, length);
        Session session;
        qsizetype received = 0;
        const auto count = [&received](const QString &text) { received += text.size(); };
        session.runner->onOutput = count;
        session.runner->onErrorOutput = count;
        QElapsedTimer sinceTick;
        qint64 longestGap = 0;
        QTimer ticker;
        connect(&ticker, &QTimer::timeout, this,
                [&] { longestGap = std::max(longestGap, sinceTick.restart()); });
        ticker.start(5);
        sinceTick.start();
        QCOMPARE(session.run(code).error, QString());
        QTRY_COMPARE(received, length);
        // Sanitizers and a busy machine cost their share; a stall would last for seconds.
        QVERIFY2(longestGap < 250, qPrintable(u"%1 ms"_qs.arg(longestGap)));
    }

    void letsEveryoneGoWhenItGoes()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"done"_qs);
        Session session;
        const auto first =
            session.start(u"import time\nprint(1)\ntime.sleep(0.5)\nopen('%1', 'w')"_qs.arg(path));
        const auto second = session.logResult(session.runner->readVariables(), u"2 "_qs);
        QTRY_VERIFY(!session.log.isEmpty());
        session.log.clear();
        session.runner.reset();
        QCOMPARE(session.log,
                 QStringList({u"result Interrupted."_qs, u"result 2 Interrupted."_qs}));
        QTRY_VERIFY2(QFile::exists(path), "the child was killed");
    }
};

QTEST_GUILESS_MAIN(tst_PythonRunner)
#include "tst_PythonRunner.moc"
