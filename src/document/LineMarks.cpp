#include "document/LineMarks.h"

#include <optional>
#include <utility>

namespace Korvane {

namespace {

/// Where \p line (from 0) is after \p edit; nothing when it was removed.
std::optional<int> moved(int line, const LineEdit &edit)
{
    const int last = edit.firstLine + edit.removedLines;
    const bool isReplacedInPlace = edit.removedLines > 0 && edit.removedLines == edit.addedLines;
    if (line < edit.firstLine || isReplacedInPlace)
        return line;
    if (line > last)
        return line - edit.removedLines + edit.addedLines;
    if (edit.removedLines == 0) {
        // Lines that are inserted before the first character of a line move it down.
        const bool isPushed = edit.startsLine && !edit.removesCharacters && !edit.endsLine;
        return isPushed ? line + edit.addedLines : line;
    }
    if (line == edit.firstLine && !edit.startsLine)
        return line;
    if (line == last && !edit.endsLine)
        return edit.firstLine + edit.addedLines;
    return std::nullopt;
}

/// The same for the line end above \p line.
std::optional<int> movedWithLineEnd(int line, const LineEdit &edit)
{
    // An edit of several places is reported with the text between them.
    if (line <= edit.firstLine || edit.removedLines == edit.addedLines)
        return line;
    if (line > edit.firstLine + edit.removedLines)
        return line - edit.removedLines + edit.addedLines;
    return std::nullopt;
}

} // namespace

void LineMarks::toggle(int line)
{
    if (!m_lines.remove(line))
        m_lines.insert(line);
    m_history.clear();
}

void LineMarks::clear()
{
    m_lines.clear();
    m_history.clear();
}

void LineMarks::moveLines(int first, int last, int by)
{
    const int beyond = by < 0 ? first - 1 : last + 1;
    const int free = by < 0 ? last : first;
    QSet<int> after;
    for (const int line : std::as_const(m_lines))
        after.insert(line == beyond ? free : line >= first && line <= last ? line + by : line);
    m_lines = after;
}

bool LineMarks::follow(const LineEdit &edit, int undoSteps, bool isHistory,
                       const Inserted *inserted)
{
    const int before = std::exchange(m_undoSteps, undoSteps);
    if (m_lines.isEmpty() && m_history.empty() && (!inserted || inserted->lines.isEmpty()))
        return false;
    m_history[before] = m_lines;
    if (!isHistory)
        m_history.erase(m_history.upper_bound(undoSteps), m_history.end());
    const auto known = m_history.find(undoSteps);
    const QSet<int> after =
        isHistory && known != m_history.end() ? known->second : marksAfter(edit, inserted);
    return std::exchange(m_lines, after) != after;
}

QSet<int> LineMarks::marksAfter(const LineEdit &edit, const Inserted *inserted) const
{
    if (inserted && inserted->isWholeText)
        return inserted->lines;
    QSet<int> after;
    for (const int line : std::as_const(m_lines)) {
        const auto place =
            m_belongs == Belongs::ToText ? moved(line - 1, edit) : movedWithLineEnd(line - 1, edit);
        const int marked = place.value_or(-1) + 1;
        if (place && (!inserted || marked < inserted->firstLine || marked > inserted->lastLine))
            after.insert(marked);
    }
    return inserted ? after + inserted->lines : after;
}

} // namespace Korvane
