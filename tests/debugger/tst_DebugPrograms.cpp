#include "debugger/DebugFixture.h"
#include "support/Awaited.h"
#include "support/VirtualBoard.h"

#include <QDir>

using namespace Korvane;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

/// What the last lines of a program specify: its breakpoints, and one line for each stop:
///
///     #! breakpoints 3 7
///     #> 3 s  n=2  text='a b'  !later
///
/// The program stops at line 3, where n and text have these values and `later` is not defined; the
/// test then steps.
struct ExpectedStops
{
    struct Stop
    {
        int line;
        QString command;
        QStringList variables;
    };
    QString source;
    QSet<int> breakpoints;
    QList<Stop> stops;

    explicit ExpectedStops(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("no program %s", qPrintable(path));
        source = QString::fromUtf8(file.readAll());
        for (const QString &line : source.split(u'\n')) {
            if (line.startsWith(u"#! breakpoints ")) {
                for (const QString &number : line.split(u' ').mid(2))
                    breakpoints << number.toInt();
            } else if (line.startsWith(u"#> ")) {
                const QStringList parts = line.mid(3).split(u"  "_s);
                stops.append({parts[0].section(u' ', 0, 0).toInt(), parts[0].section(u' ', 1),
                              parts.mid(1)});
            }
        }
    }
};

/// The differences between \p pause and the expected \p stop.
QStringList differences(const ExpectedStops::Stop &stop, const DebugPause &pause)
{
    QStringList found;
    if (stop.line != pause.line)
        found << u"line %1"_s.arg(pause.line);
    QHash<QString, QString> values;
    for (const PythonVariable &variable : pause.variables)
        values[variable.name] = variable.value;
    for (const QString &expected : stop.variables) {
        const bool isAbsent = expected.startsWith(u'!');
        const QString name = isAbsent ? expected.mid(1) : expected.section(u'=', 0, 0);
        const bool isAsExpected =
            isAbsent ? !values.contains(name) : values.value(name) == expected.section(u'=', 1);
        if (!isAsExpected)
            found << name + u'=' + values.value(name, u"(none)"_s);
    }
    return found;
}

} // namespace

/// Debugs whole programs on a real MicroPython.
class tst_DebugPrograms final : public QObject
{
    Q_OBJECT

private:
    using Command = std::function<QString(const DebugPause &)>;

    VirtualBoard m_board;
    std::unique_ptr<DebugFixture> m_fixture;
    Command m_command;

    DebugSession &session() { return m_fixture->session; }
    bool isWhole() const
    {
        return m_fixture->events.value(m_fixture->events.size() - 1) == u"whole"_s;
    }

    void resetBoard()
    {
        QVERIFY(awaited(m_fixture->link.executeOnDevice(u"pass"_s, 20s)));
        m_fixture->shell.clear();
        QVERIFY(awaited(m_fixture->link.softReset()));
        QTRY_VERIFY(m_fixture->shell.output().contains(u"soft reboot"));
        QTRY_VERIFY(m_fixture->shell.output().endsWith(u">>> "));
        m_fixture->shell.clear();
        m_fixture->events.clear();
    }

