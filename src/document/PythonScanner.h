#pragma once

#include <QStringView>

#include <array>
#include <optional>
#include <vector>

namespace Korvane {

/// A part of Python source: characters from `start` to before `end`.
struct PythonPiece
{
    enum class Kind {
        Word,
        Other, // any other single character
        Opening,
        Closing,
        String,
        Comment,
        LineEnd,
        Continuation, // a backslash and the line end after it
    };

    Kind kind;
    int start;
    int end;
    /// A string without its closing quotes. It ends with its line, or with the text.
    bool isUnclosed = false;
};

/// Splits Python source into pieces, leaving out spaces, tabs and form feeds. Unlike
/// `PythonColoring`, whose passes are independent, it distinguishes a bracket in the code from one
/// in a string or a comment. The time is linear in the length of the text.
class PythonScanner final
{
public:
    /// \p text must outlive this.
    explicit PythonScanner(QStringView text)
        : m_text(text)
    {
    }

    /// The next piece; nothing at the end of the text.
    [[nodiscard]] std::optional<PythonPiece> next();

private:
    [[nodiscard]] PythonPiece scanString();

    QStringView m_text;
    qsizetype m_position = 0;
};

/// The brackets that are open at a place of the source. One that is still open when the one around
/// it is closed has no matching bracket, and a closing one without an opening one is ignored.
class OpenBrackets final
{
public:
    /// Call it for each opening and closing bracket of the code, in their order. Returns the
    /// position of the opening one that \p piece closes.
    std::optional<int> add(QStringView text, const PythonPiece &piece);
    /// The positions of those that are open, the innermost last.
    [[nodiscard]] const std::vector<int> &positions() const { return m_positions; }

private:
    std::vector<int> m_positions;
    std::array<int, 3> m_counts{}; // of each kind
};

/// A bracket of the code and the other one of its pair.
struct BracketPair
{
    int position;
    std::optional<int> match;
};

/// The bracket directly before \p caret or else directly after it, and the position of the other
/// one of its pair. Nothing when there is no bracket in the code. The time is linear in the text,
/// and constant where no bracket is beside the caret.
[[nodiscard]] std::optional<BracketPair> bracketAt(QStringView text, int caret);

} // namespace Korvane
