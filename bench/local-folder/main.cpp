// How long the window takes to show a folder of this computer with very many files.
//
//   local-folder [FILES]    20,000 by default
//
// Prints the median time from entering the folder until its rows are painted, and the longest time
// between two turns of the event loop. Exits with 1 when the rows take more than 150 ms, or one
// turn more than 50 ms of processor time.

#include "Measure.h"
#include "ui/browser/FileListView.h"
#include "ui/window/ContentView.h"
#include "ui/window/KorvaneApp.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>

#include <cstdio>
#include <vector>

using namespace Korvane;

namespace {

constexpr double allowedMilliseconds = 150;
constexpr double allowedWorkMilliseconds = 50;
constexpr int rounds = 9;

} // namespace

int main(int argc, char **argv)
{
    Bench::limitTime();
    QApplication application(argc, argv);
    KorvaneApp::setUp(application);
    const int files = argc > 1 ? atoi(argv[1]) : 20'000;
    QTemporaryDir large;
    for (int i = 0; i < files; ++i) {
        QFile file(large.filePath(QStringLiteral("Entry %1.py").arg(i)));
        if (!file.open(QIODevice::WriteOnly))
            return 2;
    }
    QTemporaryDir empty;
    const Bench::OwnFolders folders;
    KorvaneApp korvane({.interpreters = {}});
    korvane.show();
    auto *list = korvane.window().findChild<FileListView *>(QStringLiteral("localFiles"));
    LocalFiles &local = korvane.state().localFiles();

    const auto enter = [&](const QString &folder, int rows) {
        QElapsedTimer time;
        time.start();
        local.setLocalWorkingDir(folder);
        while (list->model()->rowCount() != rows)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        list->viewport()->repaint();
        return static_cast<double>(time.nsecsElapsed()) / 1e6;
    };
    std::vector<double> times;
    double longestGap = 0;
    double longestWork = 0;
    for (int round = 0; round < rounds; ++round) {
        enter(empty.path(), 0);
        Bench::TurnTimer turns;
        turns.start();
        times.push_back(enter(large.path(), files));
        turns.stop();
        longestGap = std::max(longestGap, turns.longestGapMilliseconds());
        longestWork = std::max(longestWork, turns.longestWorkMilliseconds());
    }
    std::sort(times.begin(), times.end());
    const double shown = times[times.size() / 2];
    std::printf("%d files: shown after %.0f ms, longest gap %.1f ms (own work %.1f ms)\n", files,
                shown, longestGap, longestWork);
    return shown > allowedMilliseconds || longestWork > allowedWorkMilliseconds ? 1 : 0;
}
