#include "ui/controls/KeyText.h"

namespace Korvane::KeyText {

namespace {

constexpr QChar commandSymbol(0x2318);
constexpr QChar optionSymbol(0x2325);
constexpr QChar shiftSymbol(0x21e7);

Qt::KeyboardModifiers modifier(QChar symbol)
{
    if (symbol == commandSymbol)
        return Qt::ControlModifier;
    if (symbol == optionSymbol)
        return Qt::AltModifier;
    if (symbol == shiftSymbol)
        return Qt::ShiftModifier;
    return Qt::NoModifier;
}

} // namespace

QKeySequence sequence(QStringView symbols)
{
    Qt::KeyboardModifiers modifiers;
    qsizetype i = 0;
    for (; i < symbols.size() && modifier(symbols[i]) != Qt::NoModifier; ++i)
        modifiers |= modifier(symbols[i]);
    if (i != symbols.size() - 1)
        return {};
    // Qt's key codes of letters, digits and symbols are those of their upper-case characters.
    return QKeySequence(
        QKeyCombination(modifiers, static_cast<Qt::Key>(symbols[i].toUpper().unicode())));
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
        const QStringView symbols = QStringView(text).sliced(i, end + 1 - i);
        result += sequence(symbols).toString(QKeySequence::NativeText);
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
