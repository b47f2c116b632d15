#include "document/RegularExpression.h"

#include <QCoreApplication>
#include <QList>

#include <algorithm>

#include <unicode/uregex.h>

namespace Korvane {

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("Korvane::RegularExpression", text);
}

QString errorText(UErrorCode status)
{
    switch (status) {
    case U_REGEX_MISMATCHED_PAREN:
        return translated("Unmatched parenthesis");
    case U_REGEX_MISSING_CLOSE_BRACKET:
        return translated("“[” without “]”");
    case U_REGEX_BAD_INTERVAL:
    case U_REGEX_MAX_LT_MIN:
    case U_REGEX_NUMBER_TOO_BIG:
        return translated("Invalid number of repetitions");
    case U_REGEX_BAD_ESCAPE_SEQUENCE:
        return translated("Unknown escape sequence");
    case U_REGEX_INVALID_BACK_REF:
    case U_REGEX_INVALID_CAPTURE_GROUP_NAME:
        return translated("Unknown group");
    case U_REGEX_LOOK_BEHIND_LIMIT:
        return translated("Look-behind without a maximum length");
    case U_REGEX_TIME_OUT:
    case U_REGEX_STACK_OVERFLOW:
        return translated("The expression takes too long");
    default:
        return translated("Not a regular expression");
    }
}

Error errorOf(UErrorCode status)
{
    return {ErrorCode::Input, errorText(status)};
}

/// A pattern in ICU's spelling.
struct IcuPattern
{
    QString text;
    /// Positions in `text` before which a "P" of "(?P<" was left out.
    QList<qsizetype> omitted;
};

IcuPattern icuPattern(const QString &pattern)
{
    IcuPattern icu;
    bool isInSet = false;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const QStringView rest = QStringView(pattern).sliced(i);
        if (rest.startsWith(u'\\') && rest.size() > 1) {
            icu.text += rest.first(2);
            ++i;
        } else if (!isInSet && rest.startsWith(u"(?P<")) {
            icu.text += u"(?";
            icu.omitted << icu.text.size();
            i += 2;
        } else {
            isInSet = rest[0] == u'[' || (isInSet && rest[0] != u']');
            icu.text += rest[0];
        }
    }
    return icu;
}

/// ICU refuses a null pointer, also for an empty text.
const UChar *units(QStringView text)
{
    return text.isNull() ? u"" : text.utf16();
}

} // namespace

void RegularExpression::Close::operator()(URegularExpression *expression) const
{
    uregex_close(expression);
}

Result<RegularExpression> RegularExpression::compile(const QString &pattern,
                                                     Qt::CaseSensitivity sensitivity)
{
    RegularExpression made;
    const IcuPattern icu = icuPattern(pattern);
    uint32_t flags = UREGEX_MULTILINE;
    if (sensitivity == Qt::CaseInsensitive)
        flags |= UREGEX_CASE_INSENSITIVE;
    UParseError place{};
    UErrorCode status = U_ZERO_ERROR;
    made.m_expression.reset(uregex_open(units(icu.text), static_cast<int32_t>(icu.text.size()),
                                        flags, &place, &status));
    if (U_FAILURE(status)) {
        Error error = errorOf(status);
        const auto omitted =
            std::count_if(icu.omitted.cbegin(), icu.omitted.cend(),
                          [&place](qsizetype position) { return position < place.offset; });
        if (place.offset > 0)
            error.message =
                QStringLiteral("%1 (%2)").arg(error.message).arg(place.offset + omitted);
        return error;
    }
    return made;
}

void RegularExpression::search(QStringView text, std::chrono::milliseconds limit)
{
    UErrorCode status = U_ZERO_ERROR;
    uregex_setTimeLimit(m_expression.get(), static_cast<int32_t>(limit.count()), &status);
    uregex_setText(m_expression.get(), units(text), static_cast<int32_t>(text.size()), &status);
}

Result<std::optional<RegularExpression::Range>> RegularExpression::next()
{
    UErrorCode status = U_ZERO_ERROR;
    while (uregex_findNext(m_expression.get(), &status)) {
        const std::optional<Range> found = group(0);
        if (found && found->end > found->start)
            return found;
    }
    if (U_FAILURE(status))
        return errorOf(status);
    return std::optional<Range>();
}

std::optional<RegularExpression::Range> RegularExpression::group(int number) const
{
    UErrorCode status = U_ZERO_ERROR;
    const int start = uregex_start(m_expression.get(), number, &status);
    const int end = uregex_end(m_expression.get(), number, &status);
    if (U_FAILURE(status) || start < 0)
        return std::nullopt;
    return Range{start, end};
}

int RegularExpression::groupCount() const
{
    UErrorCode status = U_ZERO_ERROR;
    return uregex_groupCount(m_expression.get(), &status);
}

std::optional<int> RegularExpression::groupNumber(const QString &name) const
{
    UErrorCode status = U_ZERO_ERROR;
    const int number = uregex_groupNumberFromName(m_expression.get(), units(name),
                                                  static_cast<int32_t>(name.size()), &status);
    return U_FAILURE(status) ? std::nullopt : std::optional(number);
}

} // namespace Korvane
