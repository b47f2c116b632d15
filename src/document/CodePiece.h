#pragma once

#include <QString>

namespace Korvane {

/// A part of a program that is run separately. Lines are counted from 1.
struct CodePiece
{
    /// Whole lines, without the indentation that all of them have; empty when there is nothing to
    /// run.
    QString code;
    int firstLine = 1;
    /// The line after the piece, where the next one starts. At the end of the text, one more than
    /// the number of lines.
    int nextLine = 1;

    /// The lines of the selection from \p start to \p end, two offsets into \p text with \p start
    /// not after \p end. Without a selection: in a text with lines that begin with "# %%" or "#%%",
    /// the cell around \p start; otherwise the line at \p start with the lines of its block, which
    /// are indented further.
    [[nodiscard]] static CodePiece at(const QString &text, qsizetype start, qsizetype end);
    /// The lines from \p first to \p last of \p lines, both counted from 0.
    [[nodiscard]] static CodePiece ofLines(const QStringList &lines, qsizetype first,
                                           qsizetype last);

    /// Whether \p code begins with a compound statement or a decorator.
    [[nodiscard]] static bool startsBlock(const QString &code);

    friend bool operator==(const CodePiece &, const CodePiece &) = default;
};

} // namespace Korvane
