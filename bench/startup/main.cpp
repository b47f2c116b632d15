// The time from the start of the program to the first expose event of its window, and the memory
// that it then uses, compared with an empty Qt window and one with an empty text edit. The program
// is made as by main(), with its settings, recovery files and workspace, in a temporary folder. The
// processor time of the main thread is printed, too: other programs on the machine change it less.
//
//   startup [RUNS]      21 by default; prints the runs and their medians
//
// Exits with 1 when the program needs more than 1.3 times an empty window's time, or 1.4 times the
// memory of a window with an editor, and when a run fails.

#include "Measure.h"
#include "theme/DesktopFonts.h"
#include "ui/window/ContentView.h"
#include "ui/window/KorvaneApp.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QProcess>
#include <QWindow>

#include <cstdio>
#include <ctime>
#include <vector>

using namespace Korvane;

namespace {

constexpr double allowedTimeRatio = 1.3;
constexpr double allowedMemoryRatio = 1.4;

double monotonicMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// Prints the time from \p started to the expose event and the processor time, both in
/// milliseconds, and a second later the memory in megabytes.
class Reporter final : public QObject
{
public:
    explicit Reporter(double started)
        : m_started(started)
    {
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *window = qobject_cast<QWindow *>(watched);
        if (event->type() == QEvent::Expose && window && window->isExposed() && !m_isMapped) {
            m_isMapped = true;
            std::printf("%.1f %.1f ", monotonicMilliseconds() - m_started,
                        Bench::processorMilliseconds());
            QTimer::singleShot(1000, qApp, [] {
                std::printf("%.1f\n", Bench::statusMegabytes("VmRSS:"));
                QCoreApplication::quit();
            });
        }
        return false;
    }

private:
    double m_started;
    bool m_isMapped = false;
};

int show(int argc, char **argv)
{
    const QByteArray what = argv[1];
    if (what == "korvane")
        DesktopFonts::load();
    QApplication application(argc, argv);
    Reporter reporter(atof(argv[2]));
    application.installEventFilter(&reporter);
    if (what == "korvane") {
        KorvaneApp::setUp(application);
        KorvaneApp korvane;
        korvane.show();
        return QApplication::exec();
    }
    if (what == "editor") {
        QPlainTextEdit edit;
        edit.resize(1080, 740);
        edit.show();
        return QApplication::exec();
    }
    QWidget window;
    window.resize(1080, 740);
    window.show();
    return QApplication::exec();
}

struct Measured
{
    double milliseconds = 0;
    double processor = 0; // milliseconds of the main thread
    double megabytes = 0;
};

Measured runOnce(const QString &what)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(),
                  {what, QString::number(monotonicMilliseconds(), 'f', 3)});
    process.waitForFinished();
    const QList<QByteArray> values = process.readAllStandardOutput().simplified().split(' ');
    if (values.size() != 3) {
        std::fprintf(stderr, "no window within 30 s: %s\n", qPrintable(what));
        std::exit(1);
    }
    return {values[0].toDouble(), values[1].toDouble(), values[2].toDouble()};
}

double median(std::vector<Measured> runs, double Measured::*value)
{
    const auto middle = runs.begin() + static_cast<std::ptrdiff_t>(runs.size() / 2);
    std::nth_element(runs.begin(), middle, runs.end(),
                     [value](const auto &a, const auto &b) { return a.*value < b.*value; });
    return (*middle).*value;
}

Measured medians(const std::vector<Measured> &runs)
{
    return {median(runs, &Measured::milliseconds), median(runs, &Measured::processor),
            median(runs, &Measured::megabytes)};
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 2)
        return show(argc, argv);
    QCoreApplication application(argc, argv);
    const int runs = argc > 1 ? atoi(argv[1]) : 21;
    const QStringList kinds{QStringLiteral("window"), QStringLiteral("editor"),
                            QStringLiteral("korvane")};
    std::vector<std::vector<Measured>> measured(3);
    const Bench::OwnFolders folders;
    runOnce(kinds.last()); // fills the file system's cache, and makes the settings and the state
    for (int run = 0; run < runs; ++run) {
        for (size_t kind = 0; kind < measured.size(); ++kind)
            measured[kind].push_back(runOnce(kinds[static_cast<qsizetype>(kind)]));
    }
    std::vector<Measured> results;
    for (size_t kind = 0; kind < measured.size(); ++kind) {
        std::printf("%-8s", qPrintable(kinds[static_cast<qsizetype>(kind)]));
        for (const Measured &run : measured[kind])
            std::printf("  %6.1f", run.milliseconds);
        results.push_back(medians(measured[kind]));
        std::printf("   median %.1f ms, %.1f ms of them on the processor, %.1f MB\n",
                    results[kind].milliseconds, results[kind].processor, results[kind].megabytes);
    }
    const double timeRatio = results[2].milliseconds / results[0].milliseconds;
    const double memoryRatio = results[2].megabytes / results[1].megabytes;
    std::printf("mapped after %.2f times an empty window's time (processor: %.2f); memory %.2f "
                "times that of a window with an editor\n",
                timeRatio, results[2].processor / results[0].processor, memoryRatio);
    return timeRatio > allowedTimeRatio || memoryRatio > allowedMemoryRatio ? 1 : 0;
}
