#include "ui/window/Appearance.h"

#include "app/Preferences.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QEvent>
#include <QScopedValueRollback>

namespace Korvane {

Appearance::Appearance(Preferences &preferences)
    : m_preferences(preferences)
{
    applyTheme(QApplication::palette());
    qApp->installEventFilter(this);
    preferences.whenChanged(Preferences::Appearance, this, [this] { followPlatform(); });
}

bool Appearance::eventFilter(QObject *watched, QEvent *event)
{
    // Queued: within the event not all widgets have the new palette.
    if (event->type() == QEvent::ApplicationPaletteChange && watched == qApp) {
        if (!m_isSetting)
            QMetaObject::invokeMethod(
                this, [this] { applyTheme(QApplication::palette()); }, Qt::QueuedConnection);
    } else if (event->type() == QEvent::ThemeChange && watched->isWindowType()) {
        QMetaObject::invokeMethod(this, &Appearance::followPlatform, Qt::QueuedConnection);
    }
    return false;
}

void Appearance::followPlatform()
{
    // An empty palette restores that of the platform, which the program's own had replaced.
    const QScopedValueRollback guard(m_isSetting, true);
    QApplication::setPalette(QPalette());
    applyTheme(QApplication::palette());
}

void Appearance::applyTheme(const QPalette &palette)
{
    QString wanted = m_preferences.text(Preferences::Appearance);
    if (m_preferences.isDefault(Preferences::Appearance))
        wanted = qEnvironmentVariable("KORVANE_APPEARANCE");
    const Theme &platforms = Theme::of(palette);
    const bool isDark = wanted == u"dark" || (wanted != u"light" && platforms.isDark());
    const Theme &theme = platforms.isHighContrast()
        ? (isDark ? Theme::highContrastDark() : Theme::highContrastLight())
        : (isDark ? Theme::dark() : Theme::light());
    const QScopedValueRollback guard(m_isSetting, true);
    if (QApplication::palette() != theme.palette())
        QApplication::setPalette(theme.palette());
}

} // namespace Korvane
