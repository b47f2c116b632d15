#pragma once

#include <QString>

namespace Korvane {

/// The blanks at the start of the lines of Python source. A step is a tab in a line whose
/// indentation has one, and otherwise a number of blanks. Positions count UTF-16 units; each
/// function takes a time that is linear in the text.
class PythonIndentation final
{
public:
    static constexpr int standardWidth = 4;

    /// \p width is the blanks of one step, at least 1.
    explicit PythonIndentation(int width = standardWidth)
        : m_width(width)
    {
    }

    [[nodiscard]] int width() const { return m_width; }
    /// What a line starts with that is begun at \p position of \p text: as much as the line before,
    /// one step more behind a colon or an opening bracket, one step less behind `return` and the
    /// other statements that end a block. Where brackets were closed, as much as the line that
    /// opened them. Within a string as much as the line before.
    [[nodiscard]] QString ofNewLine(QStringView text, int position) const;
    /// How many characters before \p position are one step of the line's indentation; 0 where other
    /// characters are before it.
    [[nodiscard]] int stepBefore(QStringView text, int position) const;
    [[nodiscard]] QString deeper(QStringView indentation) const;
    [[nodiscard]] QString shallower(QStringView indentation) const;

    /// The blanks and tabs at the start of the line at \p position.
    [[nodiscard]] static QStringView ofLine(QStringView text, int position);
    /// Where the line at \p position starts.
    [[nodiscard]] static int lineStart(QStringView text, int position);

private:
    int m_width;
};

} // namespace Korvane
