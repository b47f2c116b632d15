#include "base/VisibleText.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_VisibleText final : public QObject
{
    Q_OBJECT

private slots:
    void showsWhatCannotBeSeen_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("paragraphs");
        const auto row = [](const char *name, const QString &text, const QString &line,
                            const QString &paragraphs = {}) {
            QTest::newRow(name) << text << line << (paragraphs.isNull() ? line : paragraphs);
        };
        row("plain", u"/lib/größe π.py <b>"_s, u"/lib/größe π.py <b>"_s);
        row("line ends", u"a\nb\r\n\tc"_s, u"a␊b␍␊␉c"_s, u"a\nb␍\n\tc"_s);
        row("controls", u"\0\u001b[31m\u007f\u0085"_s, u"␀␛[31m␡⟨U+0085⟩"_s);
        row("bidirectional", u"a\u202eyp.x\u2066\u200f"_s, u"a⟨U+202E⟩yp.x⟨U+2066⟩⟨U+200F⟩"_s);
        row("separators", u"a\u2028b\u2029"_s, u"a⟨U+2028⟩b⟨U+2029⟩"_s);
        row("invisible", u"a\u200bb\ufeff\U000e0041"_s, u"a⟨U+200B⟩b⟨U+FEFF⟩⟨U+E0041⟩"_s);
        row("joined", u"👩\u200d💻"_s, u"👩\u200d💻"_s);
        row("lone surrogate", QString(QChar(0xd800)) + u'x', u"⟨U+D800⟩x"_s);
    }
    void showsWhatCannotBeSeen()
    {
        QFETCH(QString, text);
        QTEST(VisibleText::line(text), "line");
        QTEST(VisibleText::paragraphs(text), "paragraphs");
    }
};

QTEST_GUILESS_MAIN(tst_VisibleText)
#include "tst_VisibleText.moc"
