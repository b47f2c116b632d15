#include "theme/Theme.h"

#include <QFontDatabase>
#include <QGuiApplication>

namespace Korvane {

Theme::Colors Theme::lightColors()
{
    return {
        QColor(0x1c, 0x1c, 0x20), // Label
        QColor(0x5b, 0x5c, 0x64), // SecondaryLabel
        QColor(0x6c, 0x6d, 0x76), // TertiaryLabel
        QColor(0x1a, 0x5f, 0xc8), // Accent
        QColor(0xc0, 0x1f, 0x2b), // Red
        QColor(0x1b, 0x75, 0x38), // Green
        QColor(0xa3, 0x50, 0x00), // Orange
        QColor(0x7a, 0x5d, 0x00), // Yellow
        QColor(0x67, 0x68, 0x70), // Gray
        QColor(0xd3, 0xd4, 0xda), // Separator
        QColor(0xff, 0xff, 0xff), // TextBackground
        QColor(0xf3, 0xf3, 0xf6), // WindowBackground
        QColor(0xfb, 0xfb, 0xfd), // ControlBackground
        QColor(0xe4, 0xe5, 0xea), // Hover
        QColor(0xd6, 0xd7, 0xde), // Pressed
        QColor(0xd6, 0xe4, 0xfb), // AccentTint
        QColor(0xf4, 0xee, 0xd8), // YellowTint
        QColor(0x1a, 0x5f, 0xc8), // Selection
        QColor(0xff, 0xff, 0xff), // SelectedText
    };
}

Theme::Colors Theme::darkColors()
{
    return {
        QColor(0xec, 0xed, 0xf1), // Label
        QColor(0xad, 0xaf, 0xb9), // SecondaryLabel
        QColor(0xa0, 0xa2, 0xad), // TertiaryLabel
        QColor(0x74, 0xb0, 0xff), // Accent
        QColor(0xff, 0x82, 0x7a), // Red
        QColor(0x5f, 0xcb, 0x7e), // Green
        QColor(0xf2, 0xa3, 0x52), // Orange
        QColor(0xe8, 0xc7, 0x55), // Yellow
        QColor(0xa0, 0xa2, 0xab), // Gray
        QColor(0x3c, 0x3e, 0x46), // Separator
        QColor(0x1b, 0x1c, 0x20), // TextBackground
        QColor(0x26, 0x27, 0x2c), // WindowBackground
        QColor(0x33, 0x35, 0x3b), // ControlBackground
        QColor(0x37, 0x39, 0x40), // Hover
        QColor(0x45, 0x47, 0x50), // Pressed
        QColor(0x29, 0x40, 0x60), // AccentTint
        QColor(0x40, 0x3c, 0x28), // YellowTint
        QColor(0x2b, 0x5f, 0xad), // Selection
        QColor(0xff, 0xff, 0xff), // SelectedText
    };
}

Theme::Theme(bool isDark, const Colors &colors)
    : m_isDark(isDark)
    , m_colors(colors)
{
    const QColor window = color(Role::WindowBackground);
    const QColor button = color(Role::ControlBackground);
    const std::pair<QPalette::ColorRole, QColor> entries[] = {
        {QPalette::Window, window},
        {QPalette::WindowText, color(Role::Label)},
        {QPalette::Base, color(Role::TextBackground)},
        {QPalette::AlternateBase, window},
        {QPalette::Text, color(Role::Label)},
        {QPalette::Button, button},
        {QPalette::ButtonText, color(Role::Label)},
        {QPalette::BrightText, color(Role::SelectedText)},
        {QPalette::Highlight, color(Role::Selection)},
        {QPalette::HighlightedText, color(Role::SelectedText)},
        {QPalette::ToolTipBase, button},
        {QPalette::ToolTipText, color(Role::Label)},
        // The toolkit's only role for a fainter text: captions and states are shown in it, too.
        {QPalette::PlaceholderText, color(Role::SecondaryLabel)},
        {QPalette::Link, color(Role::Accent)},
        {QPalette::LinkVisited, color(Role::Accent)},
        {QPalette::Light, isDark ? button.lighter(130) : QColor(Qt::white)},
        {QPalette::Midlight, isDark ? button.lighter(115) : button.darker(104)},
        {QPalette::Mid, isDark ? window.darker(120) : window.darker(125)},
        {QPalette::Dark, window.darker(150)},
        {QPalette::Shadow, isDark ? QColor(Qt::black) : window.darker(220)},
    };
    for (const auto &[role, value] : entries)
        m_palette.setColor(QPalette::All, role, value);
    // Nothing is ever disabled but a menu's plain words, which have to be read all the same.
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        m_palette.setColor(QPalette::Disabled, role, color(Role::SecondaryLabel));
}

const Theme &Theme::light()
{
    static const Theme theme(false, lightColors());
    return theme;
}

const Theme &Theme::dark()
{
    static const Theme theme(true, darkColors());
    return theme;
}

const Theme &Theme::of(const QPalette &palette)
{
    const bool isDark = palette.color(QPalette::Window).lightness()
        < palette.color(QPalette::WindowText).lightness();
    return isDark ? dark() : light();
}

const Theme &Theme::current()
{
    return of(QGuiApplication::palette());
}

QFont Theme::monospacedFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::Monospace); // where the desktop names a font that is not installed
    font.setFixedPitch(true);
    return font;
}

QFont Theme::captionFont(const QFont &font)
{
    QFont caption = font;
    if (font.pointSizeF() > 0)
        caption.setPointSizeF(font.pointSizeF() * 0.9);
    return caption;
}

QFont Theme::headlineFont(const QFont &font)
{
    QFont headline = font;
    headline.setWeight(QFont::DemiBold);
    return headline;
}

} // namespace Korvane
