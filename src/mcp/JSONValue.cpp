#include "mcp/JSONValue.h"

#include "base/Utf8.h"
#include "mcp/JSONText.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cstdlib>

namespace Korvane {

namespace {

/// The length of the string at the front, with both quotation marks.
qsizetype stringLength(QByteArrayView text)
{
    for (qsizetype from = 1;;) {
        const auto mark = text.indexOf('"', from);
        if (mark < 0)
            return text.size();
        auto backslashes = mark;
        while (backslashes > 1 && text[backslashes - 1] == '\\')
            --backslashes;
        if ((mark - backslashes) % 2 == 0)
            return mark + 1;
        from = mark + 1;
    }
}

qsizetype containerLength(QByteArrayView text)
{
    qsizetype depth = 0;
    for (qsizetype position = 0; position < text.size();) {
        const char c = text[position];
        if (c == '"') {
            position += stringLength(text.sliced(position));
            continue;
        }
        ++position;
        if (c == '[' || c == '{')
            ++depth;
        else if ((c == ']' || c == '}') && --depth == 0)
            return position;
    }
    return text.size();
}

/// The length of the value at the front.
qsizetype valueLength(QByteArrayView text)
{
    if (text.isEmpty())
        return 0;
    if (text[0] == '"')
        return stringLength(text);
    if (text[0] == '[' || text[0] == '{')
        return containerLength(text);
    const auto end = std::find_if(text.begin(), text.end(), [](char c) {
        return c == ',' || c == ']' || c == '}' || isJSONSpace(c);
    });
    return end - text.begin();
}

char16_t hexUnit(QByteArrayView digits)
{
    unsigned unit = 0;
    std::from_chars(digits.begin(), digits.end(), unit, 16);
    return char16_t(unit);
}

void appendUtf8(QByteArray &bytes, char32_t character)
{
    if (character < 0x80) {
        bytes += char(character);
        return;
    }
    const int tail = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    static constexpr unsigned leads[] = {0, 0xc0, 0xe0, 0xf0};
    bytes += char(leads[tail] | (character >> (6 * tail)));
    for (int i = tail - 1; i >= 0; --i)
        bytes += char(0x80 | ((character >> (6 * i)) & 0x3f));
}

char unescaped(char c)
{
    switch (c) {
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return c;
    }
}

/// What is between the quotation marks of a string, as UTF-8.
QByteArray withoutEscapes(QByteArrayView text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    while (!text.isEmpty()) {
        const auto backslash = text.indexOf('\\');
        if (backslash < 0 || backslash + 1 == text.size()) {
            bytes += text;
            break;
        }
        bytes += text.first(backslash);
        const char kind = text[backslash + 1];
        text = text.sliced(backslash + 2);
        if (kind != 'u') {
            bytes += unescaped(kind);
            continue;
        }
        char32_t character = hexUnit(text.first(std::min<qsizetype>(4, text.size())));
        text = text.sliced(std::min<qsizetype>(4, text.size()));
        if (QChar::isHighSurrogate(character) && text.size() >= 6) {
            character = QChar::surrogateToUcs4(char16_t(character), hexUnit(text.sliced(2, 4)));
            text = text.sliced(6);
        }
        appendUtf8(bytes, character);
    }
    return bytes;
}

} // namespace

JSONValue::JSONValue(QByteArrayView text)
    : m_text(withoutLeadingSpace(text))
{
    m_text = m_text.first(valueLength(m_text));
}

JSONValue::Kind JSONValue::kind() const
{
    switch (m_text.isEmpty() ? 'n' : m_text[0]) {
    case '{':
        return Kind::Object;
    case '[':
        return Kind::Array;
    case '"':
        return Kind::String;
    case 't':
    case 'f':
        return Kind::Boolean;
    case 'n':
        return Kind::Null;
    default:
        return Kind::Number;
    }
}

QString JSONValue::string() const
{
    if (!isString())
        return {};
    const auto raw = innerText(m_text);
    return raw.contains('\\') ? Utf8::decodeLossy(withoutEscapes(raw)) : Utf8::decodeLossy(raw);
}

double JSONValue::number() const
{
    double value = 0;
    if (kind() != Kind::Number
        || std::from_chars(m_text.begin(), m_text.end(), value).ec
            != std::errc::result_out_of_range)
        return value;
    // Only the older function tells too large from too small. It would follow the person's locale.
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(m_text.toByteArray().constData(), nullptr, plain);
}

bool JSONValue::says(QLatin1StringView ascii) const
{
    if (!isString())
        return false;
    const auto raw = innerText(m_text);
    if (!raw.contains('\\'))
        return raw == QByteArrayView(ascii.data(), ascii.size());
    return string() == ascii;
}

} // namespace Korvane
