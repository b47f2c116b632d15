#include "document/PythonScanner.h"

#include <QString>

#include <algorithm>

namespace Korvane {

namespace {

constexpr qsizetype quotesOfBlock = 3;

bool isBlank(QChar character)
{
    return character == u' ' || character == u'\t' || character == u'\f';
}

/// Words of the language and names. A character beyond ASCII can only be part of a name.
bool isOfWord(QChar character)
{
    const char16_t unit = character.unicode();
    const char16_t letter = unit | 0x20;
    return unit >= 0x80 || unit == u'_' || (letter >= u'a' && letter <= u'z')
        || (unit >= u'0' && unit <= u'9');
}

size_t kindOf(QChar bracket)
{
    return bracket == u'(' || bracket == u')' ? 0 : bracket == u'[' || bracket == u']' ? 1 : 2;
}

bool isBracket(QStringView text, int position)
{
    return position >= 0 && position < text.size()
        && QStringView(u"()[]{}").contains(text[position]);
}

} // namespace

std::optional<PythonPiece> PythonScanner::next()
{
    using Kind = PythonPiece::Kind;
    while (m_position < m_text.size() && isBlank(m_text[m_position]))
        ++m_position;
    if (m_position == m_text.size())
        return std::nullopt;
    const qsizetype start = m_position;
    const QChar first = m_text[start];
    if (first == u'"' || first == u'\'')
        return scanString();
    Kind kind = Kind::Other;
    ++m_position;
    if (isOfWord(first)) {
        kind = Kind::Word;
        while (m_position < m_text.size() && isOfWord(m_text[m_position]))
            ++m_position;
    } else if (first == u'#') {
        kind = Kind::Comment;
        const qsizetype end = m_text.indexOf(u'\n', m_position);
        m_position = end < 0 ? m_text.size() : end;
    } else if (first == u'\n') {
        kind = Kind::LineEnd;
    } else if (first == u'\\' && m_position < m_text.size() && m_text[m_position] == u'\n') {
        kind = Kind::Continuation;
        ++m_position;
    } else if (first == u'(' || first == u'[' || first == u'{') {
        kind = Kind::Opening;
    } else if (first == u')' || first == u']' || first == u'}') {
        kind = Kind::Closing;
    }
    return PythonPiece{kind, static_cast<int>(start), static_cast<int>(m_position)};
}

PythonPiece PythonScanner::scanString()
{
    const qsizetype start = m_position;
    const QChar quote = m_text[start];
    const QString block(quotesOfBlock, quote);
    const bool isBlock = m_text.sliced(start).startsWith(block);
    m_position += isBlock ? quotesOfBlock : 1;
    bool isUnclosed = true;
    while (m_position < m_text.size()) {
        const QChar character = m_text[m_position];
        if (character == u'\\') {
            m_position = std::min(m_position + 2, m_text.size());
            continue;
        }
        if (!isBlock && character == u'\n')
            break;
        if (character == quote && (!isBlock || m_text.sliced(m_position).startsWith(block))) {
            m_position += isBlock ? quotesOfBlock : 1;
            isUnclosed = false;
            break;
        }
        ++m_position;
    }
    return {PythonPiece::Kind::String, static_cast<int>(start), static_cast<int>(m_position),
            isUnclosed};
}

std::optional<int> OpenBrackets::add(QStringView text, const PythonPiece &piece)
{
    const size_t kind = kindOf(text[piece.start]);
    if (piece.kind == PythonPiece::Kind::Opening) {
        m_positions.push_back(piece.start);
        ++m_counts[kind];
        return std::nullopt;
    }
    if (m_counts[kind] == 0)
        return std::nullopt;
    while (true) {
        const int last = m_positions.back();
        const size_t kindOfLast = kindOf(text[last]);
        m_positions.pop_back();
        --m_counts[kindOfLast];
        if (kindOfLast == kind)
            return last;
    }
}

std::optional<BracketPair> bracketAt(QStringView text, int caret)
{
    if (!isBracket(text, caret - 1) && !isBracket(text, caret))
        return std::nullopt;
    std::optional<BracketPair> found;
    OpenBrackets open;
    PythonScanner scanner(text);
    while (const auto piece = scanner.next()) {
        if (piece->start > caret && !found)
            break;
        if (piece->kind != PythonPiece::Kind::Opening && piece->kind != PythonPiece::Kind::Closing)
            continue;
        if (piece->start == caret - 1 || (piece->start == caret && !found))
            found = BracketPair{piece->start, std::nullopt};
        const std::optional<int> match = open.add(text, *piece);
        if (!found)
            continue;
        if (found->position == piece->start && piece->kind == PythonPiece::Kind::Closing)
            return BracketPair{piece->start, match};
        if (match == found->position)
            return BracketPair{*match, piece->start};
    }
    return found;
}

} // namespace Korvane
