#pragma once

#include <QStringView>

namespace Korvane {

/// Word characters, digits, white space and word boundaries as Unicode defines them for regular
/// expressions (ICU's `\w`, `\d`, `\s` and `\b`). Positions count UTF-16 units; one that does not
/// lie between two characters is not allowed. Half a surrogate pair is a character of no class.
class WordCharacters final
{
public:
    /// The character at a position or before it: its value and its length in UTF-16 units.
    struct Character
    {
        char32_t value;
        qsizetype length;
    };
    [[nodiscard]] static Character at(QStringView text, qsizetype position);
    [[nodiscard]] static Character before(QStringView text, qsizetype position);

    [[nodiscard]] static bool isWord(char32_t character);
    [[nodiscard]] static bool isDigit(char32_t character);
    [[nodiscard]] static bool isWhiteSpace(char32_t character);
    [[nodiscard]] static constexpr bool isAsciiWord(char32_t character)
    {
        const char32_t letter = character | 0x20;
        return (letter >= U'a' && letter <= U'z') || (character >= U'0' && character <= U'9')
            || character == U'_';
    }

    /// Whether the character before \p position is a word character. Characters that only modify
    /// the one before them (combining and format characters) are passed over.
    [[nodiscard]] static bool isWordBefore(QStringView text, qsizetype position);
    /// Whether \p position, which follows a word character, is a word boundary.
    [[nodiscard]] static bool isWordEnd(QStringView text, qsizetype position);

    /// The first position from \p position on whose character is not of that class.
    [[nodiscard]] static qsizetype skipWord(QStringView text, qsizetype position);
    [[nodiscard]] static qsizetype skipDigits(QStringView text, qsizetype position);
    [[nodiscard]] static qsizetype skipWhiteSpace(QStringView text, qsizetype position);
};

} // namespace Korvane
