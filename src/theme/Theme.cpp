#include "theme/Theme.h"

#include "theme/DesktopFonts.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace Korvane {

namespace {

struct Entry
{
    QRgb light;
    QRgb dark;
};

/// In the order of Theme::Role.
constexpr std::array<Entry, Theme::roleCount> table{{
    {0xff1c1c20, 0xffecedf1}, // Label
    {0xff5b5c64, 0xffadafb9}, // SecondaryLabel
    {0xff6c6d76, 0xffa0a2ad}, // TertiaryLabel
    {0xff1a5fc8, 0xff74b0ff}, // Accent
    {0xffc01f2b, 0xffff827a}, // Red
    {0xff1b7538, 0xff5fcb7e}, // Green
    {0xffa35000, 0xfff2a352}, // Orange
    {0xff7a5d00, 0xffe8c755}, // Yellow
    {0xff676870, 0xffa0a2ab}, // Gray
    {0xff982eb4, 0xffdb93f2}, // Purple
    {0xff543fd0, 0xffa8a0ff}, // Indigo
    {0xff005fc9, 0xff6cb2ff}, // Blue
    {0xff00707d, 0xff55d0d8}, // Teal
    {0xffd3d4da, 0xff3c3e46}, // Separator
    {0xffffffff, 0xff1b1c20}, // TextBackground
    {0xfff3f3f6, 0xff26272c}, // WindowBackground
    {0xfffbfbfd, 0xff33353b}, // ControlBackground
    {0xffe4e5ea, 0xff373940}, // Hover
    {0xffd6d7de, 0xff454750}, // Pressed
    {0xffd6e4fb, 0xff294060}, // AccentTint
    {0xfff4eed8, 0xff403c28}, // YellowTint
    {0xff1a5fc8, 0xff2b5fad}, // Selection
    {0xffffffff, 0xffffffff}, // SelectedText
    {0xffffe38a, 0xff5f5014}, // FoundText
    {0xfff4f6fa, 0xff23252b}, // CurrentLine
    {0xffe02b35, 0xffff5a52}, // BreakpointMarker
    {0x47ffc400, 0x47ffd60a}, // PausedBand
}};

constexpr double highContrast = 7;

/// The relative luminance as WCAG 2 defines it, from 0 to 1.
double luminance(const QColor &color)
{
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
        + 0.0722 * linear(color.blueF());
}

double contrastOf(const QColor &a, const QColor &b)
{
    const auto [dark, light] = std::minmax({luminance(a), luminance(b)});
    return (light + 0.05) / (dark + 0.05);
}

/// Nine parts of \p color and one part of \p other.
QColor mixed(const QColor &color, const QColor &other)
{
    const auto part = [](int from, int to) { return (9 * from + to) / 10; };
    return QColor(part(color.red(), other.red()), part(color.green(), other.green()),
                  part(color.blue(), other.blue()));
}

/// \p color mixed with as much of \p other as is needed for a high contrast to \p neighbor.
QColor withContrast(QColor color, const QColor &neighbor, const QColor &other)
{
    for (int steps = 0; steps < 20 && contrastOf(color, neighbor) < highContrast; ++steps)
        color = mixed(color, other);
    return color;
}

} // namespace

Theme::Theme(bool isDark, Contrast contrast)
    : m_isDark(isDark)
    , m_contrast(contrast)
{
    std::transform(table.begin(), table.end(), m_colors.begin(), [isDark](const Entry &entry) {
        return QColor::fromRgba(isDark ? entry.dark : entry.light);
    });
    if (contrast == Contrast::High)
        raiseContrast();
    m_palette = makePalette();
}

