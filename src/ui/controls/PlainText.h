#pragma once

#include <QString>

/// Escapes names from disks, boards, ports and assistants for those parts of Qt that interpret text
/// as markup or mnemonics. Control characters and bidirectional marks are shown as symbols, see
/// base/VisibleText.h.
namespace Korvane::PlainText {

/// \p text for a tool tip, which would show "<b>" as markup. Line ends are kept; text beyond 100
/// characters is wrapped, and beyond 1,000 shortened in the middle.
[[nodiscard]] QString toolTip(const QString &text);

/// \p text for a button or a menu entry, which would show "&" as a mnemonic. One line, shortened in
/// the middle beyond \p longest characters, so that no menu is wider than the screen.
[[nodiscard]] QString label(const QString &text, qsizetype longest = 100);

} // namespace Korvane::PlainText
