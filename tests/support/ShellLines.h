#pragma once

#include "base/Records.h"

#include <QStringList>

namespace Korvane {

/// The line as tests compare it: "info: Connected to …".
inline QString describe(const REPLLine &line)
{
    static constexpr const char *kinds[] = {"input: ", "output: ", "error: ", "info: "};
    return QString::fromLatin1(kinds[static_cast<int>(line.kind)]) + line.text;
}

inline QStringList describe(const QList<REPLLine> &lines)
{
    QStringList result;
    for (const REPLLine &line : lines)
        result << describe(line);
    return result;
}

} // namespace Korvane
