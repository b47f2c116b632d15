#include "document/WordCharacters.h"

#include <unicode/uchar.h>

namespace Korvane {

namespace {

constexpr char32_t firstBeyondAscii = 0x80;

UChar32 icu(char32_t character)
{
    return static_cast<UChar32>(character);
}

bool modifiesTheOneBefore(char32_t character)
{
    return character >= firstBeyondAscii
        && (u_hasBinaryProperty(icu(character), UCHAR_GRAPHEME_EXTEND)
            || u_charType(icu(character)) == U_FORMAT_CHAR);
}

template <typename Predicate>
qsizetype skip(QStringView text, qsizetype position, Predicate isOfClass)
{
    while (position < text.size()) {
        const auto [character, length] = WordCharacters::at(text, position);
        if (!isOfClass(character))
            break;
        position += length;
    }
    return position;
}

} // namespace

WordCharacters::Character WordCharacters::at(QStringView text, qsizetype position)
{
    const QChar unit = text[position];
    if (unit.isHighSurrogate() && position + 1 < text.size() && text[position + 1].isLowSurrogate())
        return {QChar::surrogateToUcs4(unit, text[position + 1]), 2};
    return {unit.unicode(), 1};
}

WordCharacters::Character WordCharacters::before(QStringView text, qsizetype position)
{
    const QChar unit = text[position - 1];
    if (unit.isLowSurrogate() && position >= 2 && text[position - 2].isHighSurrogate())
        return {QChar::surrogateToUcs4(text[position - 2], unit), 2};
    return {unit.unicode(), 1};
}

bool WordCharacters::isWord(char32_t character)
{
    if (character < firstBeyondAscii)
        return isAsciiWord(character);
    constexpr uint32_t kinds = U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK;
    constexpr char32_t nonJoiner = 0x200C;
    constexpr char32_t joiner = 0x200D;
    return u_hasBinaryProperty(icu(character), UCHAR_ALPHABETIC)
        || (U_GET_GC_MASK(icu(character)) & kinds) != 0 || character == nonJoiner
        || character == joiner;
}

bool WordCharacters::isDigit(char32_t character)
{
    if (character < firstBeyondAscii)
        return character >= U'0' && character <= U'9';
    return u_charType(icu(character)) == U_DECIMAL_DIGIT_NUMBER;
}

bool WordCharacters::isWhiteSpace(char32_t character)
{
    if (character < firstBeyondAscii)
        return character == U' ' || (character >= U'\t' && character <= U'\r');
    return u_hasBinaryProperty(icu(character), UCHAR_WHITE_SPACE);
}

bool WordCharacters::isWordBefore(QStringView text, qsizetype position)
{
    while (position > 0) {
        const auto [character, length] = before(text, position);
        if (!modifiesTheOneBefore(character))
            return isWord(character);
        position -= length;
    }
    return false;
}

bool WordCharacters::isWordEnd(QStringView text, qsizetype position)
{
    if (position == text.size())
        return true;
    const char32_t character = at(text, position).value;
    return !modifiesTheOneBefore(character) && !isWord(character);
}

qsizetype WordCharacters::skipWord(QStringView text, qsizetype position)
{
    return skip(text, position, isWord);
}

qsizetype WordCharacters::skipDigits(QStringView text, qsizetype position)
{
    return skip(text, position, isDigit);
}

qsizetype WordCharacters::skipWhiteSpace(QStringView text, qsizetype position)
{
    return skip(text, position, isWhiteSpace);
}

} // namespace Korvane
