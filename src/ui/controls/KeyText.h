#pragma once

#include <QKeySequence>
#include <QString>

/// Help texts and shortcuts are written in the code with the key symbols ⌘ ⌥ ⇧; here they are
/// replaced by the names of the keys on this platform.
namespace Korvane::KeyText {

/// \p text with the names of the keys in place of their symbols: "Save (⌘S)" gives "Save (Ctrl+S)".
[[nodiscard]] QString rendered(const QString &text);
/// The key sequence of \p symbols, such as "⇧⌘S". Empty unless one character follows the symbols of
/// the modifiers.
[[nodiscard]] QKeySequence sequence(QStringView symbols);
/// \p help without the key in brackets at its end: "Save (⌘S)" gives "Save".
[[nodiscard]] QString withoutKey(const QString &help);

} // namespace Korvane::KeyText
