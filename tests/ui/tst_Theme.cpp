#include "theme/Icons.h"
#include "theme/Theme.h"
#include "ui/WindowFixture.h"
#include "ui/controls/ProgressIndicator.h"

#include <QDir>
#include <QPlainTextEdit>
#include <QTest>

#include <cmath>

using namespace Korvane;
using namespace Qt::StringLiterals;
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
    void everyTextCanBeRead_data()
    {
        QTest::addColumn<const Theme *>("tested");
        QTest::newRow("light") << &Theme::light();
        QTest::newRow("dark") << &Theme::dark();
        QTest::newRow("high contrast, light") << &Theme::highContrastLight();
        QTest::newRow("high contrast, dark") << &Theme::highContrastDark();
    }

    void everyTextCanBeRead()
    {
        QFETCH(const Theme *, tested);
        const Theme &theme = *tested;
        QCOMPARE(&Theme::of(theme.palette()), &theme);
        const auto check = [](const QString &what, const QColor &text, const QColor &background) {
            const double ratio = contrast(text, background);
            QVERIFY2(ratio >= 4.5, qPrintable(u"%1: %2"_s.arg(what).arg(ratio)));
        };
        for (int role = 0; role < Theme::textRoleCount; ++role) {
            const QColor text = theme.color(static_cast<Role>(role));
            QVERIFY(!theme.isHighContrast()
                    || contrast(text, theme.color(Role::TextBackground)) >= 7);
            for (const Role background :
                 {Role::TextBackground, Role::WindowBackground, Role::ControlBackground})
                check(u"role %1"_s.arg(role), theme.color(static_cast<Role>(role)),
                      theme.color(background));
        }
        for (const Role background :
             {Role::Hover, Role::Pressed, Role::AccentTint, Role::YellowTint})
            check(u"label of a button"_s, theme.color(Role::Label), theme.color(background));
        for (const Role text : {Role::Yellow, Role::SecondaryLabel})
            check(u"debug bar"_s, theme.color(text), theme.color(Role::YellowTint));
        check(u"selection"_s, theme.color(Role::SelectedText), theme.color(Role::Selection));
        QVERIFY(!theme.isHighContrast()
                || (contrast(theme.color(Role::SelectedText), theme.color(Role::Selection)) >= 7
                    && contrast(theme.color(Role::Label), theme.color(Role::Pressed)) >= 7));

        const QPalette &palette = theme.palette();
        QCOMPARE(palette.color(QPalette::PlaceholderText), theme.color(Role::SecondaryLabel));
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            for (const auto &[text, background] :
                 {std::pair(QPalette::WindowText, QPalette::Window),
                  {QPalette::Text, QPalette::Base},
                  {QPalette::ButtonText, QPalette::Button},
                  {QPalette::HighlightedText, QPalette::Highlight},
                  {QPalette::ToolTipText, QPalette::ToolTipBase},
                  {QPalette::PlaceholderText, QPalette::Base},
                  {QPalette::PlaceholderText, QPalette::Window},
                  {QPalette::Link, QPalette::Base}})
                check(u"palette %1 on %2"_s.arg(text).arg(background), palette.color(group, text),
                      palette.color(group, background));
        }
    }
    void followsThePaletteWhileItRuns()
    {
        WindowFixture fixture;
        fixture.state().shell().appendError(u"wrong"_s);
        const auto *transcript = fixture.find<QPlainTextEdit>("shellOutput");
        const auto errorColor = [&] {
            QTextCursor cursor(transcript->document());
            cursor.setPosition(1);
            return cursor.charFormat().foreground().color();
        };
        QTRY_COMPARE(errorColor(), Theme::light().color(Role::Red));

        QPalette desktops;
        desktops.setColor(QPalette::Base, QColor(40, 40, 40));
        desktops.setColor(QPalette::Text, Qt::white);
        QApplication::setPalette(desktops);
        QTRY_COMPARE(QApplication::palette(), Theme::dark().palette());
        QTRY_COMPARE(errorColor(), Theme::dark().color(Role::Red));
        QCOMPARE(transcript->palette().color(QPalette::Base),
                 Theme::dark().color(Role::TextBackground));

        QApplication::setPalette(Theme::light().palette());
        QTRY_COMPARE(errorColor(), Theme::light().color(Role::Red));
    }

    void iconsTakeTheColorOfTheirRole()
    {
        const QIcon loaded = Icons::icon(u"trash"_s); // and with it all of them
        QVERIFY(!loaded.pixmap(16, 16).isNull());
        const QStringList files = QDir(u":/icons"_s).entryList();
        QVERIFY(files.size() >= 10);
        for (const QString &file : files) {
            const QColor color = Theme::light().color(Role::Orange);
            const QImage image = Icons::pixmap(file.chopped(4), 16, 2, color).toImage();
            QCOMPARE(image.size(), QSize(32, 32));
            int drawn = 0;
            for (int pixel = 0; pixel < 32 * 32; ++pixel) {
                const QColor found = image.pixelColor(pixel % 32, pixel / 32);
                QVERIFY(found.alpha() < 255 || found.rgb() == color.rgb());
                drawn += found.alpha() == 255 ? 1 : 0;
            }
            QVERIFY2(drawn > 25, qPrintable(file));
        }
    }

    void drawsAndTurnsTheSpinner()
    {
        ProgressIndicator spinner(32);
        const QImage first = spinner.grab().toImage();
        QVERIFY(first.pixelColor(16, 6) != first.pixelColor(0, 0));
        spinner.show();
        QTRY_VERIFY(spinner.grab().toImage() != first);
    }
};

QTEST_MAIN(tst_Theme)
#include "tst_Theme.moc"