    /// What the program printed, from a board without variables of earlier programs.
    QString output(const QString &source, const std::optional<QSet<int>> &breakpoints,
                   const Command &command)
    {
        resetBoard();
        m_command = command;
        if (breakpoints)
            session().startDebugRun(u"program.py"_s, source, *breakpoints);
        else
            m_fixture->run->runOnDeviceStreamed(source);
        if (!QTest::qWaitFor([this] { return isWhole(); }, 100'000))
            return u"(no end) "_s + m_fixture->shell.lines().join(u'\n');
        QString printed;
        const QStringList &lines = m_fixture->shell.lines();
        for (const QString &line : lines.mid(lines.indexOf(u"info: ▶ Sent to device."_s) + 1)) {
            if (line.startsWith(u"output: "))
                printed += line.mid(8);
        }
        return printed.remove(u'\r').section(u"OK"_s, 1);
    }

    static void addPrograms()
    {
        QTest::addColumn<QString>("path");
        const QDir folder(qEnvironmentVariable("KORVANE_SOURCE_DIR")
                          + u"/tests/debugger/programs"_s);
        for (const QFileInfo &file : folder.entryInfoList({u"*.py"_s}))
            QTest::newRow(qPrintable(file.baseName())) << file.filePath();
    }

private slots:
    void initTestCase() { QVERIFY2(m_board.start(), qPrintable(m_board.errorText())); }

    void init()
    {
        m_fixture = std::make_unique<DebugFixture>();
        connect(&session(), &DebugSession::paused, this, [this](const DebugPause &pause) {
            // After the session has reported the line, as a command of the user.
            QTimer::singleShot(0, m_fixture->run.get(), [this, command = m_command(pause)] {
                if (command == u"s")
                    session().debugStep();
                else if (command == u"c")
                    session().debugContinue();
                else
                    session().debugStop();
            });
        });
        QVERIFY(m_fixture->link.connectDevice(m_board.port()));
    }

    void printsTheSameWhenDebugged_data() { addPrograms(); }

    void printsTheSameWhenDebugged()
    {
        QFETCH(QString, path);
        const QString source = ExpectedStops(path).source + u"\nif False:\n    pass\n"_s;
        const int unreached = static_cast<int>(source.count(u'\n'));
        int stops = 0;
        const Command step = [&stops](const DebugPause &) {
            ++stops;
            return u"s"_s;
        };
        const QString plain = output(source, std::nullopt, step);
        QVERIFY2(plain.size() > 5 && !plain.startsWith(u"(no"), qPrintable(plain));
        QCOMPARE(output(source, QSet<int>{unreached}, step), plain);
        QCOMPARE(stops, 0);
        QCOMPARE(output(source, QSet<int>(), step), plain);
        QVERIFY2(stops >= 5, qPrintable(QString::number(stops)));
    }

    void stopsAtTheExpectedLines_data() { addPrograms(); }

    void stopsAtTheExpectedLines()
    {
        QFETCH(QString, path);
        const ExpectedStops expected(path);
        QVERIFY(!expected.stops.isEmpty());
        QStringList problems;
        qsizetype count = 0;
        output(expected.source, expected.breakpoints, [&](const DebugPause &pause) {
            const qsizetype i = count++;
            if (i >= expected.stops.size()) {
                problems << u"stop %1: line %2, unexpected"_s.arg(i + 1).arg(pause.line);
                return u"c"_s;
            }
            const QStringList found = differences(expected.stops[i], pause);
            if (!found.isEmpty())
                problems << u"stop %1 (line %2): "_s.arg(i + 1).arg(expected.stops[i].line)
                        + found.join(u", "_s);
            return expected.stops[i].command;
        });
        QVERIFY2(problems.isEmpty(), qPrintable(u'\n' + problems.join(u'\n')));
        QCOMPARE(count, expected.stops.size());
        QVERIFY(isWhole() && !session().isDebugging());
        QCOMPARE(*awaited(m_fixture->link.executeOnDevice(u"print(6 * 7)"_s, 20s)), u"42\n"_s);
    }

    void freesTheBoardAfterUnusualPrograms_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("stops");
        QTest::addColumn<QString>("printed"); // the end of the output
        const auto row = [](const char *name, const QString &source, int stops,
                            const QString &printed) {
            QTest::newRow(name) << source << stops << printed;
        };
        const QString uncallable = u"TypeError: 'int' object isn't callable\n>"_s;
        row("one that does not compile", u"x = 1\nmatch x:\n    case 1:\n        pass\n"_s, 0,
            u"line 2\nSyntaxError: invalid syntax\n>"_s);
        row("a future import", u"from __future__ import division\n"_s, 1,
            u"ImportError: no module named '__future__'\n>"_s);
        row("a name that a stop needs", u"locals = 5\nx = 1\n"_s, 1, uncallable);
        row("a string that hides a stop", u"s = 'a\\\n( b'\nprint(s)\n"_s, 1, u"a( b\n>"_s);
        row("an end mark of its own", u"print('a\\x04b')\nprint('c')\n"_s, 2, u"ab\nc\n>"_s);
        row("exit", u"import sys\nsys.exit()\n"_s, 2, u"raw REPL; CTRL-B to exit\n>"_s);
        QString large = u"def f(x):\n    while x:\n        x = 0\n"_s;
        for (int i = 0; i < 900; ++i)
            large += u"        v%1 = x\n"_s.arg(i);
        row("a very large function", large, 0, u"RuntimeError: bytecode overflow\n>"_s);
    }

    void freesTheBoardAfterUnusualPrograms()
    {
        QFETCH(QString, source);
        int stops = 0;
        const QString shown = output(source, QSet<int>(), [&stops](const DebugPause &) {
            return ++stops < 30 ? u"s"_s : u"q"_s;
        });
        QTEST(stops, "stops");
        QFETCH(QString, printed);
        QVERIFY2(shown.endsWith(printed), qPrintable(shown));
        QVERIFY(!session().isDebugging() && !m_fixture->run->deviceProgramRunning());
        QCOMPARE(*awaited(m_fixture->link.executeOnDevice(u"print(6 * 7)"_s, 20s)), u"42\n"_s);
    }
};

QTEST_GUILESS_MAIN(tst_DebugPrograms)
#include "tst_DebugPrograms.moc"
