#pragma once

#include "document/PythonIndentation.h"

#include <QString>

#include <optional>

namespace Korvane {

/// A selection in a text, between two offsets in UTF-16 units; empty when they are equal.
struct TextSelection
{
    int anchor = 0;
    int position = 0; // of the caret

    [[nodiscard]] int start() const { return anchor < position ? anchor : position; }
    [[nodiscard]] int end() const { return anchor < position ? position : anchor; }
    [[nodiscard]] bool isEmpty() const { return anchor == position; }

    friend bool operator==(const TextSelection &, const TextSelection &) = default;
};

/// One edit of a text: `replacement` replaces the characters from `start` to before `end`, and
/// `selection` is the selection after it.
struct TextEdit
{
    int start;
    int end;
    QString replacement;
    TextSelection selection;
    /// Lines that are moved together with their marks: those from `firstLine` to `lastLine` (from
    /// 1) move by `movedBy` lines, and the line beyond takes their old place.
    struct Move
    {
        int firstLine;
        int lastLine;
        int movedBy; // 1 or -1
    };
    std::optional<Move> move = {};
};

/// Commands on whole lines: all that have a part of the selection, or the line of the caret. A
/// selection that ends at the start of a line does not include that line. Each returns nothing when
/// the text would not change.
class LineCommands final
{
public:
    /// \p text, which must outlive this, has "\n" line ends.
    LineCommands(QStringView text, const TextSelection &selection,
                 PythonIndentation indentation = PythonIndentation());

    [[nodiscard]] std::optional<TextEdit> indent() const;
    [[nodiscard]] std::optional<TextEdit> unindent() const;
    /// Makes the lines comments, or makes them code when all of them that are not empty are
    /// comments.
    [[nodiscard]] std::optional<TextEdit> toggleComment() const;
    [[nodiscard]] std::optional<TextEdit> moveUp() const;
    [[nodiscard]] std::optional<TextEdit> moveDown() const;
    /// Inserts a copy below the lines and moves the selection to it.
    [[nodiscard]] std::optional<TextEdit> duplicate() const;
    [[nodiscard]] std::optional<TextEdit> remove() const;
    /// Joins the lines, or the line and the next one, with one space in place of line end and
    /// indentation.
    [[nodiscard]] std::optional<TextEdit> join() const;
    /// Without a selection, the word at the caret. Otherwise the next occurrence of the selected
    /// text; after the last one, the first in the text.
    [[nodiscard]] std::optional<TextSelection> nextOccurrence() const;

private:
    template <typename Change>
    [[nodiscard]] std::optional<TextEdit> changeLines(Change change) const;
    [[nodiscard]] QStringView lines() const { return m_text.sliced(m_start, m_end - m_start); }
    [[nodiscard]] int lineEnd(int position) const;
    [[nodiscard]] int lineNumber(int position) const;

    QStringView m_text;
    TextSelection m_selection;
    PythonIndentation m_indentation;
    int m_start; // of the first line
    int m_end;   // of the last line, without its line end
};

} // namespace Korvane
