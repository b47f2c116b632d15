#pragma once

#include <QString>

namespace Korvane {

/// The text of a POSIX error number, for example "No space left on the device" for ENOSPC; "Error
/// 12345" for an unknown number. Any thread.
[[nodiscard]] QString systemErrorText(int code);

} // namespace Korvane
