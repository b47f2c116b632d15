#pragma once

#include <QString>

#include <vector>

namespace Korvane {

/// What the find bar looks for.
struct TextSearch
{
    QString query;
    bool matchesCase = false;
    bool findsWholeWords = false;

    /// Where \p text has it, in ascending order, none over another. Nothing for an empty query.
    [[nodiscard]] std::vector<int> positions(const QString &text) const;

    bool operator==(const TextSearch &) const = default;
};

} // namespace Korvane
