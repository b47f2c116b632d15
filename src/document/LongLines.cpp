#include "document/LongLines.h"

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

/// How many of the lines from \p first to \p last are in \p sorted.
int countBetween(const QList<int> &sorted, int first, int last)
{
    const auto begin = std::lower_bound(sorted.cbegin(), sorted.cend(), first);
    return static_cast<int>(std::upper_bound(begin, sorted.cend(), last) - begin);
}

} // namespace

QString LongLines::breakUp(const QString &text, const Place &place)
{
    LineMarks::Inserted inserted;
    inserted.firstLine = place.line + 1;
    int line = place.line;
    QString broken;
    qsizetype taken = 0; // of the text
    qsizetype start = 0; // of the piece
    qsizetype before = place.before;
    const auto breakAt = [&](qsizetype position) {
        if (broken.isEmpty())
            broken.reserve(text.size() + text.size() / maxLength + 2);
        broken += QStringView(text).sliced(taken, position - taken);
        broken += u'\n';
        taken = start = position;
        before = 0;
        inserted.lines.insert(++line);
    };
    while (true) {
        const qsizetype next = text.indexOf(u'\n', start);
        const qsizetype end = next < 0 ? text.size() : next;
        while (before + end - start > maxLength) {
            qsizetype position = start + std::max(maxLength - before, qsizetype{0});
            if (position > start && text[position - 1].isHighSurrogate())
                --position;
            breakAt(position);
        }
        if (next < 0)
            break;
        start = next + 1;
        before = 0;
        ++line;
    }
    // Otherwise repeated pasting at the same position would make a piece of any length.
    if (before + text.size() - start + place.after > 2 * maxLength)
        breakAt(text.size());
    inserted.lastLine = line;
    m_inserted = inserted;
    if (broken.isEmpty())
        return text;
    broken += QStringView(text).sliced(taken);
    return broken;
}

QString LongLines::breakUpAll(const QString &text)
{
    QString broken = breakUp(text, {});
    m_inserted->isWholeText = true;
    return broken;
}

LineEdit LongLines::follow(const LineEdit &edit, int undoSteps, bool isHistory)
{
    const auto inserted = std::exchange(m_inserted, std::nullopt);
    const QList<int> before = m_continued;
    if (m_marks.follow(edit, undoSteps, isHistory, inserted ? &*inserted : nullptr)) {
        m_continued = m_marks.lines().values();
        std::sort(m_continued.begin(), m_continued.end());
    }
    if (before.isEmpty() && m_continued.isEmpty())
        return edit;

    // What was inserted may begin or end with line ends that the edit does not report, since the
    // text that it replaced had them, too, but between pieces.
    const auto [a, b] =
        std::mismatch(before.cbegin(), before.cend(), m_continued.cbegin(), m_continued.cend());
    int first = edit.firstLine + 1;
    for (const int changed :
         {a == before.cend() ? first : *a - 1, b == m_continued.cend() ? first : *b - 1})
        first = std::min(first, changed);
    const int last = edit.firstLine + 1 + edit.removedLines;
    LineEdit inFile = edit;
    inFile.firstLine = first - countBetween(before, 1, first) - 1;
    inFile.removedLines = last - first - countBetween(before, first + 1, last);
    const int added =
        edit.addedLines - edit.removedLines - static_cast<int>(m_continued.size() - before.size());
    inFile.removedLines = std::max(inFile.removedLines, -added);
    inFile.addedLines = inFile.removedLines + added;
    inFile.startsLine = edit.startsLine && first == edit.firstLine + 1 && !before.contains(first);
    inFile.endsLine = edit.endsLine && !isContinued(edit.firstLine + edit.addedLines + 2);
    return inFile;
}

bool LongLines::isContinued(int shownLine) const
{
    return std::binary_search(m_continued.cbegin(), m_continued.cend(), shownLine);
}

int LongLines::fileLine(int shownLine) const
{
    return shownLine - countBetween(m_continued, 1, shownLine);
}

int LongLines::shownLine(int fileLine) const
{
    int line = fileLine;
    for (const int continued : m_continued) {
        if (continued > line)
            break;
        ++line;
    }
    return line;
}

} // namespace Korvane
