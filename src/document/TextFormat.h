#pragma once

#include <QList>
#include <QString>

namespace Korvane {

/// What of a text file the editor does not show: its byte-order mark and how each line ends.
///
/// The editor knows lines that end in "\n" alone. This remembers the rest, also in files that mix
/// line ends, so that opening and saving a file changes nothing that was not edited.
class TextFormat final
{
public:
    /// Takes \p fileText as it stands in the file apart: returns what the editor shows.
    [[nodiscard]] QString detach(const QString &fileText);
    /// Puts \p shown together again as it goes into the file.
    [[nodiscard]] QString attach(const QString &shown) const;
    /// Follows an edit: lines that \p before and \p after share at their start and end keep their
    /// line ends, new ones take the kind that the file uses most. Costs nothing in a file whose
    /// lines all end alike.
    void edited(const QString &before, const QString &after);

    [[nodiscard]] bool hasByteOrderMark() const { return m_hasByteOrderMark; }

private:
    // Beside the usual three, the characters that the editor's text engine takes for line ends.
    enum class LineEnd : quint8 { Lf, CrLf, Cr, ParagraphSeparator, FrameBegin, FrameEnd };

    [[nodiscard]] static QStringView text(LineEnd end);

    bool m_hasByteOrderMark = false;
    /// How lines end in a file where all end alike, and how new lines end elsewhere.
    LineEnd m_usual = LineEnd::Lf;
    /// How each line ends, in a file that mixes; otherwise empty.
    QList<LineEnd> m_mixed;
};

} // namespace Korvane
