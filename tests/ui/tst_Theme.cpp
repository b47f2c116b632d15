#include "Desk.h"
#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QDir>
#include <QPlainTextEdit>
#include <QTest>

#include <cmath>

using namespace Korvane;
using Role = Theme::Role;

namespace {

double luminance(const QColor &color)
{
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
        + 0.0722 * linear(color.blueF());
}

double contrast(const QColor &a, const QColor &b)
{
    const double light = std::max(luminance(a), luminance(b));
    const double dark = std::min(luminance(a), luminance(b));
    return (light + 0.05) / (dark + 0.05);
}

} // namespace

class tst_Theme final : public QObject
{
    Q_OBJECT

private slots:
    void everyTextCanBeRead_data();
    void everyTextCanBeRead();
    void followsThePaletteWhileItRuns();
    void iconsTakeTheColourOfTheirRole();
};

void tst_Theme::everyTextCanBeRead_data()
{
    QTest::addColumn<bool>("isDark");
    QTest::newRow("light") << false;
    QTest::newRow("dark") << true;
}

void tst_Theme::everyTextCanBeRead()
{
    QFETCH(bool, isDark);
    const Theme &theme = isDark ? Theme::dark() : Theme::light();
    QCOMPARE(&Theme::of(theme.palette()), &theme);
    const auto check = [](const QString &what, const QColor &text, const QColor &background) {
        const double ratio = contrast(text, background);
        QVERIFY2(ratio >= 4.5, qPrintable(QStringLiteral("%1: %2").arg(what).arg(ratio)));
    };
    for (int role = 0; role < Theme::textRoleCount; ++role) {
        for (const Role background :
             {Role::TextBackground, Role::WindowBackground, Role::ControlBackground})
            check(QStringLiteral("role %1").arg(role), theme.color(static_cast<Role>(role)),
                  theme.color(background));
    }
    for (const Role background : {Role::Hover, Role::Pressed, Role::AccentTint, Role::YellowTint})
        check(QStringLiteral("label of a button"), theme.color(Role::Label),
              theme.color(background));
    for (const Role text : {Role::Yellow, Role::SecondaryLabel, Role::Placeholder})
        check(QStringLiteral("debug bar"), theme.color(text), theme.color(Role::YellowTint));
    check(QStringLiteral("selection"), theme.color(Role::SelectedText),
          theme.color(Role::Selection));

    const QPalette &palette = theme.palette();
    using Pair = std::pair<QPalette::ColorRole, QPalette::ColorRole>;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (const auto &[text, background] :
             {Pair{QPalette::WindowText, QPalette::Window}, Pair{QPalette::Text, QPalette::Base},
              Pair{QPalette::ButtonText, QPalette::Button},
              Pair{QPalette::HighlightedText, QPalette::Highlight},
              Pair{QPalette::ToolTipText, QPalette::ToolTipBase},
              Pair{QPalette::PlaceholderText, QPalette::Base},
              Pair{QPalette::PlaceholderText, QPalette::Window},
              Pair{QPalette::Link, QPalette::Base}})
            check(QStringLiteral("palette %1 on %2").arg(text).arg(background),
                  palette.color(group, text), palette.color(group, background));
    }
}

void tst_Theme::followsThePaletteWhileItRuns()
{
    Desk desk;
    desk.state().shell().appendError(QStringLiteral("wrong"));
    const auto *transcript = desk.find<QPlainTextEdit>("shellOutput");
    const auto errorColor = [&] {
        QTextCursor cursor(transcript->document());
        cursor.setPosition(1);
        return cursor.charFormat().foreground().color();
    };
    QTRY_COMPARE(errorColor(), Theme::light().color(Role::Red));

    QPalette desktops;
    desktops.setColor(QPalette::Window, QColor(40, 40, 40));
    desktops.setColor(QPalette::WindowText, Qt::white);
    QApplication::setPalette(desktops);
    QTRY_COMPARE(QApplication::palette(), Theme::dark().palette());
    QTRY_COMPARE(errorColor(), Theme::dark().color(Role::Red));
    QCOMPARE(transcript->palette().color(QPalette::Base),
             Theme::dark().color(Role::TextBackground));

    QApplication::setPalette(Theme::light().palette());
    QTRY_COMPARE(errorColor(), Theme::light().color(Role::Red));
}

void tst_Theme::iconsTakeTheColourOfTheirRole()
{
    const QIcon loaded = Icons::icon(QStringLiteral("trash")); // and with it all of them
    QVERIFY(!loaded.pixmap(16, 16).isNull());
    const QStringList files = QDir(QStringLiteral(":/icons")).entryList();
    QVERIFY(files.size() >= 10);
    for (const QString &file : files) {
        for (const qreal scale : {1.0, 1.5, 2.0, 3.0}) {
            const QColor color = Theme::light().color(Role::Orange);
            const QImage image = Icons::pixmap(file.chopped(4), 16, scale, color)
                                     .toImage()
                                     .convertToFormat(QImage::Format_ARGB32);
            QCOMPARE(image.width(), qCeil(16 * scale));
            QCOMPARE(image.devicePixelRatio(), scale);
            int drawn = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    const QColor pixel = image.pixelColor(x, y);
                    if (pixel.alpha() == 255) {
                        QCOMPARE(pixel.rgb(), color.rgb());
                        ++drawn;
                    }
                }
            }
            QVERIFY2(drawn * 40 > image.width() * image.height() * (scale > 1.9 ? 1 : 0),
                     qPrintable(file));
            // Nothing is cut off at the edge.
            for (int i = 0; i < image.width(); ++i) {
                for (const QPoint &edge : {QPoint(i, 0), QPoint(0, i), QPoint(i, image.width() - 1),
                                           QPoint(image.width() - 1, i)})
                    QVERIFY2(image.pixelColor(edge).alpha() < 200, qPrintable(file));
            }
        }
    }
}

QTEST_MAIN(tst_Theme)
#include "tst_Theme.moc"
