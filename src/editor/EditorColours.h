#pragma once

#include "editor/PythonColouring.h"

#include <QColor>
#include <QPalette>

#include <array>

namespace Korvane {

/// The editor's colours by what they mean, once for light and once for dark text backgrounds.
/// Whoever paints asks `EditorColours::of(palette())` at that moment and keeps no colour: the
/// desktop may change its appearance at any time.
///
/// Text (all before Separator) is readable, 4.5:1 or better, on the backgrounds of the program's
/// palettes. The backgrounds themselves are the palette's Base for text and Window for the gutter.
class EditorColours final
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
        // From here on no text colours
        Separator,
        SystemYellow,
        SystemRed,
        FoundText, // behind what the find bar has found
    };
    static constexpr int roleCount = static_cast<int>(Role::FoundText) + 1;
    /// How strongly the band over the paused line covers what is below it.
    static constexpr float pausedBandOpacity = 0.28F;

    [[nodiscard]] static const EditorColours &light();
    [[nodiscard]] static const EditorColours &dark();
    /// The colours that go with \p palette.
    [[nodiscard]] static const EditorColours &of(const QPalette &palette);
    [[nodiscard]] static Role role(PythonToken token);

    [[nodiscard]] QColor color(Role role) const { return m_colours[static_cast<size_t>(role)]; }
    [[nodiscard]] QColor color(PythonToken token) const { return color(role(token)); }
    /// The colour of the band over the paused line, not opaque.
    [[nodiscard]] QColor pausedBand() const;

private:
    using Colours = std::array<QColor, roleCount>;

    explicit EditorColours(const Colours &colours);

    Colours m_colours;
};

} // namespace Korvane
