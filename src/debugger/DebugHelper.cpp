#include "debugger/DebugHelper.h"

#include "base/PythonResource.h"

#include <QStringList>

#include <algorithm>

namespace Korvane::DebugHelper {

namespace {

/// As a Python set; "{}" would be a dictionary.
QString setOf(const QSet<int> &lines)
{
    if (lines.isEmpty())
        return QStringLiteral("set()");
    QList<int> sorted = lines.values();
    std::ranges::sort(sorted);
    QStringList numbers;
    for (const int line : std::as_const(sorted))
        numbers << QString::number(line);
    return u'{' + numbers.join(QStringLiteral(", ")) + u'}';
}

} // namespace

QString installCode(const QSet<int> &activeLines)
{
    return pythonResource(QLatin1StringView("debugger/helper.py"))
        + QStringLiteral("\n_dbrk = %1\n_dstep = %2\n")
              .arg(setOf(activeLines))
              .arg(activeLines.isEmpty() ? 1 : 0);
}

} // namespace Korvane::DebugHelper
