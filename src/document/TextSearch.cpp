#include "document/TextSearch.h"

#include "document/RegularExpression.h"
#include "document/WordCharacters.h"

#include <QCoreApplication>
#include <QStringMatcher>

#include <utility>

namespace Korvane {

namespace {

/// Whether \p position is inside a word.
bool isWithinWord(QStringView text, qsizetype position)
{
    return position > 0 && position < text.size()
        && WordCharacters::isWord(WordCharacters::at(text, position).value)
        && WordCharacters::isWordBefore(text, position);
}

bool isWholeWord(QStringView text, qsizetype start, qsizetype end)
{
    return !isWithinWord(text, start) && !isWithinWord(text, end);
}

/// Iterates over the matches of a search in one text.
class Matches final
{
public:
    Matches(const TextSearch &search, const QString &text)
        : m_search(search)
        , m_text(text)
        , m_matcher(search.query, sensitivity())
    {
    }

    [[nodiscard]] Qt::CaseSensitivity sensitivity() const
    {
        return m_search.matchesCase ? Qt::CaseSensitive : Qt::CaseInsensitive;
    }

    /// Must be called before next(). Fails for an invalid regular expression.
    [[nodiscard]] Result<void> begin()
    {
        if (!m_search.isRegularExpression || m_search.query.isEmpty())
            return {};
        auto expression = RegularExpression::compile(m_search.query, sensitivity());
        if (!expression)
            return expression.error();
        m_expression = std::move(*expression);
        m_expression->search(m_text, TextSearch::longestSearch);
        return {};
    }

    [[nodiscard]] Result<std::optional<TextSearch::Match>> next()
    {
        if (m_search.query.isEmpty())
            return std::optional<TextSearch::Match>();
        while (true) {
            int start = 0;
            int end = 0;
            if (m_expression) {
                const auto found = m_expression->next();
                if (!found)
                    return found.error();
                if (!*found)
                    return std::optional<TextSearch::Match>();
                start = (*found)->start;
                end = (*found)->end;
            } else {
                const qsizetype found = m_matcher.indexIn(m_text, m_position);
                if (found < 0)
                    return std::optional<TextSearch::Match>();
                start = static_cast<int>(found);
                end = start + static_cast<int>(m_search.query.size());
            }
            if (m_search.findsWholeWords && !isWholeWord(m_text, start, end)) {
                m_position = start + 1;
                continue;
            }
            m_position = end;
            return std::optional(TextSearch::Match{start, end - start});
        }
    }

    /// Null when the search is for plain text.
    [[nodiscard]] const RegularExpression *expression() const
    {
        return m_expression ? &*m_expression : nullptr;
    }

private:
    const TextSearch &m_search;
    const QString &m_text;
    QStringMatcher m_matcher;
    std::optional<RegularExpression> m_expression;
    qsizetype m_position = 0;
};

/// The text that replaces a match: pieces of text, each with the group that follows it, or -1.
class Template final
{
public:
    [[nodiscard]] static Result<Template> parse(const QString &text,
                                                const RegularExpression *expression);
    void appendTo(QString &result, QStringView text, const RegularExpression *expression) const
    {
        for (const auto &[literal, group] : m_pieces) {
            result += literal;
            if (group < 0)
                continue;
            if (const auto range = expression->group(group))
                result += text.sliced(range->start, range->end - range->start);
        }
    }

private:
    std::vector<std::pair<QString, int>> m_pieces;
};

Result<Template> Template::parse(const QString &text, const RegularExpression *expression)
{
    Template made;
    QString literal;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == u'\\';
        const QChar next = i + 1 < text.size() ? text[i + 1] : QChar();
        if (!expression || (!isEscape && text[i] != u'$') || next.isNull()) {
            literal += text[i];
            continue;
        }
        QString name;
        if (next >= u'0' && next <= u'9') {
            name = next;
            ++i;
        } else if (const qsizetype end = text.indexOf(u'>', i);
                   isEscape && end > 0 && QStringView(text).sliced(i).startsWith(u"\\g<")) {
            name = text.sliced(i + 3, end - i - 3);
            i = end;
        } else {
            if (!isEscape) {
                literal += text[i];
                continue;
            }
            literal += next == u'n' ? QChar(u'\n') : next == u't' ? QChar(u'\t') : next;
            ++i;
            continue;
        }
        bool isNumber = false;
        const int number = name.toInt(&isNumber);
        const std::optional<int> group =
            isNumber ? std::optional(number) : expression->groupNumber(name);
        if (!group || *group < 0 || *group > expression->groupCount())
            return Error{ErrorCode::Input,
                         QCoreApplication::translate("Korvane::TextSearch", "There is no group %1")
                             .arg(name)};
        made.m_pieces.emplace_back(std::exchange(literal, {}), *group);
    }
    made.m_pieces.emplace_back(literal, -1);
    return made;
}

} // namespace

Result<std::vector<TextSearch::Match>> TextSearch::find(const QString &text) const
{
    Matches matches(*this, text);
    if (const auto begun = matches.begin(); !begun)
        return begun.error();
    std::vector<Match> found;
    while (true) {
        const auto match = matches.next();
        if (!match)
            return match.error();
        if (!*match)
            return found;
        found.push_back(**match);
    }
}

Result<std::optional<TextEdit>> TextSearch::replace(const QString &text, int start, int end,
                                                    const QString &replacement) const
{
    Matches matches(*this, text);
    if (const auto begun = matches.begin(); !begun)
        return begun.error();
    const auto parsed = Template::parse(replacement, matches.expression());
    if (!parsed)
        return parsed.error();
    std::optional<TextEdit> edit;
    while (true) {
        const auto match = matches.next();
        if (!match)
            return match.error();
        if (!*match || (*match)->position + (*match)->length > end)
            break;
        const auto [position, length] = **match;
        if (position < start)
            continue;
        if (!edit)
            edit = TextEdit{position, position, {}, {}};
        edit->replacement += QStringView(text).sliced(edit->end, position - edit->end);
        parsed->appendTo(edit->replacement, text, matches.expression());
        edit->end = position + length;
    }
    if (edit) {
        const int caret = edit->start + static_cast<int>(edit->replacement.size());
        edit->selection = {caret, caret};
    }
    return edit;
}

} // namespace Korvane
