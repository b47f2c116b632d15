#include "document/LineCommands.h"

#include "document/WordCharacters.h"

#include <algorithm>

namespace Korvane {

namespace {

QStringView indentationOf(QStringView line)
{
    return PythonIndentation::ofLine(line, 0);
}

bool isEmptyLine(QStringView line)
{
    return indentationOf(line).size() == line.size();
}

QString swapped(QStringView first, QStringView second)
{
    QString both = first.toString();
    both += u'\n';
    both += second;
    return both;
}

/// One change within a line: at `column`, `removed` characters become `inserted`.
struct LineChange
{
    qsizetype column = 0;
    qsizetype removed = 0;
    QString inserted = {};
};

} // namespace

LineCommands::LineCommands(QStringView text, const TextSelection &selection,
                           PythonIndentation indentation)
    : m_text(text)
    , m_selection(selection)
    , m_indentation(indentation)
    , m_start(PythonIndentation::lineStart(text, selection.start()))
    , m_end(lineEnd(selection.end()))
{
    const bool isAtLineStart =
        PythonIndentation::lineStart(text, selection.end()) == selection.end();
    if (!selection.isEmpty() && isAtLineStart)
        m_end = selection.end() - 1;
}

int LineCommands::lineEnd(int position) const
{
    const qsizetype end = m_text.indexOf(u'\n', position);
    return static_cast<int>(end < 0 ? m_text.size() : end);
}

int LineCommands::lineNumber(int position) const
{
    return static_cast<int>(m_text.first(position).count(u'\n')) + 1;
}

/// One edit of all lines. \p change returns the LineChange of one line. The selection keeps its
/// characters.
template <typename Change> std::optional<TextEdit> LineCommands::changeLines(Change change) const
{
    QString changed;
    changed.reserve(m_end - m_start);
    TextSelection selection = m_selection;
    // A caret at the place of an insertion moves after it; the start of a selection does not.
    const auto follow = [&](int &place, int before, qsizetype start, const LineChange &of) {
        const qsizetype at = start + of.column;
        const bool staysAtStart = !m_selection.isEmpty() && before == m_selection.start();
        if (before < at || (before == at && (staysAtStart || of.inserted.isEmpty())))
            return;
        const qsizetype removed = std::min(of.removed, before - at);
        place += static_cast<int>(of.inserted.size() - removed);
    };
    qsizetype start = m_start;
    for (const QStringView line : lines().tokenize(u'\n')) {
        const LineChange of = change(line);
        if (start > m_start)
            changed += u'\n';
        changed += line.first(of.column);
        changed += of.inserted;
        changed += line.sliced(of.column + of.removed);
        follow(selection.anchor, m_selection.anchor, start, of);
        follow(selection.position, m_selection.position, start, of);
        start += line.size() + 1;
    }
    if (changed == lines())
        return std::nullopt;
    return TextEdit{m_start, m_end, changed, selection};
}

std::optional<TextEdit> LineCommands::indent() const
{
    const bool isOne = !lines().contains(u'\n');
    return changeLines([this, isOne](QStringView line) -> LineChange {
        if (isEmptyLine(line) && !isOne)
            return {};
        const QStringView old = indentationOf(line);
        return {old.size(), 0, m_indentation.deeper(old).sliced(old.size())};
    });
}

std::optional<TextEdit> LineCommands::unindent() const
{
    return changeLines([this](QStringView line) -> LineChange {
        const QStringView old = indentationOf(line);
        const qsizetype rest = m_indentation.shallower(old).size();
        return {rest, old.size() - rest};
    });
}

std::optional<TextEdit> LineCommands::toggleComment() const
{
    const auto isComment = [](QStringView line) {
        return line.sliced(indentationOf(line).size()).startsWith(u'#');
    };
    bool isCode = false;
    bool isEmpty = true;
    qsizetype column = m_end - m_start;
    for (const QStringView line : lines().tokenize(u'\n')) {
        if (isEmptyLine(line))
            continue;
        isEmpty = false;
        isCode = isCode || !isComment(line);
        column = std::min(column, indentationOf(line).size());
    }
    if (isEmpty && lines().contains(u'\n'))
        return std::nullopt;
    return changeLines([&](QStringView line) -> LineChange {
        if (isEmpty)
            return {line.size(), 0, QStringLiteral("# ")};
        if (isEmptyLine(line))
            return {};
        if (isCode)
            return {column, 0, QStringLiteral("# ")};
        const qsizetype start = indentationOf(line).size();
        return {start, line.sliced(start).startsWith(u"# ") ? 2 : 1};
    });
}

std::optional<TextEdit> LineCommands::moveUp() const
{
    if (m_start == 0)
        return std::nullopt;
    const int above = PythonIndentation::lineStart(m_text, m_start - 1);
    const QStringView line = m_text.sliced(above, m_start - 1 - above);
    const int by = m_start - above;
    return TextEdit{above,
                    m_end,
                    swapped(lines(), line),
                    {m_selection.anchor - by, m_selection.position - by},
                    TextEdit::Move{lineNumber(m_start), lineNumber(m_end), -1}};
}

std::optional<TextEdit> LineCommands::moveDown() const
{
    if (m_end == m_text.size())
        return std::nullopt;
    const int below = lineEnd(m_end + 1);
    const QStringView line = m_text.sliced(m_end + 1, below - m_end - 1);
    const int by = below - m_end;
    // A selection that includes the line end must not reach beyond the text.
    const auto moved = [&](int place) { return std::min(place + by, below); };
    return TextEdit{m_start,
                    below,
                    swapped(line, lines()),
                    {moved(m_selection.anchor), moved(m_selection.position)},
                    TextEdit::Move{lineNumber(m_start), lineNumber(m_end), 1}};
}

std::optional<TextEdit> LineCommands::duplicate() const
{
    const int by = m_end - m_start + 1;
    const QString copy = u'\n' + lines().toString();
    return TextEdit{m_end, m_end, copy, {m_selection.anchor + by, m_selection.position + by}};
}

std::optional<TextEdit> LineCommands::remove() const
{
    if (m_text.isEmpty())
        return std::nullopt;
    const int column =
        m_selection.position - PythonIndentation::lineStart(m_text, m_selection.position);
    if (m_end == m_text.size()) { // the line end before it is removed, since none follows
        const int from = std::max(m_start - 1, 0);
        const int line = PythonIndentation::lineStart(m_text, from);
        const int caret = m_start == 0 ? 0 : std::min(line + column, from);
        return TextEdit{from, m_end, {}, {caret, caret}};
    }
    const int nextLine = lineEnd(m_end + 1) - m_end - 1;
    const int caret = m_start + std::min(column, nextLine);
    return TextEdit{m_start, m_end + 1, {}, {caret, caret}};
}

std::optional<TextEdit> LineCommands::join() const
{
    int end = m_end;
    if (!lines().contains(u'\n')) {
        if (m_end == m_text.size())
            return std::nullopt;
        end = lineEnd(m_end + 1);
    }
    QString joined;
    qsizetype caret = 0;
    bool isFirst = true;
    for (QStringView line : m_text.sliced(m_start, end - m_start).tokenize(u'\n')) {
        if (isFirst) {
            joined = line.toString();
            isFirst = false;
            continue;
        }
        line = line.sliced(indentationOf(line).size());
        while (joined.endsWith(u' ') || joined.endsWith(u'\t'))
            joined.chop(1);
        caret = joined.size();
        if (!joined.isEmpty() && !line.isEmpty())
            joined += u' ';
        joined += line;
    }
    const int place = m_start + static_cast<int>(caret);
    return TextEdit{m_start, end, joined, {place, place}};
}

std::optional<TextSelection> LineCommands::nextOccurrence() const
{
    if (m_selection.isEmpty()) {
        const qsizetype end = WordCharacters::skipWord(m_text, m_selection.position);
        qsizetype start = m_selection.position;
        while (start > 0) {
            const auto [character, length] = WordCharacters::before(m_text, start);
            if (!WordCharacters::isWord(character))
                break;
            start -= length;
        }
        if (start == end)
            return std::nullopt;
        return TextSelection{static_cast<int>(start), static_cast<int>(end)};
    }
    const int length = m_selection.end() - m_selection.start();
    const QStringView wanted = m_text.sliced(m_selection.start(), length);
    qsizetype found = m_text.indexOf(wanted, m_selection.end());
    if (found < 0)
        found = m_text.indexOf(wanted);
    if (found == m_selection.start())
        return std::nullopt;
    const int place = static_cast<int>(found);
    return TextSelection{place, place + length};
}

} // namespace Korvane
