// How the window responds while a program prints without pause into its Shell.
//
//   shell-flood local [MEGABYTES]    a program in the local session prints 100 MB
//   shell-flood board [MEGABYTES]    a board on a pseudo-terminal prints 20 MB during a run
//   shell-flood oneline [MEGABYTES]  a local program prints 10 MB without a line end
//   shell-flood stderr [MEGABYTES]   a local program writes 10 MB to its standard error
//
// Prints the elapsed time until everything is shown, the peak of the memory in use, the longest
// time between two turns of the event loop, and the times of a change of the width and of clearing
// afterwards. Exits with 1 when two turns are more than 16 ms apart, and when a step takes more
// than two minutes.

#include "Measure.h"
#include "board/DeviceLink.h"
#include "ui/shell/TranscriptView.h"
#include "ui/window/ContentView.h"
#include "ui/window/KorvaneApp.h"

#include <QApplication>
#include <QElapsedTimer>

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

using namespace Korvane;
using namespace std::chrono_literals;

namespace {

constexpr double allowedGapMilliseconds = 16;
constexpr auto stepLimit = 2min;

/// Answers as a board does while a program is started on it, and then prints the given number of
/// bytes without pause. Runs on a thread of its own, so that the measured thread only reads.
class FloodingBoard final
{
public:
    explicit FloodingBoard(qsizetype bytes)
        : m_bytes(bytes)
        , m_master(posix_openpt(O_RDWR | O_NOCTTY))
    {
        grantpt(m_master);
        unlockpt(m_master);
        m_path = QString::fromLocal8Bit(ptsname(m_master));
        // Kept open, so that the port's own opening and closing does not end the terminal.
        m_slave = ::open(ptsname(m_master), O_RDWR | O_NOCTTY);
        termios raw{};
        tcgetattr(m_slave, &raw);
        cfmakeraw(&raw);
        tcsetattr(m_slave, TCSANOW, &raw);
        m_thread = std::thread([this] { serve(); });
    }
    ~FloodingBoard()
    {
        m_isStopping = true;
        m_thread.join();
        ::close(m_slave);
        ::close(m_master);
    }
    FloodingBoard(const FloodingBoard &) = delete;
    FloodingBoard &operator=(const FloodingBoard &) = delete;

    [[nodiscard]] const QString &path() const { return m_path; }

private:
    void serve()
    {
        QByteArray received;
        while (!m_isStopping) {
            pollfd waiting{m_master, POLLIN, 0};
            if (::poll(&waiting, 1, 20) <= 0)
                continue;
            char buffer[4096];
            const ssize_t count = ::read(m_master, buffer, sizeof buffer);
            if (count <= 0)
                continue;
            received.append(buffer, count);
            if (received.contains('\x01'))
                say("\r\nraw REPL; CTRL-B to exit\r\n>");
            if (received.contains("flood") && received.contains('\x04'))
                print();
            else if (received.contains('\x04'))
                say("OK__VARS__[]\r\n\x04\x04>"); // the variables are asked for after the run
            else
                continue;
            received.clear();
        }
    }

    void print()
    {
        say("OK");
        QByteArray line = "A line of the text that a board prints while a program runs on it.\r\n";
        for (qsizetype printed = 0; printed < m_bytes && !m_isStopping; printed += line.size())
            say(line);
        say("THE END\r\n\x04\x04>");
    }

    void say(QByteArrayView bytes)
    {
        while (!bytes.isEmpty() && !m_isStopping) {
            const ssize_t count =
                ::write(m_master, bytes.data(), static_cast<size_t>(bytes.size()));
            if (count > 0)
                bytes = bytes.sliced(count);
        }
    }

