#include "ui/KeyText.h"

#include <QTest>

using namespace Korvane;

class tst_KeyText final : public QObject
{
    Q_OBJECT

private slots:
    void namesKeysAsThisKeyboardDoes_data();
    void namesKeysAsThisKeyboardDoes();
    void refusesSignsWithoutExactlyOneKey();
};

void tst_KeyText::namesKeysAsThisKeyboardDoes_data()
{
    QTest::addColumn<QString>("help");
    QTest::addColumn<QString>("rendered");
    QTest::addColumn<QString>("name");
    const auto row = [](const char *title, const char16_t *help, const char16_t *rendered,
                        const char16_t *name) {
        QTest::newRow(title) << QString::fromUtf16(help) << QString::fromUtf16(rendered)
                             << QString::fromUtf16(name);
    };
    row("one sign", u"Save (⌘S)", u"Save (Ctrl+S)", u"Save");
    row("a full stop as the key", u"Stop (⌘.)", u"Stop (Ctrl+.)", u"Stop");
    row("signs in their usual order", u"Step (⌥⌘Y)", u"Step (Ctrl+Alt+Y)", u"Step");
    row("shift", u"Go on (⇧⌘Y)", u"Go on (Ctrl+Shift+Y)", u"Go on");
    row("a key in words", u"Stop (Ctrl+C)", u"Stop (Ctrl+C)", u"Stop");
    row("no key", u"Clear shell", u"Clear shell", u"Clear shell");
    row("brackets in a name", u"Send a (1).py to device (⌘U)", u"Send a (1).py to device (Ctrl+U)",
        u"Send a (1).py to device");
    row("a sign alone", u"The key ⌘", u"The key ⌘", u"The key ⌘");
}

void tst_KeyText::namesKeysAsThisKeyboardDoes()
{
    QFETCH(QString, help);
    QTEST(KeyText::rendered(help), "rendered");
    QTEST(KeyText::withoutKey(help), "name");
}

void tst_KeyText::refusesSignsWithoutExactlyOneKey()
{
    QCOMPARE(KeyText::sequence(u"⌘R"), QKeySequence(Qt::CTRL | Qt::Key_R));
    QCOMPARE(KeyText::sequence(u"⌥⌘y"), QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_Y));
    for (const QStringView signs : {u"", u"⌘", u"⌘RS"})
        QVERIFY(KeyText::sequence(signs).isEmpty());
}

QTEST_GUILESS_MAIN(tst_KeyText)
#include "tst_KeyText.moc"