void Theme::raiseContrast()
{
    const QColor background = m_isDark ? Qt::black : Qt::white;
    const QColor foreground = m_isDark ? Qt::white : Qt::black;
    const auto set = [this](Role role, const QColor &color) {
        m_colors[static_cast<size_t>(role)] = color;
    };
    for (int role = 0; role < textRoleCount; ++role) {
        QColor &color = m_colors[static_cast<size_t>(role)];
        color = withContrast(color, background, foreground);
    }
    set(Role::Selection,
        withContrast(color(Role::Selection), color(Role::SelectedText), Qt::black));
    // Label has 7:1 on it, which leaves just under 3:1 between it and the background.
    set(Role::Pressed, m_isDark ? QColor(0x59, 0x59, 0x59) : QColor(0x95, 0x95, 0x95));
    for (const Role role : {Role::Label, Role::Separator})
        set(role, foreground);
    for (const Role role : {Role::TextBackground, Role::WindowBackground, Role::ControlBackground})
        set(role, background);
}

QPalette Theme::makePalette() const
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
        // Qt's only role for fainter text; captions and states use it, too.
        {QPalette::PlaceholderText, color(Role::SecondaryLabel)},
        {QPalette::Link, color(Role::Accent)},
        {QPalette::LinkVisited, color(Role::Accent)},
        {QPalette::Light, m_isDark ? button.lighter(130) : QColor(Qt::white)},
        {QPalette::Midlight, m_isDark ? button.lighter(115) : button.darker(104)},
        {QPalette::Mid, m_isDark ? window.darker(120) : window.darker(125)},
        {QPalette::Dark, window.darker(150)},
        {QPalette::Shadow, m_isDark ? QColor(Qt::black) : window.darker(220)},
    };
    QPalette palette;
    for (const auto &[role, value] : entries)
        palette.setColor(QPalette::All, role, value);
    // Disabled text must be readable too: section titles of menus, and the buttons of a dialog,
    // which are disabled at first.
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, color(Role::SecondaryLabel));
    return palette;
}

const Theme &Theme::light()
{
    static const Theme theme(false, Contrast::Normal);
    return theme;
}

const Theme &Theme::dark()
{
    static const Theme theme(true, Contrast::Normal);
    return theme;
}

const Theme &Theme::highContrastLight()
{
    static const Theme theme(false, Contrast::High);
    return theme;
}

const Theme &Theme::highContrastDark()
{
    static const Theme theme(true, Contrast::High);
    return theme;
}

const Theme &Theme::of(const QPalette &palette)
{
    const QColor base = palette.color(QPalette::Base);
    const bool isDark = base.lightness() < palette.color(QPalette::Text).lightness();
    const bool isPure = base.rgb() == QColor(isDark ? Qt::black : Qt::white).rgb();
    if (isPure && palette.color(QPalette::Window).rgb() == base.rgb())
        return isDark ? highContrastDark() : highContrastLight();
    return isDark ? dark() : light();
}

const Theme &Theme::current()
{
    return of(QGuiApplication::palette());
}

/// Whether the font that Qt uses for \p font has characters of one width. Measured, because
/// some fonts of one width are not marked as such, and others are marked wrongly.
static bool isFixedPitch(const QFont &font)
{
    const QFontMetricsF metrics(font);
    return qFuzzyCompare(metrics.horizontalAdvance(u'i'), metrics.horizontalAdvance(u'M'));
}

QFont Theme::monospacedFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setFamily(DesktopFonts::installedFamily(font.family()));
    font.setStyleHint(QFont::Monospace); // for a desktop font that is not installed
    // In pixels, as the preferences are. With a desktop font of up to 13 pixels, code and output
    // have the same font, and only one is loaded before the window is shown.
    const qreal points = std::max(font.pointSizeF(), 0.0);
    const qreal dotsPerInch = QGuiApplication::primaryScreen()->logicalDotsPerInchY();
    font.setPixelSize(
        std::max({monospacedSize, font.pixelSize(), qRound(points * dotsPerInch / 72)}));
    // Some desktops name a proportional font here.
    const QString monospace = DesktopFonts::installedFamily(QStringLiteral("monospace"));
    if (font.family() != monospace && !isFixedPitch(font))
        font.setFamily(monospace);
    return font;
}

QFont Theme::monospacedFont(const QString &family, int pixelSize)
{
    QFont font = monospacedFont();
    if (!family.isEmpty())
        font.setFamily(family);
    if (pixelSize > 0)
        font.setPixelSize(pixelSize);
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
