#include "ui/controls/KeyText.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_KeyText final : public QObject
{
    Q_OBJECT

private slots:
    void namesKeysAsThisKeyboardDoes()
    {
        const QList<std::tuple<QString, QString, QString>> cases{
            {u"Stop (⌘.)"_s, u"Stop (Ctrl+.)"_s, u"Stop"_s},
            {u"Step (⌥⌘Y)"_s, u"Step (Ctrl+Alt+Y)"_s, u"Step"_s}, // in their usual order
            {u"Go on (⇧⌘Y)"_s, u"Go on (Ctrl+Shift+Y)"_s, u"Go on"_s},
            {u"Stop (Ctrl+C)"_s, u"Stop (Ctrl+C)"_s, u"Stop"_s},
            {u"Send a (1).py (⌘U)"_s, u"Send a (1).py (Ctrl+U)"_s, u"Send a (1).py"_s},
            {u"The key ⌘"_s, u"The key ⌘"_s, u"The key ⌘"_s},
        };
        for (const auto &[help, rendered, name] : cases) {
            QCOMPARE(KeyText::rendered(help), rendered);
            QCOMPARE(KeyText::withoutKey(help), name);
        }
    }

    void refusesSignsWithoutExactlyOneKey()
    {
        QCOMPARE(KeyText::sequence(u"⌘R"), QKeySequence(Qt::CTRL | Qt::Key_R));
        QCOMPARE(KeyText::sequence(u"⌥⌘y"), QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_Y));
        for (const QStringView signs : {u"", u"⌘", u"⌘RS"})
            QVERIFY(KeyText::sequence(signs).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_KeyText)
#include "tst_KeyText.moc"
