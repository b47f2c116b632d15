#include "base/SystemError.h"

#include <cerrno>
#include <system_error>

namespace Korvane {

QString systemErrorText(int code)
{
    if (code == ENOSPC)
        return QStringLiteral("No space left on the device");
    const QString text = QString::fromStdString(std::generic_category().message(code));
    return text.startsWith(QLatin1String("Unknown error")) ? QStringLiteral("Error %1").arg(code)
                                                           : text;
}

} // namespace Korvane
