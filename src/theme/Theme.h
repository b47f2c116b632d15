#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

#include <array>

namespace Korvane {

/// The colors of the program by their purpose, for a light and for a dark desktop, and its fonts.
/// The present palette decides between the two: call `Theme::of(palette())` while painting and
/// store no color, because the desktop can change its appearance at any time.
///
/// Every text role has a contrast of 4.5:1 or more on TextBackground, WindowBackground and
/// ControlBackground.
class Theme final
{
public:
    enum class Role {
        Label,
        SecondaryLabel,
        TertiaryLabel,
        Accent,
        Red,
        Green,
        Orange,
        Yellow,
        Gray,
        Purple,
        Indigo,
        Blue,
        Teal,
        // From here on no text colors
        Separator,
        TextBackground,
        WindowBackground,
        ControlBackground,
        Hover,
        Pressed,
        AccentTint,
        YellowTint, // on WindowBackground
        Selection,
        SelectedText, // on Selection
        FoundText,    // behind matches of the find bar
        CurrentLine,  // of the editor
        BreakpointMarker,
        PausedBand, // over the paused line, translucent
    };
    static constexpr int roleCount = static_cast<int>(Role::PausedBand) + 1;
    static constexpr int textRoleCount = static_cast<int>(Role::Separator);

    [[nodiscard]] static const Theme &light();
    [[nodiscard]] static const Theme &dark();
    /// For desktops with a theme of high contrast: all text has 7:1 or more on pure white or black,
    /// and so have SelectedText on Selection and Label on Pressed.
    [[nodiscard]] static const Theme &highContrastLight();
    [[nodiscard]] static const Theme &highContrastDark();
    /// The theme for \p palette: dark when its Base is darker than its Text, and of high contrast
    /// when its Window and its Base are both pure white or black.
    [[nodiscard]] static const Theme &of(const QPalette &palette);
    /// The theme of the application's palette.
    [[nodiscard]] static const Theme &current();

    /// The desktop's fixed font, for code and for what programs print; "monospace" where that font
    /// has characters of different widths. Of at least `monospacedSize`.
    [[nodiscard]] static QFont monospacedFont();
    static constexpr int monospacedSize = 13; // pixels
    /// The same in \p family, unless that is empty, and in \p pixelSize, unless that is 0.
    [[nodiscard]] static QFont monospacedFont(const QString &family, int pixelSize);
    /// \p font for captions: 0.9 times its size in points; unchanged when its size is in pixels.
    [[nodiscard]] static QFont captionFont(const QFont &font);
    /// \p font for headlines: semibold.
    [[nodiscard]] static QFont headlineFont(const QFont &font);

    [[nodiscard]] QColor color(Role role) const { return m_colors[static_cast<size_t>(role)]; }
    [[nodiscard]] const QPalette &palette() const { return m_palette; }
    [[nodiscard]] bool isDark() const { return m_isDark; }
    [[nodiscard]] bool isHighContrast() const { return m_contrast == Contrast::High; }

private:
    using Colors = std::array<QColor, roleCount>;

    enum class Contrast { Normal, High };

    Theme(bool isDark, Contrast contrast);
    void raiseContrast();
    [[nodiscard]] QPalette makePalette() const;

    bool m_isDark;
    Contrast m_contrast;
    Colors m_colors;
    QPalette m_palette;
};

} // namespace Korvane
