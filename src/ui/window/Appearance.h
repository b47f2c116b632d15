#pragma once

#include <QObject>

namespace Korvane {

class Preferences;

/// Sets the light or the dark theme, as the desktop uses it, at the start and whenever the desktop
/// changes.
///
/// The desktop's choice is read from the palette of the platform. For a platform without one (a
/// plain X server, a desktop without its Qt platform theme) there is KORVANE_APPEARANCE=light or
/// =dark. It has priority over the platform's palette, and the user's preference over both.
class Appearance final : public QObject
{
    Q_OBJECT

public:
    /// One per program; the QApplication must exist, and \p preferences must outlive this.
    explicit Appearance(Preferences &preferences);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void followPlatform();
    void applyTheme(const QPalette &palette);

    Preferences &m_preferences;
    bool m_isSetting = false;
};

} // namespace Korvane
