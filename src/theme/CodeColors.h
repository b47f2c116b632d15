#pragma once

#include <QColor>
#include <QPalette>

#include <array>

namespace Korvane {

/// The editor's colors by what they mean, once for light and once for dark text backgrounds.
/// Whoever paints asks `CodeColors::of(palette())` at that moment and keeps no color: the
/// desktop may change its appearance at any time.
///
/// Text (all before Separator) is readable, 4.5:1 or better, on the backgrounds of the program's
/// palettes. The backgrounds themselves are the palette's Base for text and Window for the gutter.
class CodeColors final
{
public:
    enum class Role {
        Label,
        SecondaryLabel,
        SystemGray,
        SystemGreen,
        SystemPurple,
        SystemIndigo,
        SystemBlue,
        SystemOrange,
        SystemTeal,
        // From here on no text colors
        Separator,
        SystemYellow,
        SystemRed,
        FoundText, // behind what the find bar has found
    };
    static constexpr int roleCount = static_cast<int>(Role::FoundText) + 1;
    /// How strongly the band over the paused line covers what is below it.
    static constexpr float pausedBandOpacity = 0.28F;

    [[nodiscard]] static const CodeColors &light();
    [[nodiscard]] static const CodeColors &dark();
    /// The colors that go with \p palette.
    [[nodiscard]] static const CodeColors &of(const QPalette &palette);

    [[nodiscard]] QColor color(Role role) const { return m_colors[static_cast<size_t>(role)]; }
    /// The color of the band over the paused line, not opaque.
    [[nodiscard]] QColor pausedBand() const;

private:
    using Colors = std::array<QColor, roleCount>;

    explicit CodeColors(const Colors &colors);

    Colors m_colors;
};

} // namespace Korvane
