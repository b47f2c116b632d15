#pragma once

#include <QSet>
#include <QString>

namespace Korvane {

/// The program that an instrumented one calls at its stops: it reports the line and the variables,
/// and waits for a command (docs/debugger.md).
namespace DebugHelper {

/// Puts the helper into the board's globals, with breakpoints armed on \p activeLines. Without any,
/// the program stops at its first statement.
[[nodiscard]] QString installCode(const QSet<int> &activeLines);

// The commands that the helper reads while the program is paused.
inline constexpr char continueCommand[] = "c\n";
inline constexpr char stepCommand[] = "s\n";
inline constexpr char quitCommand[] = "q\n";

} // namespace DebugHelper

} // namespace Korvane
