#pragma once

#include "base/Error.h"

/// The failures of every operation on the board, with their user-facing texts.
namespace Korvane::DeviceError {

/// The board didn't finish its reply within \p seconds whole seconds.
[[nodiscard]] Error timedOut(qint64 seconds);
/// The same, and its program was interrupted.
[[nodiscard]] Error timedOutAndStopped(qint64 seconds);
/// The program raised an exception. `detail` keeps the whole \p traceback; the message is its last
/// line.
[[nodiscard]] Error remote(const QString &traceback);
[[nodiscard]] Error notConnected();
/// The port was not opened; keeps the code and errno of \p reason.
[[nodiscard]] Error notOpened(const Error &reason);
[[nodiscard]] Error pausedAtBreakpoint();
[[nodiscard]] Error programRunning();
[[nodiscard]] Error noRawREPL();
/// The connection ended while a command was on the board.
[[nodiscard]] Error connectionLost();
/// A command was ended by a soft reset.
[[nodiscard]] Error boardReset();
/// The board showed no sign of a soft reset.
[[nodiscard]] Error notReset();
/// The connection for which the operation was begun, or the user was asked, was replaced.
[[nodiscard]] Error boardReplaced();
/// The board's output is not what the program that was sent prints.
[[nodiscard]] Error invalidAnswer();
/// An earlier transfer to \p path has not ended.
[[nodiscard]] Error alreadyWriting(const QString &path);
/// The user declined; \p notice says what was left unchanged; it may be empty.
[[nodiscard]] Error canceled(const QString &notice = {});
/// The object that carried out the operation was destroyed.
[[nodiscard]] Error closed();

/// Replaces what MicroPython prints for an OSError that has no text of its own ("28",
/// "OSError: 28", "[Errno 28] ENOSPC") by the error's name; any other text is returned unchanged.
/// White space around it is kept.
[[nodiscard]] QString withSystemErrorNamed(const QString &text);

} // namespace Korvane::DeviceError
