#include "mcp/JSONChecker.h"

#include "mcp/JSONText.h"

#include <algorithm>

namespace Korvane {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

} // namespace

JSONChecker::JSONChecker(QByteArrayView text)
    : m_text(text)
    , m_isMalformed(!text.isValidUtf8())
{
}

JSONChecker::Verdict JSONChecker::advance(qsizetype bytes)
{
    const auto size = m_text.size();
    const auto limit = m_position + std::min(bytes, size - m_position);
    while (!m_isMalformed) {
        if (m_isInString && !stringPart(limit)) {
            m_isMalformed = true;
            break;
        }
        if (!m_isInString)
            skipWhiteSpace();
        if (m_position == size) {
            m_isMalformed = m_isInString || m_expected != Expected::Nothing;
            return m_isMalformed ? Verdict::Malformed : Verdict::WellFormed;
        }
        if (m_position >= limit)
            return Verdict::Unfinished;
        if (!m_isInString)
            m_isMalformed = !token();
    }
    return Verdict::Malformed;
}

void JSONChecker::skipWhiteSpace()
{
    while (m_position < m_text.size() && isJSONSpace(m_text[m_position]))
        ++m_position;
}

/// Takes the token at the position, a string only as far as its first quotation mark.
bool JSONChecker::token()
{
    const char c = m_text[m_position];
    switch (m_expected) {
    case Expected::ValueOrEnd:
        if (c == ']')
            return close(Container::Array);
        return value();
    case Expected::Value:
        return value();
    case Expected::NameOrEnd:
        if (c == '}')
            return close(Container::Object);
        [[fallthrough]];
    case Expected::Name:
        m_isInString = c == '"';
        ++m_position;
        m_expected = Expected::Colon;
        return m_isInString;
    case Expected::Colon:
        ++m_position;
        m_expected = Expected::Value;
        return c == ':';
    case Expected::CommaOrEnd:
        if (c != ',')
            return close(m_open.back());
        ++m_position;
        m_expected = m_open.back() == Container::Array ? Expected::Value : Expected::Name;
        return true;
    case Expected::Nothing:
        break;
    }
    return false;
}

bool JSONChecker::value()
{
    const char c = m_text[m_position];
    if (m_open.empty())
        m_isArray = c == '[';
    else if (m_open.size() == 1 && c != '{')
        m_isArrayOfObjects = false;

    switch (c) {
    case '{':
        return open(Container::Object);
    case '[':
        return open(Container::Array);
    case '"':
        ++m_position;
        m_isInString = true;
        valueDone();
        return true;
    case 't':
        return literal("true");
    case 'f':
        return literal("false");
    case 'n':
        return literal("null");
    default:
        return number();
    }
}

bool JSONChecker::open(Container container)
{
    ++m_position;
    m_open.push_back(container);
    m_expected = container == Container::Array ? Expected::ValueOrEnd : Expected::NameOrEnd;
    return true;
}

bool JSONChecker::close(Container container)
{
    if (m_text[m_position] != (container == Container::Array ? ']' : '}'))
        return false;
    ++m_position;
    m_open.pop_back();
    valueDone();
    return true;
}

bool JSONChecker::literal(QByteArrayView word)
{
    if (!m_text.sliced(m_position).startsWith(word))
        return false;
    m_position += word.size();
    valueDone();
    return true;
}

bool JSONChecker::number()
{
    const auto size = m_text.size();
    if (m_text[m_position] == '-')
        ++m_position;
    if (m_position < size && m_text[m_position] == '0')
        ++m_position;
    else if (!digits())
        return false;
    if (m_position < size && m_text[m_position] == '.') {
        ++m_position;
        if (!digits())
            return false;
    }
    if (m_position < size && (m_text[m_position] == 'e' || m_text[m_position] == 'E')) {
        ++m_position;
        if (m_position < size && (m_text[m_position] == '+' || m_text[m_position] == '-'))
            ++m_position;
        if (!digits())
            return false;
    }
    valueDone();
    return true;
}

bool JSONChecker::digits()
{
    const auto start = m_position;
    while (m_position < m_text.size() && isDigit(m_text[m_position]))
        ++m_position;
    return m_position > start;
}

/// Goes on behind the first quotation mark, to the last one or the limit.
bool JSONChecker::stringPart(qsizetype limit)
{
    while (m_position < limit) {
        const auto c = static_cast<unsigned char>(m_text[m_position]);
        if (c == '"') {
            ++m_position;
            m_isInString = false;
            return true;
        }
        if (c < 0x20)
            return false;
        ++m_position;
        if (c == '\\' && !escape())
            return false;
    }
    return true;
}

/// Takes what follows a backslash.
bool JSONChecker::escape()
{
    if (m_position == m_text.size())
        return false;
    const char c = m_text[m_position++];
    if (c != 'u')
        return QByteArrayView("\"\\/bfnrt").contains(c);
    const int unit = hexUnit();
    if (unit < 0 || (unit >= 0xdc00 && unit <= 0xdfff))
        return false;
    if (unit < 0xd800 || unit > 0xdbff)
        return true;
    if (!m_text.sliced(m_position).startsWith("\\u"))
        return false;
    m_position += 2;
    const int low = hexUnit();
    return low >= 0xdc00 && low <= 0xdfff;
}

/// The number that four hexadecimal digits make, or -1.
int JSONChecker::hexUnit()
{
    if (m_text.size() - m_position < 4)
        return -1;
    int unit = 0;
    for (const char c : m_text.sliced(m_position, 4)) {
        const char lower = char(c | 0x20);
        if (isDigit(c))
            unit = unit * 16 + (c - '0');
        else if (lower >= 'a' && lower <= 'f')
            unit = unit * 16 + (lower - 'a' + 10);
        else
            return -1;
    }
    m_position += 4;
    return unit;
}

void JSONChecker::valueDone()
{
    m_expected = m_open.empty() ? Expected::Nothing : Expected::CommaOrEnd;
}

} // namespace Korvane
