#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace Korvane {

/// How the debugger classifies each physical line of a Python file. A fast, approximate scan, not a
/// parser: it recognizes indentation, comments, strings, brackets, backslash joins, and block
/// headers by their first word.
struct PythonSource
{
    enum class Role {
        /// Nothing, white space or a comment.
        Blank,
        /// A simple statement starts here.
        Statement,
        /// The header of a block, or a decorator, starts here.
        CompoundHeader,
        /// The continuation of a statement or header that started above.
        Continuation,
    };

    explicit PythonSource(QString text);

    /// A statement or a header starts on the line \p index (from 0).
    [[nodiscard]] bool isStart(qsizetype index) const
    {
        return roles[index] == Role::Statement || roles[index] == Role::CompoundHeader;
    }

    // One element for each line. A line end at the end of the text is followed by an empty line; a
    // carriage return counts as a line end only in front of a line feed.
    QStringList lines;
    QList<Role> roles;
    /// The number of spaces and tabs at the start of the line; a tab counts as one.
    QList<int> indents;

    // Helpers for single lines. The results are parts of the argument.

    /// Without the spaces and tabs at both ends; other white space is kept.
    [[nodiscard]] static QStringView trimmed(QStringView text);
    /// The letters, digits and underscores that \p text begins with.
    [[nodiscard]] static QStringView leadingIdentifier(QStringView text);
    /// Whether \p text is a name that can be bound: an identifier, and no keyword.
    [[nodiscard]] static bool isName(QStringView text);
    /// Whether a line that begins with \p word is the header of a block.
    [[nodiscard]] static bool isBlockKeyword(QStringView word);
    /// The text before the first "#" outside quotes. Escapes in strings are not recognized.
    [[nodiscard]] static QStringView withoutComment(QStringView line);
    /// The pieces between the commas outside brackets, without those that are empty or blank.
    [[nodiscard]] static QList<QStringView> splitTopLevelCommas(QStringView text);
    /// The index of the first "=" outside quotes and brackets that is no part of a comparison.
    [[nodiscard]] static std::optional<qsizetype> findAssignment(QStringView statement);
};

} // namespace Korvane
