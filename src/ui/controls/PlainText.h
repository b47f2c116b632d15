#pragma once

#include <QString>
#include <QTextDocument>

/// Names come from disks and boards: they are to be read as they stand, whatever they look like.
namespace Korvane::PlainText {

/// \p text for a tool tip, which would take "<b>" for markup.
[[nodiscard]] inline QString toolTip(const QString &text)
{
    return Qt::mightBeRichText(text) ? QStringLiteral("<span>%1</span>").arg(text.toHtmlEscaped())
                                     : text;
}

/// \p text for a button or a menu entry, which would take "&" for the mark of a key.
[[nodiscard]] inline QString label(QString text)
{
    return text.replace(u'&', QStringLiteral("&&"));
}

} // namespace Korvane::PlainText
