#include "app/AnsiFilter.h"

#include <utility>

namespace Korvane {

namespace {

constexpr QChar escape = u'\x1b';

bool isWithin(QChar character, char16_t first, char16_t last)
{
    return character >= first && character <= last;
}

enum class Match { None, Unfinished, Whole };

/// Looks for an escape sequence at the start of \p text, which begins with ESC.
///
/// The third alternative of the pattern, ESC ] … BEL, never matches: "]" is inside the range `\\-_`
/// of the first, so that ESC ] is always a sequence of its own. The three character classes of the
/// second do not overlap, so no backtracking is needed.
std::pair<Match, qsizetype> matchEscape(QStringView text)
{
    if (text.size() < 2)
        return {Match::Unfinished, 0};
    if (isWithin(text[1], u'@', u'Z') || isWithin(text[1], u'\\', u'_'))
        return {Match::Whole, 2};
    if (text[1] != u'[')
        return {Match::None, 0};

    qsizetype end = 2;
    while (end < text.size()
           && (isWithin(text[end], u'0', u'9') || text[end] == u';' || text[end] == u'?'))
        ++end;
    while (end < text.size() && isWithin(text[end], u' ', u'/'))
        ++end;
    if (end == text.size())
        return {Match::Unfinished, 0};
    if (isWithin(text[end], u'@', u'~'))
        return {Match::Whole, end + 1};
    return {Match::None, 0};
}

} // namespace

QString AnsiFilter::feed(const QString &chunk)
{
    // The usual case costs two fast searches and no copy.
    if (m_escapeStart.isEmpty() && m_lineEnd == LineEnd::None && !chunk.contains(escape)
        && !chunk.contains(u'\r'))
        return chunk;

    const QString text = std::exchange(m_escapeStart, {}) + chunk;
    QString result;
    result.reserve(text.size() + 1);
    const auto take = [&](QStringView piece) {
        if (piece.isEmpty())
            return;
        const LineEnd before = std::exchange(m_lineEnd, LineEnd::None);
        if (before == LineEnd::Handled && piece.front() == u'\n')
            piece = piece.sliced(1);
        else if (before == LineEnd::HeldBack && piece.front() != u'\n')
            result += u'\n';
        result += piece;
    };

    const QStringView view = text;
    qsizetype from = 0; // everything before it is processed
    qsizetype at = 0;
    while (at < view.size()) {
        if (view[at] == u'\r') {
            take(view.sliced(from, at - from));
            if (std::exchange(m_lineEnd, LineEnd::HeldBack) == LineEnd::HeldBack)
                result += u'\n';
            from = ++at;
        } else if (view[at] == escape) {
            const auto [match, length] = matchEscape(view.sliced(at));
            if (match == Match::Whole) {
                take(view.sliced(from, at - from));
                from = at += length;
            } else if (match == Match::Unfinished && view.size() - at <= maxHeldBack) {
                m_escapeStart = view.sliced(at).toString();
                break;
            } else {
                ++at;
            }
        } else {
            ++at;
        }
    }
    take(view.sliced(from, at - from));
    return result;
}

QString AnsiFilter::finish()
{
    const bool isLineEndDue = std::exchange(m_lineEnd, LineEnd::None) == LineEnd::HeldBack;
    const QString lineEnd = isLineEndDue ? QStringLiteral("\n") : QString();
    return lineEnd + std::exchange(m_escapeStart, {});
}

QString AnsiFilter::pause()
{
    const bool mayGoOn = m_lineEnd != LineEnd::None && m_escapeStart.isEmpty();
    const QString text = finish();
    if (mayGoOn)
        m_lineEnd = LineEnd::Handled;
    return text;
}

void AnsiFilter::dropLineEnd()
{
    if (m_lineEnd == LineEnd::HeldBack)
        m_lineEnd = LineEnd::Handled;
}

} // namespace Korvane
