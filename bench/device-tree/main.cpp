// How long the board's browser takes to show a large tree.
//
//   device-tree [ENTRIES]    5,000 by default, in one folder, which is the worst case
//
// Prints the median times of parsing and sorting the board's listing, of making the rows, and of
// laying them out and painting them. Exits with 1 when they take more than 50 ms together.

#include "board/DeviceListing.h"
#include "ui/browser/FileListView.h"
#include "ui/window/KorvaneApp.h"

#include <QApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace Korvane;

namespace {

constexpr double allowedMilliseconds = 50;
constexpr int rounds = 15;

/// A listing as the board prints it. Each tenth entry is a folder with one file.
QString listing(int entries)
{
    QStringList parts;
    int made = 0;
    for (int i = 0; made < entries; ++i, ++made) {
        const QString name = QStringLiteral("Entry %1.py").arg((i * 7919) % entries);
        if (i % 10 != 0) {
            parts << QStringLiteral(R"({"n":"%1","p":"/%1","d":false,"s":%2})").arg(name).arg(i);
            continue;
        }
        parts
            << QStringLiteral(
                   R"({"n":"%1","p":"/%1","d":true,"s":0,"c":[{"n":"a","p":"/%1/a","d":false,"s":1}]})")
                   .arg(name);
        ++made;
    }
    return QStringLiteral("__LS__[%1]").arg(parts.join(u','));
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    KorvaneApp::setUp(application);
    const int entries = argc > 1 ? atoi(argv[1]) : 5000;
    const QString output = listing(entries);
    FileListView view;
    view.resize(240, 600);
    view.setVisible(true); // its own show() is private
    QCoreApplication::processEvents();

    std::vector<double> parsing;
    std::vector<double> rowing;
    std::vector<double> showing;
    for (int round = 0; round < rounds; ++round) {
        const auto elapsed = [](QElapsedTimer &timer) {
            const auto milliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;
            timer.restart();
            return milliseconds;
        };
        QElapsedTimer timer;
        timer.start();
        const auto nodes = DeviceListing::parse(output);
        parsing.push_back(elapsed(timer));
        QList<FileListModel::Row> rows;
        for (const DeviceFileNode &node : *nodes)
            rows.append({node.name, node.isDirectory, node.size});
        rowing.push_back(elapsed(timer));
        view.showRows(std::move(rows), QStringLiteral("/"));
        view.repaint();
        showing.push_back(elapsed(timer));
    }
    const double all = median(parsing) + median(rowing) + median(showing);
    std::printf("%d entries: parsed and sorted in %.1f ms, rows in %.1f ms, shown in %.1f ms; "
                "%.1f ms together\n",
                entries, median(parsing), median(rowing), median(showing), all);
    return all > allowedMilliseconds ? 1 : 0;
}
