#pragma once

#include "base/Result.h"
#include "document/LineCommands.h"

#include <QString>

#include <chrono>
#include <vector>

namespace Korvane {

/// A search in a text, and the replacement of its matches. Linear in the text; a regular expression
/// that would take longer ends in an error.
struct TextSearch
{
    /// How long a regular expression may search one text.
    static constexpr std::chrono::milliseconds longestSearch{1'000};

    /// Characters of a text. The matches of one list do not overlap.
    struct Match
    {
        int position;
        int length;

        friend bool operator==(const Match &, const Match &) = default;
    };

    QString query;
    bool matchesCase = false;
    bool findsWholeWords = false;
    bool isRegularExpression = false;

    /// The matches in \p text, in ascending order. Empty for an empty query; a match of no
    /// characters is left out. Fails with a message for a wrong or too slow regular expression.
    [[nodiscard]] Result<std::vector<Match>> find(const QString &text) const;

    /// One edit that replaces the matches from \p start to before \p end, with the caret after the
    /// last of them. With a regular expression, \p replacement may name what its groups matched:
    /// \1 or $1, \g<1> and \g<name>; \0 is the whole match, \n a line end and \t a tab. Fails as
    /// `find`, and for a group that does not exist; nothing when no match lies between.
    [[nodiscard]] Result<std::optional<TextEdit>> replace(const QString &text, int start, int end,
                                                          const QString &replacement) const;

    bool operator==(const TextSearch &) const = default;
};

} // namespace Korvane