    qsizetype m_bytes;
    int m_master;
    int m_slave = -1;
    QString m_path;
    std::atomic<bool> m_isStopping = false;
    std::thread m_thread;
};

/// Ends the benchmark at once, without waiting for the thread of the board.
[[noreturn]] void fail(const QString &reason)
{
    std::fprintf(stderr, "%s\n", qPrintable(reason));
    std::_Exit(1);
}

/// Runs the event loop until \p isDone returns true; ends the benchmark with an error that names
/// \p step after two minutes.
template <typename Condition> void waitUntil(const char *step, Condition isDone)
{
    QEventLoop loop;
    QTimer::singleShot(stepLimit, &loop, [step] {
        fail(QStringLiteral("after two minutes, not yet: %1").arg(QLatin1StringView(step)));
    });
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &loop, [&] {
        if (isDone())
            loop.quit();
    });
    look.start(5);
    loop.exec();
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    KorvaneApp::setUp(application);
    const QString mode = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("local");
    const bool isBoard = mode == u"board";
    const bool isOneLine = mode == u"oneline";
    const bool isErrors = mode == u"stderr";
    const int megabytes = argc > 2 ? atoi(argv[2])
        : isBoard                  ? 20
        : isOneLine || isErrors    ? 10
                                   : 100;
    const qsizetype bytes = qsizetype{megabytes} * 1'000'000;

    std::optional<FloodingBoard> board;
    if (isBoard) {
        board.emplace(bytes);
        // Only listed ports are opened; the list is read when the link is made.
        qputenv("KORVANE_EXTRA_PORTS", board->path().toLocal8Bit());
    }
    const Bench::OwnFolders folders;
    KorvaneApp korvane;
    AppState &state = korvane.state();
    korvane.show();
    const auto *transcript = korvane.window().findChild<TranscriptView *>();
    waitUntil("the window is shown",
              [&] { return korvane.window().isActiveWindow() || transcript->isVisible(); });

    QString program;
    if (isBoard) {
        if (const auto opened = state.link().connectDevice(board->path()); !opened)
            fail(opened.error().message);
        program = QStringLiteral("flood()");
    } else if (isOneLine) {
        program = QStringLiteral("import sys\n"
                                 "for i in range(%1):\n"
                                 "    sys.stdout.write('x' * 1000)\n"
                                 "print()\nprint('THE END')\n")
                      .arg(bytes / 1000);
    } else if (isErrors) {
        program = QStringLiteral("import sys\n"
                                 "for i in range(%1):\n"
                                 "    print('A line that a program complains with.', i,"
                                 " file=sys.stderr)\n"
                                 "print('THE END')\n")
                      .arg(bytes / 43);
    } else {
        program = QStringLiteral("for i in range(%1):\n"
                                 "    print('A line of the text that a local program prints.', i)\n"
                                 "print('THE END')\n")
                      .arg(bytes / 55);
    }
    state.documents().updateSelectedContent(program);

    const double restingMegabytes = Bench::statusMegabytes("VmRSS:");
    QElapsedTimer time;
    Bench::TurnTimer turns;
    time.start();
    turns.start();
    state.runCurrentFile();
    const auto outputEnded = [&] {
        const QList<REPLLine> &lines = state.shell().replLines();
        return std::any_of(lines.crbegin(), lines.crend(), [](const REPLLine &line) {
            return line.kind == REPLLine::Kind::Output
                && QStringView(line.text)
                       .last(std::min<qsizetype>(line.text.size(), 20))
                       .contains(u"THE END");
        });
    };
    waitUntil("all output is received", outputEnded);
    const double printed = static_cast<double>(time.elapsed()) / 1000;
    waitUntil("all output is shown",
              [&] { return transcript->isCaughtUp() && !state.isRunning(); });
    const double shown = static_cast<double>(time.elapsed()) / 1000;
    turns.stop();
    const double gap = turns.longestGapMilliseconds();

    std::printf("%-8s %4d MB: received after %.2f s, shown after %.2f s, longest gap %.1f ms "
                "(own work %.1f ms), memory %.0f MB before, %.0f MB at its peak, %d blocks\n",
                qPrintable(mode), megabytes, printed, shown, gap, turns.longestWorkMilliseconds(),
                restingMegabytes, Bench::statusMegabytes("VmHWM:"), transcript->blockCount());

    time.start();
    korvane.window().resize(korvane.window().size() - QSize(100, 0));
    QCoreApplication::processEvents();
    std::printf("%-8s made narrower in %.1f ms\n", qPrintable(mode),
                static_cast<double>(time.nsecsElapsed()) / 1e6);
    time.start();
    state.shell().clear();
    QCoreApplication::processEvents();
    std::printf("%-8s cleared in %.1f ms\n", qPrintable(mode),
                static_cast<double>(time.nsecsElapsed()) / 1e6);
    return gap > allowedGapMilliseconds ? 1 : 0;
}
