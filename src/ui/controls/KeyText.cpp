#include "ui/controls/KeyText.h"

namespace Korvane::KeyText {

namespace {

constexpr QChar commandSign(0x2318);
constexpr QChar optionSign(0x2325);
constexpr QChar shiftSign(0x21e7);

Qt::KeyboardModifiers modifier(QChar sign)
{
    if (sign == commandSign)
        return Qt::ControlModifier;
    if (sign == optionSign)
        return Qt::AltModifier;
    if (sign == shiftSign)
        return Qt::ShiftModifier;
    return Qt::NoModifier;
}

} // namespace

QKeySequence sequence(QStringView signs)
{
    Qt::KeyboardModifiers modifiers;
    qsizetype i = 0;
    for (; i < signs.size() && modifier(signs[i]) != Qt::NoModifier; ++i)
        modifiers |= modifier(signs[i]);
    if (i != signs.size() - 1)
        return {};
    // Qt's key codes of letters, digits and signs are those of their upper-case characters.
    return QKeySequence(
        QKeyCombination(modifiers, static_cast<Qt::Key>(signs[i].toUpper().unicode())));
}

QString rendered(const QString &text)
{
    QString result;
    for (qsizetype i = 0; i < text.size();) {
        qsizetype end = i;
        while (end < text.size() && modifier(text[end]) != Qt::NoModifier)
            ++end;
        if (end == i || end == text.size()) {
            result += text[i++];
            continue;
        }
        const QStringView signs = QStringView(text).sliced(i, end + 1 - i);
        result += sequence(signs).toString(QKeySequence::NativeText);
        i = end + 1;
    }
    return result;
}

QString withoutKey(const QString &help)
{
    const qsizetype key = help.lastIndexOf(QStringLiteral(" ("));
    const bool isAtEnd = key >= 0 && help.indexOf(u')', key) == help.size() - 1;
    return isAtEnd ? help.first(key) : help;
}

} // namespace Korvane::KeyText
