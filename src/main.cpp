#include "app/CommandLine.h"
#include "app/RunningInstance.h"
#include "base/DescriptorLimit.h"
#include "theme/DesktopFonts.h"
#include "ui/window/KorvaneApp.h"

#include <QApplication>
#include <QFile>

#include <cstdio>

using namespace Korvane;

static int print(const CommandLine &commandLine)
{
    std::fputs(qPrintable(commandLine.text), commandLine.exitStatus == 0 ? stdout : stderr);
    return commandLine.exitStatus;
}

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QFile::decodeName(argv[i]));
    const QString socket = RunningInstance::defaultPath();
    // Before the QApplication, which needs a display and takes time. Options of Qt, such as
    // -platform, are unknown here; QApplication removes them, and the rest is parsed again.
    CommandLine commandLine = CommandLine::parse(arguments);
    const bool hasUnknownOptions = commandLine.exitStatus != 0;
    if (!hasUnknownOptions && !commandLine.text.isEmpty())
        return print(commandLine);
    if (!hasUnknownOptions && RunningInstance::handOver(commandLine, socket))
        return 0;

    DescriptorLimit::raise();
    DesktopFonts::load();
    QApplication application(argc, argv);
    if (hasUnknownOptions) {
        commandLine = CommandLine::parse(QApplication::arguments());
        if (!commandLine.text.isEmpty())
            return print(commandLine);
        if (RunningInstance::handOver(commandLine, socket))
            return 0;
    }
    KorvaneApp::setUp(application);
    KorvaneApp korvane;
    korvane.show();
    korvane.open(commandLine);
    RunningInstance instance(socket);
    QObject::connect(&instance, &RunningInstance::commandLineReceived, &application,
                     [&korvane](const CommandLine &received) {
                         korvane.open(received);
                         korvane.activateWindow();
                     });
    return QApplication::exec();
}
