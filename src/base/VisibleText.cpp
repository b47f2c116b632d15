#include "base/VisibleText.h"

namespace Korvane::VisibleText {

namespace {

enum class LineEnds { Kept, Shown };

constexpr char32_t firstControlPicture = 0x2400;
constexpr char32_t deletePicture = 0x2421;
constexpr char32_t zeroWidthNonJoiner = 0x200c;
constexpr char32_t zeroWidthJoiner = 0x200d;

bool isHidden(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Surrogate: // a lone one
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    case QChar::Other_Format:
        return character != zeroWidthNonJoiner && character != zeroWidthJoiner;
    default:
        return false;
    }
}

QString visibleForm(char32_t character)
{
    if (character < 0x20)
        return QString(QChar(static_cast<char16_t>(firstControlPicture + character)));
    if (character == 0x7f)
        return QString(QChar(static_cast<char16_t>(deletePicture)));
    return QStringLiteral("⟨U+%1⟩").arg(QString::number(character, 16).toUpper(), 4, u'0');
}

QString shown(const QString &text, LineEnds lineEnds)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t character = text[i].unicode();
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            character = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        const bool isKept =
            lineEnds == LineEnds::Kept && (character == U'\n' || character == U'\t');
        if (isHidden(character) && !isKept)
            result += visibleForm(character);
        else
            result += QChar::fromUcs4(character);
    }
    return result;
}

} // namespace

QString line(const QString &text)
{
    return shown(text, LineEnds::Shown);
}

QString paragraphs(const QString &text)
{
    return shown(text, LineEnds::Kept);
}

} // namespace Korvane::VisibleText
