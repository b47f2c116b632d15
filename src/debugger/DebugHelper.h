#pragma once

#include <QSet>
#include <QString>

namespace Korvane {

/// The helper that an instrumented program calls where it stops: it reports the line and the
/// variables, and waits for a command (docs/debugger.md).
namespace DebugHelper {

/// The program that defines the helper in the board's globals, with breakpoints armed on
/// \p activeLines (1-based). Without any, the debugged program stops at its first statement.
[[nodiscard]] QString installCode(const QSet<int> &activeLines);

// The commands that the helper reads while the program is paused.
inline constexpr char continueCommand[] = "c\n";
inline constexpr char stepCommand[] = "s\n";
inline constexpr char quitCommand[] = "q\n";

} // namespace DebugHelper

} // namespace Korvane
