#include "ui/window/HelpCommands.h"

#include "theme/Theme.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>

namespace Korvane {

namespace {

constexpr int symbolSize = 64;

} // namespace

HelpCommands::HelpCommands(QMainWindow &window)
    : QObject(&window)
    , m_window(window)
{
    QMenu *menu = window.menuBar()->addMenu(tr("&Help"));
    menu->addAction(tr("&About Korvane"), this, &HelpCommands::showAbout);
}

void HelpCommands::showAbout()
{
    auto *box = new QMessageBox(&m_window);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(tr("About Korvane"));
    box->setIconPixmap(QApplication::windowIcon().pixmap(QSize(symbolSize, symbolSize),
                                                         m_window.devicePixelRatioF()));
    box->setTextFormat(Qt::PlainText);
    box->setText(tr("Korvane %1").arg(QApplication::applicationVersion()));
    box->setInformativeText(tr("A development environment for boards that run MicroPython.\n\n"
                               "Free software under the MIT license.\nBuilt with Qt %1.")
                                .arg(QString::fromLatin1(qVersion())));
    if (auto *title = box->findChild<QLabel *>(QStringLiteral("qt_msgbox_label")))
        title->setFont(Theme::headlineFont(title->font()));
    box->setStandardButtons(QMessageBox::Close);
    box->setEscapeButton(QMessageBox::Close);
    box->setDefaultButton(QMessageBox::Close);
    box->open(); // modal to the window, without an event loop of its own
}

} // namespace Korvane
