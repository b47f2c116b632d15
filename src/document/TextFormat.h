#pragma once

#include <QList>
#include <QString>

namespace Korvane {

/// The parts of a text file that the editor does not show: its byte-order mark and its line ends.
///
/// The editor's text has "\n" line ends only. The original ones are kept for each line where a file
/// mixes them, so that opening and saving a file changes nothing that was not edited.
class TextFormat final
{
public:
    /// Strips the byte-order mark from \p fileText, converts its line ends to "\n" and returns the
    /// result. Remembers both.
    [[nodiscard]] QString detach(const QString &fileText);
    /// Returns \p shown with the byte-order mark and the line ends of the file.
    [[nodiscard]] QString attach(const QString &shown) const;
    /// Follows an edit that replaced \p removedLines line ends from line \p firstLine (from 0) on
    /// by \p addedLines new ones. New lines end as most lines of the file do.
    void edited(int firstLine, int removedLines, int addedLines);

    friend bool operator==(const TextFormat &, const TextFormat &) = default;

private:
    // QTextDocument treats the last three as line ends, too.
    enum class LineEnd : quint8 { Lf, CrLf, Cr, ParagraphSeparator, FrameBegin, FrameEnd };

    [[nodiscard]] static QStringView text(LineEnd end);

    bool m_hasByteOrderMark = false;
    /// The line end of all lines or, in a file that mixes them, of new lines.
    LineEnd m_usual = LineEnd::Lf;
    /// The line end of each line in a file that mixes them; otherwise empty.
    QList<LineEnd> m_mixed;
};

} // namespace Korvane
