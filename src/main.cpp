#include "base/DescriptorLimit.h"
#include "ui/window/KorvaneApp.h"

#include <QApplication>

int main(int argc, char **argv)
{
    Korvane::DescriptorLimit::raise();
    Korvane::KorvaneApp::preloadFonts();
    QApplication application(argc, argv);
    Korvane::KorvaneApp::setUp(application);
    Korvane::KorvaneApp korvane;
    korvane.show();
    return QApplication::exec();
}
