#pragma once

#include <QObject>

namespace Korvane {

class Preferences;

/// Gives the program the light or the dark theme, whichever the desktop uses, at start and
/// whenever the desktop changes.
///
/// The desktop's choice is read from the palette of the platform. Where that does not tell (a plain
/// X server, a desktop without its Qt platform theme), KORVANE_APPEARANCE=light or =dark decides;
/// it has priority over the platform's palette, and the user's preference over both.
class Appearance final : public QObject
{
    Q_OBJECT

public:
    /// One per program; the QApplication must exist, and \p preferences must outlive this.
    explicit Appearance(Preferences &preferences);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void followPlatform();
    void follow(const QPalette &palette);

    Preferences &m_preferences;
    bool m_isSetting = false;
};

} // namespace Korvane
