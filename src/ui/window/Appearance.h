#pragma once

#include <QObject>

namespace Korvane {

/// Gives the program the light or the dark theme, whichever the desktop uses, at start and
/// whenever the desktop changes.
///
/// What the desktop uses is told by the palette that the platform hands to the program. Where that
/// knows nothing of it (a plain X server, a desktop without its Qt platform theme),
/// KORVANE_APPEARANCE=light or =dark decides, and holds against the platform's palette too.
class Appearance final : public QObject
{
    Q_OBJECT

public:
    /// One per program; the QApplication must exist.
    explicit Appearance(QObject *parent = nullptr);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void followPlatform();
    void follow(const QPalette &palette);

    bool m_isSetting = false;
};

} // namespace Korvane
