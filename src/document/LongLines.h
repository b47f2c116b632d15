#pragma once

#include "document/LineMarks.h"

#include <QList>
#include <QString>

#include <optional>

namespace Korvane {

/// The lines of a document that are shown in pieces.
///
/// QTextLayout lays out a line as a whole, and needs more than half a second for a line of 4 MB. So
/// a longer line of a file is broken when its text is set or inserted, and joined again when the
/// text is read or copied: only the editor and its QTextDocument contain the pieces, each as a line
/// of its own. Lines that are shown and lines of the file are counted from 1.
class LongLines final
{
public:
    /// A longer line is broken into pieces of this length.
    static constexpr qsizetype maxLength = 10'000;
    /// The line end between two pieces of a line. Never in a text: QTextDocument uses this
    /// noncharacter as the border of a frame.
    static constexpr QChar pieceEnd{0xFDD0};

    /// Where a text is inserted: the shown line, and how many characters of that line are before
    /// and after the place.
    struct Place
    {
        int line = 1;
        qsizetype before = 0;
        qsizetype after = 0;
    };

    /// Returns \p text with line ends where its lines must be broken. The next call of `follow`
    /// must be for the edit that inserts the result at \p place.
    [[nodiscard]] QString breakUp(const QString &text, const Place &place);
    /// As above, for a text that replaces the whole document.
    [[nodiscard]] QString breakUpAll(const QString &text);
    /// Must be called when no such edit follows, because the document had that text already.
    void forgetInsertion() { m_inserted.reset(); }

    /// Follows an edit of the shown text. Returns the same edit in lines of the file.
    [[nodiscard]] LineEdit follow(const LineEdit &edit, int undoSteps, bool isHistory);

    /// The shown lines that continue the line above them, ascending.
    [[nodiscard]] const QList<int> &continued() const { return m_continued; }
    [[nodiscard]] bool isContinued(int shownLine) const;
    [[nodiscard]] int fileLine(int shownLine) const;
    /// The shown line of the first piece of \p fileLine.
    [[nodiscard]] int shownLine(int fileLine) const;

private:
    LineMarks m_marks{LineMarks::Belongs::ToLineEnd}; // of the lines that are continued
    QList<int> m_continued;                           // the same, sorted
    std::optional<LineMarks::Inserted> m_inserted;
};

} // namespace Korvane
