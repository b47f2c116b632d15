#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

#include <array>

namespace Korvane {

/// The program's colors by what they mean, once for light and once for dark desktops. Which of
/// the two holds follows from the palette in force, so whoever paints asks `Theme::of(palette())`
/// at that moment and keeps no color.
///
/// Every text role is readable (4.5:1 or better) on both backgrounds.
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
    };
    static constexpr int roleCount = static_cast<int>(Role::SelectedText) + 1;
    static constexpr int textRoleCount = static_cast<int>(Role::Separator);

    [[nodiscard]] static const Theme &light();
    [[nodiscard]] static const Theme &dark();
    /// The theme that goes with \p palette.
    [[nodiscard]] static const Theme &of(const QPalette &palette);
    /// The theme in force in the program.
    [[nodiscard]] static const Theme &current();

    /// The platform's fixed font, for code and what programs print.
    [[nodiscard]] static QFont monospacedFont();
    /// \p font for captions: somewhat smaller.
    [[nodiscard]] static QFont captionFont(const QFont &font);
    /// \p font for headlines: semibold.
    [[nodiscard]] static QFont headlineFont(const QFont &font);

    [[nodiscard]] QColor color(Role role) const { return m_colors[static_cast<size_t>(role)]; }
    [[nodiscard]] const QPalette &palette() const { return m_palette; }
    [[nodiscard]] bool isDark() const { return m_isDark; }

private:
    using Colors = std::array<QColor, roleCount>;

    Theme(bool isDark, const Colors &colors);
    [[nodiscard]] static Colors lightColors();
    [[nodiscard]] static Colors darkColors();

    bool m_isDark;
    Colors m_colors;
    QPalette m_palette;
};

} // namespace Korvane
