#include "board/BoardCapabilities.h"

#include "board/BoardScripts.h"

#include <QStringList>

namespace Korvane {

std::optional<BoardCapabilities> BoardCapabilities::parse(const QString &output)
{
    const auto answer = BoardScripts::textAfter(output, QLatin1StringView("__CAPS__"));
    if (!answer)
        return std::nullopt;
    const QStringList fields = answer->simplified().split(u' ');
    if (fields.size() != 11)
        return std::nullopt;
    const auto has = [&fields](int index) { return fields[index] == u"1"; };
    BoardCapabilities capabilities;
    capabilities.freeHeapBytes = fields[0].toLongLong();
    // "binascii" may be a module written in Python, which is slower by two orders of magnitude.
    const QString binascii = QStringLiteral("binascii");
    const QString ubinascii = QStringLiteral("ubinascii");
    capabilities.base64Module = has(1) ? ubinascii : has(2) ? binascii : QString();
    capabilities.crc32Module = has(3) ? ubinascii : has(4) && !has(1) ? binascii : QString();
    capabilities.hasSha256 = has(5);
    capabilities.hasStat = has(6);
    capabilities.hasRename = has(7);
    capabilities.hasJson = has(8);
    capabilities.hasSize = has(9);
    capabilities.isFlat = has(10);
    return capabilities;
}

} // namespace Korvane
