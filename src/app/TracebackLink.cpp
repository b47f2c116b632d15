#include "app/TracebackLink.h"

#include <algorithm>

namespace Korvane {

std::optional<TracebackLink> TracebackLink::find(QStringView text)
{
    constexpr QStringView opening = u"File \"";
    constexpr QStringView middle = u"\", line ";
    const auto isInFront = [](QChar c) { return c == u' ' || c == u'\t' || c == u'|'; };
    const qsizetype start = std::find_if_not(text.cbegin(), text.cend(), isInFront) - text.cbegin();
    if (!text.sliced(start).startsWith(opening))
        return std::nullopt;
    const qsizetype nameStart = start + opening.size();
    // A name may contain quotes.
    const qsizetype nameEnd = text.lastIndexOf(middle);
    if (nameEnd <= nameStart)
        return std::nullopt;
    const qsizetype numberStart = nameEnd + middle.size();
    const auto isDigit = [](QChar c) { return c >= u'0' && c <= u'9'; };
    const qsizetype numberEnd =
        std::find_if_not(text.cbegin() + numberStart, text.cend(), isDigit) - text.cbegin();
    const int line = text.sliced(numberStart, numberEnd - numberStart).toInt();
    if (line < 1
        || (numberEnd < text.size() && text[numberEnd] != u',' && text[numberEnd] != u'\r'))
        return std::nullopt;
    return TracebackLink{nameStart, numberEnd - nameStart,
                         text.sliced(nameStart, nameEnd - nameStart).toString(), line};
}

} // namespace Korvane
