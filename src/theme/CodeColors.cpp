#include "theme/CodeColors.h"

namespace Korvane {

CodeColors::CodeColors(const Colors &colors)
    : m_colors(colors)
{
}

const CodeColors &CodeColors::light()
{
    static const CodeColors colors({
        QColor(0x1c, 0x1c, 0x20), // Label
        QColor(0x5b, 0x5c, 0x64), // SecondaryLabel
        QColor(0x67, 0x68, 0x70), // SystemGray
        QColor(0x1b, 0x75, 0x38), // SystemGreen
        QColor(0x98, 0x2e, 0xb4), // SystemPurple
        QColor(0x54, 0x3f, 0xd0), // SystemIndigo
        QColor(0x00, 0x5f, 0xc9), // SystemBlue
        QColor(0xa8, 0x50, 0x00), // SystemOrange
        QColor(0x00, 0x70, 0x7d), // SystemTeal
        QColor(0xd3, 0xd4, 0xda), // Separator
        QColor(0xff, 0xc4, 0x00), // SystemYellow
        QColor(0xe0, 0x2b, 0x35), // SystemRed
        QColor(0xff, 0xe3, 0x8a), // FoundText
    });
    return colors;
}

const CodeColors &CodeColors::dark()
{
    static const CodeColors colors({
        QColor(0xec, 0xed, 0xf1), // Label
        QColor(0xad, 0xaf, 0xb9), // SecondaryLabel
        QColor(0xa0, 0xa2, 0xab), // SystemGray
        QColor(0x5f, 0xcb, 0x7e), // SystemGreen
        QColor(0xdb, 0x93, 0xf2), // SystemPurple
        QColor(0xa8, 0xa0, 0xff), // SystemIndigo
        QColor(0x6c, 0xb2, 0xff), // SystemBlue
        QColor(0xf2, 0xa3, 0x52), // SystemOrange
        QColor(0x55, 0xd0, 0xd8), // SystemTeal
        QColor(0x3c, 0x3e, 0x46), // Separator
        QColor(0xff, 0xd6, 0x0a), // SystemYellow
        QColor(0xff, 0x5a, 0x52), // SystemRed
        QColor(0x5f, 0x50, 0x14), // FoundText
    });
    return colors;
}

const CodeColors &CodeColors::of(const QPalette &palette)
{
    const bool isDark =
        palette.color(QPalette::Base).lightness() < palette.color(QPalette::Text).lightness();
    return isDark ? dark() : light();
}

QColor CodeColors::pausedBand() const
{
    QColor band = color(Role::SystemYellow);
    band.setAlphaF(pausedBandOpacity);
    return band;
}

} // namespace Korvane
