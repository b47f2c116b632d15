#pragma once

#include <QKeySequence>
#include <QString>

/// Help texts and shortcuts are written in the code with the key signs ⌘ ⌥ ⇧; here they are turned
/// into what the keyboard in use has.
namespace Korvane::KeyText {

/// \p text with its key signs as this keyboard's names: "Save (⌘S)" gives "Save (Ctrl+S)".
[[nodiscard]] QString rendered(const QString &text);
/// The key sequence that \p signs stand for, such as "⇧⌘S".
[[nodiscard]] QKeySequence sequence(QStringView signs);
/// \p help without the key in brackets at its end: "Save (⌘S)" gives "Save".
[[nodiscard]] QString withoutKey(const QString &help);

} // namespace Korvane::KeyText
