#include "debugger/DebugHelper.h"

#include <QFile>
#include <QStringList>

#include <algorithm>

static void initializeResources()
{
    Q_INIT_RESOURCE(debug_helper);
}

namespace Korvane::DebugHelper {

namespace {

QString helper()
{
    [[maybe_unused]] static const bool initialized = (initializeResources(), true);
    QFile file(QStringLiteral(":/korvane/debugger/helper.py"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The breakpoint helper is not part of this build.");
    return QString::fromUtf8(file.readAll());
}

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
    return helper()
        + QStringLiteral("\n_dbrk = %1\n_dstep = %2\n")
              .arg(setOf(activeLines))
              .arg(activeLines.isEmpty() ? 1 : 0);
}

} // namespace Korvane::DebugHelper
