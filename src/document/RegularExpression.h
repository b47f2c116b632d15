#pragma once

#include "base/Result.h"

#include <QString>

#include <chrono>
#include <memory>
#include <optional>

struct URegularExpression;

namespace Korvane {

/// A regular expression in ICU's syntax. "^" and "$" match at the start and end of each line, and a
/// named group may also be written as in Python, "(?P<name>…)". ICU is used because its searches,
/// unlike those of QRegularExpression, have a time limit.
class RegularExpression final
{
public:
    /// Characters of the text from `start` to before `end`.
    struct Range
    {
        int start;
        int end;
    };

    /// Fails with a message that says what is wrong with \p pattern, and where.
    [[nodiscard]] static Result<RegularExpression> compile(const QString &pattern,
                                                           Qt::CaseSensitivity sensitivity);

    /// Searches \p text, which must outlive the search, from its start. All calls of next() for it
    /// together take about \p limit at most.
    void search(QStringView text, std::chrono::milliseconds limit);
    /// The next match that has characters; nothing after the last. Fails when the time is over or
    /// the expression needs too much memory.
    [[nodiscard]] Result<std::optional<Range>> next();
    /// The part of the last match that the group matched; nothing when it did not participate.
    [[nodiscard]] std::optional<Range> group(int number) const;

    [[nodiscard]] int groupCount() const;
    /// Nothing when there is no group of that name.
    [[nodiscard]] std::optional<int> groupNumber(const QString &name) const;

private:
    struct Close
    {
        void operator()(URegularExpression *expression) const;
    };

    std::unique_ptr<URegularExpression, Close> m_expression;
};

} // namespace Korvane
