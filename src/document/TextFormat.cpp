#include "document/TextFormat.h"

#include <algorithm>
#include <array>

namespace Korvane {

QStringView TextFormat::text(LineEnd end)
{
    switch (end) {
    case LineEnd::Lf:
        return u"\n";
    case LineEnd::CrLf:
        return u"\r\n";
    case LineEnd::Cr:
        return u"\r";
    case LineEnd::ParagraphSeparator:
        return u"\u2029";
    case LineEnd::FrameBegin:
        return u"\xFDD0";
    case LineEnd::FrameEnd:
        return u"\xFDD1";
    }
    Q_UNREACHABLE();
}

QString TextFormat::detach(const QString &fileText)
{
    *this = {};
    QStringView rest = fileText;
    if (rest.startsWith(QChar(QChar::ByteOrderMark))) {
        m_hasByteOrderMark = true;
        rest = rest.sliced(1);
    }

    QString shown;
    shown.reserve(rest.size());
    QList<LineEnd> ends;
    std::array<qsizetype, 6> counts{};
    const auto endLine = [&](LineEnd end) {
        shown += u'\n';
        ends += end;
        ++counts[static_cast<std::size_t>(end)];
    };
    for (qsizetype i = 0; i < rest.size(); ++i) {
        const char16_t unit = rest[i].unicode();
        if (unit == u'\n') {
            endLine(LineEnd::Lf);
        } else if (unit == u'\r') {
            const bool isPair = i + 1 < rest.size() && rest[i + 1] == u'\n';
            endLine(isPair ? LineEnd::CrLf : LineEnd::Cr);
            i += isPair ? 1 : 0;
        } else if (unit == 0x2029) {
            endLine(LineEnd::ParagraphSeparator);
        } else if (unit == 0xFDD0) {
            endLine(LineEnd::FrameBegin);
        } else if (unit == 0xFDD1) {
            endLine(LineEnd::FrameEnd);
        } else {
            shown += rest[i];
        }
    }

    const auto most = std::max_element(counts.begin(), counts.end());
    m_usual = static_cast<LineEnd>(most - counts.begin());
    if (*most != ends.size())
        m_mixed = std::move(ends);
    return shown;
}

QString TextFormat::attach(const QString &shown) const
{
    QString fileText;
    fileText.reserve(shown.size() + 1);
    if (m_hasByteOrderMark)
        fileText += QChar(QChar::ByteOrderMark);
    if (m_mixed.isEmpty() && m_usual == LineEnd::Lf)
        return fileText + shown;

    qsizetype line = 0;
    for (const QChar c : shown) {
        if (c != u'\n') {
            fileText += c;
            continue;
        }
        const LineEnd end = line < m_mixed.size() ? m_mixed[line] : m_usual;
        // An edit may have placed a lone "\r" before a lone "\n", which would be read as one line
        // end. The first becomes "\r\n".
        if (end == LineEnd::Lf && fileText.endsWith(u'\r'))
            fileText += u'\n';
        fileText += text(end);
        ++line;
    }
    return fileText;
}

void TextFormat::edited(int firstLine, int removedLines, int addedLines)
{
    if (m_mixed.isEmpty())
        return;
    m_mixed.remove(firstLine, removedLines);
    m_mixed.insert(firstLine, addedLines, m_usual);
}

} // namespace Korvane
