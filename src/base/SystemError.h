#pragma once

#include <QString>

namespace Korvane {

/// The name of a POSIX error number, for example "No space left on the device" for ENOSPC;
/// "Error 12345" for a number that the system does not know. Any thread.
[[nodiscard]] QString systemErrorText(int code);

} // namespace Korvane
