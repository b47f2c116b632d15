// The time that the debugger adds: analyzing and rewriting a source before a run, and on the board,
// where the rewritten program checks at each line whether to stop, a run without a stop.
//
//   debugger            analyzing and rewriting
//   debugger PORT       both; PORT is a board's, such as the one that scripts/virtual-board prints
//
// Exits with 1 when 10,000 lines take more than 20 ms, or four times as many lines more than eight
// times as long.

#include "Measure.h"
#include "base/ShellSink.h"
#include "board/DeviceLink.h"
#include "board/ProgramRun.h"
#include "debugger/DebugSession.h"
#include "debugger/InstrumentedRun.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QRegularExpression>
#include <QTimer>

#include <algorithm>
#include <cstdio>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

constexpr double allowedMilliseconds = 20;
constexpr double allowedGrowth = 8;

/// Functions of \p linesEach lines, until there are \p lines.
QString manyLines(int lines, int linesEach)
{
    QString text;
    for (int i = 0; i < lines; ++i) {
        const int place = i % linesEach;
        text += place == 0 ? u"def function_%1(first, second=(1, 2), *rest, **named):\n"_s.arg(i)
            : place % 10 == 1
            ? u"    for index_%1, item in enumerate(rest):  # a comment\n"_s.arg(i)
            : place % 10 == 2
            ? u"        value_%1 = item[index_%1] + first * (second, 'a # b')\n"_s.arg(i)
            : u"    total_%1 = call(first,  [value for value in rest])\n"_s.arg(i);
    }
    return text;
}

double medianMilliseconds(const QString &source)
{
    const QSet<int> breakpoints{1, 100, 1000};
    QList<double> times;
    for (int round = 0; round < 15; ++round) {
        const double before = Bench::processorMilliseconds();
        const InstrumentedRun run(source, breakpoints);
        times << Bench::processorMilliseconds() - before;
    }
    std::ranges::sort(times);
    return times[times.size() / 2];
}

bool measureRewriting()
{
    bool isGood = true;
    for (const int linesEach : {50, 1'000'000}) {
        std::printf("%s:\n", linesEach == 50 ? "functions of 50 lines" : "one function");
        const double small = medianMilliseconds(manyLines(10'000, linesEach));
        const double large = medianMilliseconds(manyLines(40'000, linesEach));
        std::printf("  10,000 lines %.1f ms   40,000 lines %.1f ms\n", small, large);
        isGood = isGood && small <= allowedMilliseconds && large <= small * allowedGrowth;
    }
    return isGood;
}

/// The parts of the program that a debug run needs.
struct Runner final : DeviceLinkClient, ShellSink
{
    DeviceLink link;
    ProgramRun run{link, *this};
    DebugSession session{link, run, *this};
    QString output;

    explicit Runner(const QString &port)
        : link(*this, {.extraPorts = port})
    {
        link.setClient(this);
    }

    void appendLine(const QString &text, REPLLine::Kind kind) override
    {
        if (kind == REPLLine::Kind::Error)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    }
    void appendOutput(const QString &text) override { output += text; }
    bool deviceProgramRunning() const override { return run.deviceProgramRunning(); }
    bool isPausedAtBreakpoint() const override { return session.pausedAt().has_value(); }
    bool isReplyEnding() const override { return run.isReplyEnding(); }

    /// The time that the program prints for its work, in milliseconds; -1 when it prints none
    /// within two minutes.
    double elapsed(const QString &source, bool isDebugged)
    {
        output.clear();
        QEventLoop loop;
        QObject::connect(&run, &ProgramRun::replyCompleted, &loop, &QEventLoop::quit);
        QTimer::singleShot(120'000, &loop, &QEventLoop::quit);
        if (isDebugged)
            session.startDebugRun(u"bench.py"_s, source, {static_cast<int>(source.count(u'\n'))});
        else
            run.runOnDeviceStreamed(source);
        loop.exec();
        static const QRegularExpression elapsed(u"elapsed (\\d+)"_s);
        const auto match = elapsed.match(output);
        return match.hasMatch() ? match.captured(1).toDouble() : -1;
    }
};

const QString tightLoop = u"import time\n"
                          "def work():\n"
                          "    i = total = 0\n"
                          "    while i < 300000:\n"
                          "        total += i\n"
                          "        i += 1\n"_s;
const QString calls = u"import time\n"
                      "def fib(n):\n"
                      "    if n < 2:\n"
                      "        return n\n"
                      "    a = fib(n - 1)\n"
                      "    b = fib(n - 2)\n"
                      "    return a + b\n"
                      "def work():\n"
                      "    fib(24)\n"_s;
// The breakpoint is on the last line, which is never reached.
const QString timed = u"start = time.ticks_ms()\n"
                      "work()\n"
                      "print('elapsed', time.ticks_diff(time.ticks_ms(), start))\n"
                      "if False:\n"
                      "    pass\n"_s;

bool measureRuns(const QString &port)
{
    Runner runner(port);
    if (const auto opened = runner.link.connectDevice(port); !opened) {
        std::fprintf(stderr, "%s\n", qPrintable(opened.error().message));
        return false;
    }
    for (const auto &[name, program] : {std::pair{"a tight loop", tightLoop}, {"calls", calls}}) {
        QList<double> plain;
        QList<double> debugged;
        for (int round = 0; round < 5; ++round) {
            plain << runner.elapsed(program + timed, false);
            debugged << runner.elapsed(program + timed, true);
        }
        std::ranges::sort(plain);
        std::ranges::sort(debugged);
        if (plain.first() < 0 || debugged.first() < 0)
            return false;
        std::printf("%s: plain %.0f ms, debugged %.0f ms: %.1f times as long\n", name, plain[2],
                    debugged[2], debugged[2] / plain[2]);
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const bool isFast = measureRewriting();
    const bool hasRun = argc < 2 || measureRuns(QString::fromLocal8Bit(argv[1]));
    return isFast && hasRun ? 0 : 1;
}
