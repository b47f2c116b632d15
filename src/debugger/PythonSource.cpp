#include "debugger/PythonSource.h"

#include <QChar>

#include <algorithm>
#include <iterator>

namespace Korvane {

namespace {

constexpr QStringView blockKeywords[] = {u"if",    u"elif", u"else",   u"for",
                                         u"while", u"try",  u"except", u"finally",
                                         u"with",  u"def",  u"class",  u"async"};
constexpr QStringView otherKeywords[] = {
    u"False",    u"None", u"True", u"and",    u"as",     u"assert", u"await", u"break",
    u"continue", u"del",  u"from", u"global", u"import", u"in",     u"is",    u"lambda",
    u"nonlocal", u"not",  u"or",   u"pass",   u"raise",  u"return", u"yield"};

template <std::size_t count> bool isOneOf(const QStringView (&words)[count], QStringView word)
{
    return std::ranges::find(words, word) != std::end(words);
}

bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t';
}

bool isQuote(QChar c)
{
    return c == u'"' || c == u'\'';
}

/// The change of the depth of brackets at \p c: +1, -1 or 0.
int bracketStep(QChar c)
{
    switch (c.unicode()) {
    case u'(':
    case u'[':
    case u'{':
        return 1;
    case u')':
    case u']':
    case u'}':
        return -1;
    default:
        return 0;
    }
}

/// The code point at the beginning of \p text, which is not empty.
char32_t firstCodePoint(QStringView text)
{
    if (text.size() > 1 && text[0].isHighSurrogate() && text[1].isLowSurrogate())
        return QChar::surrogateToUcs4(text[0], text[1]);
    return text[0].unicode();
}

/// The brackets, triple-quoted string and backslash join that are open at the end of a line.
class OpenConstructs final
{
public:
    [[nodiscard]] bool isAny() const
    {
        return m_bracketDepth > 0 || !m_tripleQuote.isNull() || m_isJoined;
    }

    void scan(QStringView line)
    {
        m_isJoined = false;
        QChar quote; // of a string on this line; one that is not closed ends with the line
        for (qsizetype i = 0; i < line.size();) {
            const QChar c = line[i];
            const bool isInString = !m_tripleQuote.isNull() || !quote.isNull();
            if (isInString && c == u'\\') {
                i += 2;
            } else if (!m_tripleQuote.isNull()) {
                const bool closes = isTriple(line, i, m_tripleQuote);
                if (closes)
                    m_tripleQuote = {};
                i += closes ? 3 : 1;
            } else if (!quote.isNull()) {
                if (c == quote)
                    quote = {};
                ++i;
            } else if (c == u'#') {
                return;
            } else if (isQuote(c)) {
                const bool opensTriple = isTriple(line, i, c);
                (opensTriple ? m_tripleQuote : quote) = c;
                i += opensTriple ? 3 : 1;
            } else {
                m_bracketDepth = std::max(0, m_bracketDepth + bracketStep(c));
                ++i;
            }
        }
        m_isJoined = m_tripleQuote.isNull() && line.endsWith(u'\\');
    }

private:
    static bool isTriple(QStringView line, qsizetype i, QChar quote)
    {
        return i + 2 < line.size() && line[i] == quote && line[i + 1] == quote
            && line[i + 2] == quote;
    }

    int m_bracketDepth = 0;
    QChar m_tripleQuote;
    bool m_isJoined = false;
};

PythonSource::Role roleOfFirstLine(QStringView line)
{
    using Role = PythonSource::Role;
    const QStringView code = PythonSource::trimmed(line);
    if (code.isEmpty() || code.startsWith(u'#'))
        return Role::Blank;
    if (code.startsWith(u'@')
        || PythonSource::isBlockKeyword(PythonSource::leadingIdentifier(code)))
        return Role::CompoundHeader;
    return Role::Statement;
}

} // namespace

PythonSource::PythonSource(QString text)
    : lines(text.replace(QLatin1String("\r\n"), QLatin1String("\n")).split(u'\n'))
{
    roles.reserve(lines.size());
    indents.reserve(lines.size());
    OpenConstructs open;
    for (const QString &line : std::as_const(lines)) {
        const auto code = std::ranges::find_if_not(line, isBlank);
        indents.append(static_cast<int>(code - line.begin()));
        roles.append(open.isAny() ? Role::Continuation : roleOfFirstLine(line));
        open.scan(line);
    }
}

QStringView PythonSource::trimmed(QStringView text)
{
    while (!text.isEmpty() && isBlank(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isBlank(text.back()))
        text.chop(1);
    return text;
}

QStringView PythonSource::leadingIdentifier(QStringView text)
{
    qsizetype length = 0;
    while (length < text.size()) {
        const char32_t c = firstCodePoint(text.sliced(length));
        if (c != U'_' && !QChar::isLetterOrNumber(c))
            break;
        length += QChar::requiresSurrogates(c) ? 2 : 1;
    }
    return text.first(length);
}

bool PythonSource::isName(QStringView text)
{
    if (text.isEmpty() || leadingIdentifier(text).size() != text.size())
        return false;
    if (text.front() != u'_' && !QChar::isLetter(firstCodePoint(text)))
        return false;
    return !isOneOf(blockKeywords, text) && !isOneOf(otherKeywords, text);
}

bool PythonSource::isBlockKeyword(QStringView word)
{
    return isOneOf(blockKeywords, word);
}

QStringView PythonSource::withoutComment(QStringView line)
{
    QChar quote;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (quote.isNull() && c == u'#')
            return line.first(i);
        if (quote.isNull() && isQuote(c))
            quote = c;
        else if (c == quote)
            quote = {};
    }
    return line;
}

QList<QStringView> PythonSource::splitTopLevelCommas(QStringView text)
{
    QList<QStringView> pieces;
    const auto add = [&pieces](QStringView piece) {
        if (!trimmed(piece).isEmpty())
            pieces.append(piece);
    };
    int depth = 0;
    qsizetype begin = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        depth += bracketStep(text[i]);
        if (depth == 0 && text[i] == u',') {
            add(text.sliced(begin, i - begin));
            begin = i + 1;
        }
    }
    add(text.sliced(begin));
    return pieces;
}

std::optional<qsizetype> PythonSource::findAssignment(QStringView statement)
{
    constexpr QStringView comparisonStarts = u"=!<>";
    QChar quote;
    int depth = 0;
    for (qsizetype i = 0; i < statement.size(); ++i) {
        const QChar c = statement[i];
        if (!quote.isNull()) {
            if (c == u'\\')
                ++i;
            else if (c == quote)
                quote = {};
        } else if (isQuote(c)) {
            quote = c;
        } else if (c == u'=' && depth == 0) {
            const bool isFirstOfTwo = i + 1 < statement.size() && statement[i + 1] == u'=';
            const bool isSecondOfTwo = i > 0 && comparisonStarts.contains(statement[i - 1]);
            if (!isFirstOfTwo && !isSecondOfTwo)
                return i;
        } else {
            depth += bracketStep(c);
        }
    }
    return std::nullopt;
}

} // namespace Korvane
