#include "base/VisibleText.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_VisibleText final : public QObject
{
    Q_OBJECT

private slots:
    void showsInvisibleCharacters()
    {
        const QList<std::pair<QString, QString>> cases{
            {u"/lib/größe π.py <b>"_s, u"/lib/größe π.py <b>"_s},
            {u"a\nb\r\n\tc"_s, u"a␊b␍␊␉c"_s},
            {u"\0\u001b[31m\u007f\u0085"_s, u"␀␛[31m␡⟨U+0085⟩"_s},
            {u"a\u202eyp.x\u2066\u200f"_s, u"a⟨U+202E⟩yp.x⟨U+2066⟩⟨U+200F⟩"_s},
            {u"a\u2028b\u2029"_s, u"a⟨U+2028⟩b⟨U+2029⟩"_s},
            {u"a\u200bb\ufeff\U000e0041"_s, u"a⟨U+200B⟩b⟨U+FEFF⟩⟨U+E0041⟩"_s},
            {u"👩\u200d💻"_s, u"👩\u200d💻"_s},
            {QString(QChar(0xd800)) + u'x', u"⟨U+D800⟩x"_s},
        };
        for (const auto &[text, line] : cases)
            QCOMPARE(VisibleText::line(text), line);
        QCOMPARE(VisibleText::paragraphs(u"a\nb\r\n\tc\u202e"_s), u"a\nb␍\n\tc⟨U+202E⟩"_s);
    }
};

QTEST_GUILESS_MAIN(tst_VisibleText)
#include "tst_VisibleText.moc"
