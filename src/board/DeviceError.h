#pragma once

#include "base/Error.h"

/// The failures of every operation on the board, each with its text for the person in one place.
namespace Korvane::DeviceError {

/// The board did not finish its reply within \p seconds whole seconds.
[[nodiscard]] Error timedOut(qint64 seconds);
/// The program raised. `detail` keeps the whole \p traceback; the message is its last line.
[[nodiscard]] Error remote(const QString &traceback);
[[nodiscard]] Error notConnected();
[[nodiscard]] Error pausedAtBreakpoint();
[[nodiscard]] Error programRunning();
[[nodiscard]] Error noRawREPL();

} // namespace Korvane::DeviceError
