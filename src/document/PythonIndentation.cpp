#include "document/PythonIndentation.h"

#include "document/PythonScanner.h"

#include <algorithm>

namespace Korvane {

namespace {

bool isIndenting(QChar character)
{
    return character == u' ' || character == u'\t';
}

bool endsBlock(QStringView word)
{
    return word == u"return" || word == u"pass" || word == u"break" || word == u"continue"
        || word == u"raise";
}

/// The source before a position at which a line is to begin.
struct Place
{
    bool isInString = false;
    bool isContinued = false; // by a backslash
    bool isContinuation = false;
    int statement = 0; // where it starts
    QStringView firstWord;
    /// The last character of code in the statement; null when there is none.
    QChar last;
    /// The opening bracket that was closed last in the line, or -1.
    int closed = -1;
    OpenBrackets open;
};

Place placeAt(QStringView text, int position)
{
    using Kind = PythonPiece::Kind;
    Place place;
    bool isNew = true;
    PythonScanner scanner(text);
    for (auto piece = scanner.next(); piece && piece->start < position; piece = scanner.next()) {
        const bool isCut = piece->end > position;
        switch (piece->kind) {
        case Kind::LineEnd:
            place.closed = -1;
            place.isContinuation = false;
            place.isInString = false;
            isNew = isNew || place.open.positions().empty();
            continue;
        case Kind::Comment:
            continue;
        case Kind::Continuation:
            place.isContinued = isCut;
            place.isContinuation = !isCut;
            place.closed = -1;
            continue;
        default:
            break;
        }
        const QStringView characters = text.sliced(piece->start, piece->end - piece->start);
        if (isNew) {
            isNew = false;
            place.statement = piece->start;
            place.firstWord = piece->kind == Kind::Word ? characters : QStringView();
        }
        place.isInString = piece->kind == Kind::String && (isCut || piece->isUnclosed);
        place.last = characters.back();
        place.isContinued = place.last == u'\\' && piece->kind == Kind::Other;
        if (piece->kind == Kind::Opening || piece->kind == Kind::Closing) {
            if (const auto opening = place.open.add(text, *piece))
                place.closed = *opening;
        }
    }
    if (isNew)
        place.last = {};
    return place;
}

} // namespace

int PythonIndentation::lineStart(QStringView text, int position)
{
    return position == 0 ? 0 : static_cast<int>(text.first(position).lastIndexOf(u'\n')) + 1;
}

QStringView PythonIndentation::ofLine(QStringView text, int position)
{
    const QStringView line = text.sliced(lineStart(text, position));
    const auto end = std::find_if_not(line.begin(), line.end(), isIndenting);
    return line.first(end - line.begin());
}

QString PythonIndentation::ofNewLine(QStringView text, int position) const
{
    const int start = lineStart(text, position);
    const QStringView own = ofLine(text, position);
    if (position - start <= own.size()) // the rest of it follows the line end
        return own.first(position - start).toString();
    const Place place = placeAt(text, position);
    if (place.isInString)
        return own.toString();
    if (place.isContinued)
        return place.isContinuation ? own.toString() : deeper(own);

    const QStringView rest = text.sliced(position);
    const auto next = std::find_if_not(rest.begin(), rest.end(), isIndenting);
    const bool isClosedNext = next != rest.end() && QStringView(u")]}").contains(*next);
    if (const std::vector<int> &open = place.open.positions(); !open.empty()) {
        const int innermost = open.back();
        if (isClosedNext)
            return ofLine(text, innermost).toString();
        if (innermost >= start)
            return deeper(own);
        return (place.closed < 0 ? own : ofLine(text, place.closed)).toString();
    }
    if (place.last.isNull()) // no code, or a comment alone
        return own.toString();
    const QStringView ofStatement = ofLine(text, place.statement);
    if (place.last == u':')
        return deeper(ofStatement);
    return endsBlock(place.firstWord) ? shallower(ofStatement) : ofStatement.toString();
}

int PythonIndentation::stepBefore(QStringView text, int position) const
{
    const int start = lineStart(text, position);
    const QStringView before = text.sliced(start, position - start);
    if (before.isEmpty() || !std::all_of(before.begin(), before.end(), isIndenting))
        return 0;
    return static_cast<int>(before.size() - shallower(before).size());
}

QString PythonIndentation::deeper(QStringView indentation) const
{
    const QString step =
        indentation.endsWith(u'\t') ? QStringLiteral("\t") : QString(m_width, u' ');
    return indentation.toString() + step;
}

QString PythonIndentation::shallower(QStringView indentation) const
{
    if (indentation.endsWith(u'\t'))
        return indentation.chopped(1).toString();
    const qsizetype spaces = indentation.size() - (indentation.lastIndexOf(u'\t') + 1);
    const qsizetype beyond = spaces % m_width;
    return indentation.chopped(std::min(spaces, beyond > 0 ? beyond : m_width)).toString();
}

} // namespace Korvane
