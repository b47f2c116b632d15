#include "editor/TextSearch.h"

#include "document/WordCharacters.h"

#include <QStringMatcher>

namespace Korvane {

namespace {

/// Whether the words at both sides of \p position are one.
bool isWithinWord(QStringView text, qsizetype position)
{
    return position > 0 && position < text.size()
        && WordCharacters::isWord(WordCharacters::at(text, position).value)
        && WordCharacters::isWordBefore(text, position);
}

} // namespace

std::vector<int> TextSearch::positions(const QString &text) const
{
    std::vector<int> found;
    if (query.isEmpty())
        return found;
    const QStringMatcher matcher(query, matchesCase ? Qt::CaseSensitive : Qt::CaseInsensitive);
    qsizetype position = 0;
    while ((position = matcher.indexIn(text, position)) >= 0) {
        const qsizetype end = position + query.size();
        if (findsWholeWords && (isWithinWord(text, position) || isWithinWord(text, end))) {
            ++position;
        } else {
            found.push_back(static_cast<int>(position));
            position = end;
        }
    }
    return found;
}

} // namespace Korvane
