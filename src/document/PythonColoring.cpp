#include "document/PythonColoring.h"

#include "document/WordCharacters.h"

#include <array>
#include <limits>

namespace Korvane {

namespace {

using Words = QList<QStringView>;

/// Finds the words of the fourth and fifth pass.
class WordTable final
{
public:
    WordTable()
    {
        add(PythonColoring::builtInNames(), PythonToken::BuiltInName);
        add(PythonColoring::keywords(), PythonToken::Keyword);
    }

    /// Plain when \p word is none of them.
    [[nodiscard]] PythonToken find(QStringView word) const
    {
        for (const auto &[entry, token] : m_buckets[bucket(word)]) {
            if (entry == word)
                return token;
        }
        return PythonToken::Plain;
    }

private:
    struct Entry
    {
        QStringView word;
        PythonToken token;
    };

    static size_t bucket(QStringView word)
    {
        // Distinguishes nearly all of them from each other and from most other words.
        const auto size = static_cast<size_t>(word.size());
        return (word.front().unicode() * 37U + word.back().unicode() * 5U + size) % bucketCount;
    }
    void add(const Words &words, PythonToken token)
    {
        for (const QStringView word : words)
            m_buckets[bucket(word)].push_back({word, token});
    }

    static constexpr size_t bucketCount = 1024;
    std::array<std::vector<Entry>, bucketCount> m_buckets;
};

/// What an ASCII character may begin.
enum class Beginning : quint8 { Nothing, Word, Number, String, Comment, Decorator };

constexpr char16_t firstBeyondAscii = 0x80;

constexpr std::array<Beginning, firstBeyondAscii> beginnings = [] {
    std::array<Beginning, firstBeyondAscii> table{};
    for (char16_t unit = 0; unit < firstBeyondAscii; ++unit) {
        if (WordCharacters::isAsciiWord(unit))
            table[unit] = unit >= u'0' && unit <= u'9' ? Beginning::Number : Beginning::Word;
    }
    table[u'"'] = table[u'\''] = Beginning::String;
    table[u'#'] = Beginning::Comment;
    table[u'@'] = Beginning::Decorator;
    return table;
}();

/// Colors one text. The first pass reads each character once, colors words and numbers, and records
/// where the other passes may match.
class ColoringPasses final
{
public:
    ColoringPasses(QStringView text, std::vector<PythonToken> &tokens)
        : m_text(text)
        , m_tokens(tokens)
    {
    }

    void color();

private:
    using Positions = std::vector<qsizetype>;

    qsizetype number(qsizetype start);
    qsizetype word(qsizetype start);
    void comments();
    void strings();
    void decorators();
    void names(const Positions &starts, qsizetype wordLength, PythonToken token);

    [[nodiscard]] qsizetype stringEnd(qsizetype start);
    [[nodiscard]] qsizetype decimalEnd(qsizetype start) const;
    [[nodiscard]] qsizetype hexadecimalEnd(qsizetype start) const;
    [[nodiscard]] bool isAt(qsizetype position, char16_t unit) const
    {
        return position < m_text.size() && m_text[position] == unit;
    }
    /// A token replaces only those of earlier passes: so the passes may run in any order.
    void paint(qsizetype start, qsizetype end, PythonToken token)
    {
        PythonToken *tokens = m_tokens.data();
        for (qsizetype i = start; i < end; ++i)
            tokens[i] = tokens[i] < token ? token : tokens[i];
    }

    /// What a failed search of the string pass implies for later ones.
    struct Failure
    {
        /// No triple quote closes from here on.
        qsizetype tripleFrom = std::numeric_limits<qsizetype>::max();
        /// No string on one line that starts before this ends.
        qsizetype singleUntil = 0;
    };

