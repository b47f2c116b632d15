#include "editor/EditorColours.h"
#include "ui/Theme.h"

#include <QTest>

#include <cmath>

using namespace Korvane;

namespace {

double luminance(const QColor &color)
{
    const auto linear = [](float channel) {
        const double c = static_cast<double>(channel);
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
        + 0.0722 * linear(color.blueF());
}

double contrast(const QColor &a, const QColor &b)
{
    const double first = luminance(a) + 0.05;
    const double second = luminance(b) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

QColor over(const QColor &upper, const QColor &lower)
{
    const auto mixed = [&](float a, float b) {
        return a * upper.alphaF() + b * (1 - upper.alphaF());
    };
    return QColor::fromRgbF(mixed(upper.redF(), lower.redF()),
                            mixed(upper.greenF(), lower.greenF()),
                            mixed(upper.blueF(), lower.blueF()));
}

} // namespace

class tst_EditorColours final : public QObject
{
    Q_OBJECT

private slots:
    void areReadableAndToldApart_data()
    {
        QTest::addColumn<const Theme *>("theme");
        QTest::newRow("light") << &Theme::light();
        QTest::newRow("dark") << &Theme::dark();
    }
    void areReadableAndToldApart()
    {
        QFETCH(const Theme *, theme);
        using Role = EditorColours::Role;
        const EditorColours &colours = EditorColours::of(theme->palette());
        const QColor text = theme->palette().color(QPalette::Base);
        const QColor window = theme->palette().color(QPalette::Window);
        for (int role = 0; role < static_cast<int>(Role::Separator); ++role) {
            const QColor color = colours.color(static_cast<Role>(role));
            QVERIFY2(contrast(color, text) >= 4.5, qPrintable(color.name()));
            QVERIFY2(contrast(color, colours.color(Role::FoundText)) >= 4.5
                         || role == static_cast<int>(Role::SecondaryLabel)
                         || contrast(color, colours.color(Role::FoundText)) >= 3,
                     qPrintable(color.name()));
            for (int other = static_cast<int>(Role::SystemGray); other < role; ++other) {
                const QColor rival = colours.color(static_cast<Role>(other));
                const int distance = std::abs(color.red() - rival.red())
                    + std::abs(color.green() - rival.green())
                    + std::abs(color.blue() - rival.blue());
                QVERIFY2(distance >= 60, qPrintable(color.name() + rival.name()));
            }
        }
        QVERIFY(contrast(colours.color(Role::SecondaryLabel), window) >= 4.5);
        QVERIFY(contrast(colours.color(Role::Label), over(colours.pausedBand(), window)) >= 4.5);
        QVERIFY(contrast(colours.color(Role::SystemRed), window) >= 3); // a sign, not text
    }
};

QTEST_GUILESS_MAIN(tst_EditorColours)
#include "tst_EditorColours.moc"
