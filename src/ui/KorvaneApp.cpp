#include "ui/KorvaneApp.h"

#include "app/FileSettings.h"
#include "ui/Appearance.h"
#include "ui/ContentView.h"
#include "ui/ThemeStyle.h"

#include <QApplication>

#include <utility>

namespace Korvane {

void KorvaneApp::setUp(QApplication &application)
{
    QApplication::setApplicationName(QStringLiteral("Korvane"));
    QApplication::setApplicationDisplayName(QStringLiteral("Korvane"));
    QApplication::setApplicationVersion(QStringLiteral(KORVANE_VERSION));
    QApplication::setOrganizationName(QStringLiteral("Korvane"));
    QApplication::setDesktopFileName(QStringLiteral("korvane"));
    QApplication::setStyle(new ThemeStyle);
    new Appearance(&application);
}

KorvaneApp::KorvaneApp()
    : m_settings(std::make_unique<FileSettings>())
    , m_state(AppState::Dependencies{.settings = *m_settings, .questions = m_questions})
    , m_window(std::make_unique<ContentView>(m_state))
{
    m_questions.setWindow(m_window.get());
}

KorvaneApp::KorvaneApp(AppState::Dependencies dependencies)
    : m_state(std::move(dependencies))
    , m_window(std::make_unique<ContentView>(m_state))
{
}

KorvaneApp::~KorvaneApp() = default;

void KorvaneApp::show()
{
    m_window->show();
}

} // namespace Korvane
