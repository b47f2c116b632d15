#include "ui/KorvaneApp.h"

#include <QApplication>

int main(int argc, char **argv)
{
    Korvane::KorvaneApp::begin();
    QApplication application(argc, argv);
    Korvane::KorvaneApp::setUp(application);
    Korvane::KorvaneApp korvane;
    korvane.show();
    return QApplication::exec();
}
