#pragma once

#include "base/Error.h"

#include <QStringList>

/// Help for the user when a serial port can't be opened.
namespace Korvane::PortAdvice {

/// Lines for the Shell about \p error, of code `SerialPort`, at \p port: the command that gives
/// permission, if there is one, or the programs that use the port, looked up in \p proc. \p rules
/// is where the package installs its udev rules. Empty when no cause was found. Reads the links of
/// all processes, so it is not for the main thread.
[[nodiscard]] QStringList lines(
    const Error &error, const QString &port, const QString &proc = QStringLiteral("/proc"),
    const QString &rules = QStringLiteral("/usr/lib/udev/rules.d/60-korvane.rules"));

} // namespace Korvane::PortAdvice
