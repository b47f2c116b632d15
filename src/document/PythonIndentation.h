#pragma once

#include <QString>

namespace Korvane {

/// The indentation of the lines of Python source. A step is a tab in a line whose indentation ends
/// with one, and otherwise a number of spaces. Positions count UTF-16 units. The time of each
/// function is linear in the length of the text.
class PythonIndentation final
{
public:
    static constexpr int standardWidth = 4;

    /// \p width is the number of spaces of one step, at least 1.
    explicit PythonIndentation(int width = standardWidth)
        : m_width(width)
    {
    }

    [[nodiscard]] int width() const { return m_width; }
    /// The indentation of a new line that begins at \p position of \p text: that of the line
    /// before, one step more after a colon or an opening bracket, one step less after `return` and
    /// the other statements that end a block. Where brackets were closed, that of the line with the
    /// opening ones. In a string, that of the line before.
    [[nodiscard]] QString ofNewLine(QStringView text, int position) const;
    /// How many characters before \p position are one step of the line's indentation; 0 where other
    /// characters are before it.
    [[nodiscard]] int stepBefore(QStringView text, int position) const;
    /// \p indentation with one step more.
    [[nodiscard]] QString deeper(QStringView indentation) const;
    /// \p indentation with one step less, or with the spaces beyond a whole step removed.
    [[nodiscard]] QString shallower(QStringView indentation) const;

    /// The spaces and tabs at the start of the line at \p position.
    [[nodiscard]] static QStringView ofLine(QStringView text, int position);
    /// Where the line at \p position starts.
    [[nodiscard]] static int lineStart(QStringView text, int position);

private:
    int m_width;
};

} // namespace Korvane
