#include "ui/window/HelpCommands.h"

#include "theme/Theme.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QUrl>

namespace Korvane {

namespace {

constexpr int symbolSize = 64;

/// The path of the user guide's first page in the installation, in the build folder or in the
/// source tree. Empty when there is none.
QString guidePage()
{
    for (const QString &relative :
         {QStringLiteral("/../share/doc/korvane/guide/index.html"),
          QStringLiteral("/guide/index.html"), QStringLiteral("/../../docs/guide/README.md")}) {
        const QString page = QDir::cleanPath(QCoreApplication::applicationDirPath() + relative);
        if (QFileInfo::exists(page))
            return page;
    }
    return {};
}

} // namespace

HelpCommands::HelpCommands(QMainWindow &window)
    : QObject(&window)
    , m_window(window)
{
    QMenu *menu = window.menuBar()->addMenu(tr("&Help"));
    menu->addAction(tr("&User Guide"), QKeySequence::HelpContents, this, &HelpCommands::openGuide);
    menu->addAction(tr("&About Korvane"), this, &HelpCommands::showAbout);
}

void HelpCommands::openGuide()
{
    const QString page = guidePage();
    if (!page.isEmpty() && QDesktopServices::openUrl(QUrl::fromLocalFile(page)))
        return;
    auto *box = new QMessageBox(&m_window);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(tr("User Guide"));
    box->setTextFormat(Qt::PlainText);
    box->setText(page.isEmpty()
                     ? tr("The user guide is not installed.")
                     : tr("No program opened the user guide. It is here:\n%1").arg(page));
    box->setStandardButtons(QMessageBox::Close);
    box->open();
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
