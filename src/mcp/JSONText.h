#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace Korvane {

// What all that reads or writes JSON needs to know of its text.

[[nodiscard]] inline bool isJSONSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

[[nodiscard]] QByteArrayView withoutLeadingSpace(QByteArrayView json);

/// What stands between the first and the last byte, the brackets or quotation marks.
[[nodiscard]] QByteArrayView innerText(QByteArrayView json);

/// Appends \p text to \p json as a string in UTF-8; only what has to be is escaped.
void appendJSONString(QByteArray &json, const QString &text);

} // namespace Korvane