    QStringView m_text;
    std::vector<PythonToken> &m_tokens;
    Positions m_quotes;
    Positions m_hashes;
    Positions m_ats;
    Positions m_functions;
    Positions m_classes;
    Failure m_quote;
    Failure m_apostrophe;
};

void ColoringPasses::color()
{
    qsizetype i = 0;
    while (i < m_text.size()) {
        const char16_t unit = m_text[i].unicode();
        if (unit >= firstBeyondAscii) {
            const auto [character, length] = WordCharacters::at(m_text, i);
            i = WordCharacters::isDigit(character) ? number(i) : i + length;
            continue;
        }
        switch (beginnings[unit]) {
        case Beginning::Nothing:
            break;
        case Beginning::Word:
            i = word(i);
            continue;
        case Beginning::Number:
            i = number(i);
            continue;
        case Beginning::String:
            m_quotes.push_back(i);
            break;
        case Beginning::Comment:
            m_hashes.push_back(i);
            break;
        case Beginning::Decorator:
            m_ats.push_back(i);
            break;
        }
        ++i;
    }
    comments();
    strings();
    decorators();
    names(m_functions, 3, PythonToken::FunctionName);
    names(m_classes, 5, PythonToken::ClassName);
}

/// Colors the number at \p start, if one begins there; returns the position to continue at.
qsizetype ColoringPasses::number(qsizetype start)
{
    qsizetype end = start;
    if (!WordCharacters::isWordBefore(m_text, start))
        end = decimalEnd(start);
    if (end == start)
        end = hexadecimalEnd(start);
    if (end == start)
        return start + WordCharacters::at(m_text, start).length;
    paint(start, end, PythonToken::Number);
    return end;
}

/// The end of the longest number at \p start that ends at the edge of a word: with an exponent,
/// with a fraction, or the integer. Part of a run of digits never ends at the edge of a word, so
/// other lengths are not tested.
qsizetype ColoringPasses::decimalEnd(qsizetype start) const
{
    const qsizetype integer = WordCharacters::skipDigits(m_text, start);
    qsizetype fraction = integer;
    if (isAt(integer, u'.')) {
        const qsizetype digits = WordCharacters::skipDigits(m_text, integer + 1);
        if (digits > integer + 1)
            fraction = digits;
    }
    if (isAt(fraction, u'e') || isAt(fraction, u'E')) {
        qsizetype first = fraction + 1;
        if (isAt(first, u'+') || isAt(first, u'-'))
            ++first;
        const qsizetype exponent = WordCharacters::skipDigits(m_text, first);
        if (exponent > first && WordCharacters::isWordEnd(m_text, exponent))
            return exponent;
    }
    if (WordCharacters::isWordEnd(m_text, fraction))
        return fraction;
    if (WordCharacters::isWordEnd(m_text, integer))
        return integer;
    return start;
}

qsizetype ColoringPasses::hexadecimalEnd(qsizetype start) const
{
    if (!isAt(start, u'0') || !isAt(start + 1, u'x'))
        return start;
    const auto isHexadecimal = [](QChar unit) {
        const char16_t letter = unit.unicode() | 0x20;
        return (unit >= u'0' && unit <= u'9') || (letter >= u'a' && letter <= u'f');
    };
    qsizetype end = start + 2;
    while (end < m_text.size() && isHexadecimal(m_text[end]))
        ++end;
    return end > start + 2 ? end : start;
}

/// Colors the ASCII part, up to a number within it, of the word at \p start; returns its end.
qsizetype ColoringPasses::word(qsizetype start)
{
    qsizetype end = start + 1;
    while (end < m_text.size()) {
        const char16_t unit = m_text[end].unicode();
        if (unit >= firstBeyondAscii || beginnings[unit] > Beginning::Number
            || beginnings[unit] == Beginning::Nothing)
            break;
        if (unit == u'0' && hexadecimalEnd(end) > end)
            return end;
        ++end;
    }
    const QStringView word = m_text.sliced(start, end - start);
    static const WordTable table;
    const PythonToken token = table.find(word);
    if (token == PythonToken::Plain || WordCharacters::isWordBefore(m_text, start)
        || !WordCharacters::isWordEnd(m_text, end))
        return end;
    paint(start, end, token);
    if (word == u"def")
        m_functions.push_back(start);
    else if (word == u"class")
        m_classes.push_back(start);
    return end;
}

void ColoringPasses::comments()
{
    qsizetype end = 0;
    for (const qsizetype start : m_hashes) {
        if (start < end)
            continue;
        end = m_text.indexOf(u'\n', start);
        if (end < 0)
            end = m_text.size();
        paint(start, end, PythonToken::Comment);
    }
}

void ColoringPasses::strings()
{
    qsizetype end = 0;
    for (const qsizetype start : m_quotes) {
        if (start < end)
            continue;
        end = stringEnd(start);
        paint(start, end, PythonToken::String);
    }
}

/// The end of the string that starts at \p start, or \p start when none does.
qsizetype ColoringPasses::stringEnd(qsizetype start)
{
    const char16_t quote = m_text[start].unicode();
    Failure &failure = quote == u'"' ? m_quote : m_apostrophe;

    const qsizetype body = start + 3;
    if (isAt(start + 1, quote) && isAt(start + 2, quote) && body < failure.tripleFrom) {
        const QStringView triple = m_text.sliced(start, 3);
        if (const qsizetype end = m_text.indexOf(triple, body); end >= 0)
            return end + 3;
        failure.tripleFrom = body;
    }

    // A search that starts within one that failed fails as well: its quote was passed as an escaped
    // character, so both continue with the same text.
    if (start < failure.singleUntil)
        return start;
    qsizetype i = start + 1;
    while (i < m_text.size()) {
        const QChar unit = m_text[i];
        if (unit == quote)
            return i + 1;
        if (unit == u'\n')
            break;
        if (unit == u'\\') {
            if (i + 1 == m_text.size())
                break;
            i += isAt(i + 1, u'\r') && isAt(i + 2, u'\n') ? 2 : 1;
        }
        ++i;
    }
    failure.singleUntil = i;
    return start;
}

void ColoringPasses::decorators()
{
    for (const qsizetype start : m_ats) {
        const qsizetype end = WordCharacters::skipWord(m_text, start + 1);
        if (end > start + 1)
            paint(start, end, PythonToken::Decorator);
    }
}

/// Colors the names that follow the words at \p starts.
void ColoringPasses::names(const Positions &starts, qsizetype wordLength, PythonToken token)
{
    qsizetype end = 0;
    for (const qsizetype start : starts) {
        if (start < end)
            continue; // itself a name already: "class class"
        const qsizetype wordEnd = start + wordLength;
        const qsizetype name = WordCharacters::skipWhiteSpace(m_text, wordEnd);
        const qsizetype nameEnd = WordCharacters::skipWord(m_text, name);
        if (name == wordEnd || nameEnd == name)
            continue;
        paint(name, nameEnd, token);
        end = nameEnd;
    }
}

} // namespace

void PythonColoring::color(QStringView text, std::vector<PythonToken> &tokens)
{
    tokens.assign(static_cast<size_t>(text.size()), PythonToken::Plain);
    ColoringPasses(text, tokens).color();
}

Theme::Role PythonColoring::role(PythonToken token)
{
    switch (token) {
    case PythonToken::Plain:
        return Theme::Role::Label;
    case PythonToken::Comment:
        return Theme::Role::Gray;
    case PythonToken::String:
        return Theme::Role::Green;
    case PythonToken::Number:
        return Theme::Role::Purple;
    case PythonToken::BuiltInName:
        return Theme::Role::Indigo;
    case PythonToken::Keyword:
    case PythonToken::FunctionName:
        return Theme::Role::Blue;
    case PythonToken::Decorator:
        return Theme::Role::Orange;
    case PythonToken::ClassName:
        return Theme::Role::Teal;
    }
    Q_UNREACHABLE();
}

const Words &PythonColoring::builtInNames()
{
    static const Words words{
        u"abs",      u"all",      u"any",     u"bin",        u"bool",         u"bytes",
        u"callable", u"chr",      u"dict",    u"dir",        u"divmod",       u"enumerate",
        u"eval",     u"exec",     u"filter",  u"float",      u"format",       u"frozenset",
        u"getattr",  u"globals",  u"hasattr", u"hash",       u"help",         u"hex",
        u"id",       u"input",    u"int",     u"isinstance", u"issubclass",   u"iter",
        u"len",      u"list",     u"locals",  u"map",        u"max",          u"min",
        u"next",     u"object",   u"oct",     u"open",       u"ord",          u"pow",
        u"print",    u"property", u"range",   u"repr",       u"reversed",     u"round",
        u"set",      u"setattr",  u"slice",   u"sorted",     u"staticmethod", u"str",
        u"sum",      u"super",    u"tuple",   u"type",       u"vars",         u"zip",
    };
    return words;
}

const Words &PythonColoring::keywords()
{
    static const Words words{
        u"False",  u"None",   u"True",    u"and",      u"as",       u"assert", u"async",
        u"await",  u"break",  u"class",   u"continue", u"def",      u"del",    u"elif",
        u"else",   u"except", u"finally", u"for",      u"from",     u"global", u"if",
        u"import", u"in",     u"is",      u"lambda",   u"nonlocal", u"not",    u"or",
        u"pass",   u"raise",  u"return",  u"try",      u"while",    u"with",   u"yield",
    };
    return words;
}

} // namespace Korvane
