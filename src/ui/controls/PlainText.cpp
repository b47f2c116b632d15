#include "ui/controls/PlainText.h"

#include "base/VisibleText.h"

#include <QTextDocument>

namespace Korvane::PlainText {

namespace {

constexpr qsizetype longestToolTip = 1'000;
constexpr qsizetype longestPlainToolTip = 100;
constexpr qsizetype longestRun = 60;
constexpr QChar breakOpportunity(0x200b); // zero-width space

QString shortened(const QString &text, qsizetype length)
{
    if (text.size() <= length)
        return text;
    return text.first(length / 2) + u'…' + text.last(length / 2);
}

} // namespace

QString toolTip(const QString &text)
{
    const QString shown = VisibleText::paragraphs(shortened(text, longestToolTip));
    if (shown.size() <= longestPlainToolTip && !Qt::mightBeRichText(shown))
        return shown;
    // Qt wraps tool tips only when they are markup, and only between words.
    QString wrapped;
    for (qsizetype i = 0; i < shown.size(); ++i) {
        if (i > 0 && i % longestRun == 0 && !shown[i].isLowSurrogate())
            wrapped += breakOpportunity;
        wrapped += shown[i];
    }
    return QStringLiteral("<p>%1</p>")
        .arg(wrapped.toHtmlEscaped().replace(u'\n', QStringLiteral("<br>")));
}

QString label(const QString &text, qsizetype longest)
{
    QString line = VisibleText::line(shortened(text, longest));
    return line.replace(u'&', QStringLiteral("&&"));
}

} // namespace Korvane::PlainText
