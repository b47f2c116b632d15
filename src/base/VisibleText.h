#pragma once

#include <QString>

/// Names from disks, boards, ports and assistants, made safe to show as plain text: characters that
/// are invisible or change how the text around them is shown are replaced by visible symbols.
///
/// ASCII control characters become the control pictures of Unicode (U+0007 becomes "␇"). Other
/// control characters, bidirectional marks, invisible format characters, Unicode's line separators
/// and lone surrogates become their code point in brackets, such as "⟨U+202E⟩". The joiners U+200C
/// and U+200D are kept: some scripts and emoji need them.
namespace Korvane::VisibleText {

/// \p text as one line: line ends and tabs become symbols as well. For every name and path.
[[nodiscard]] QString line(const QString &text);

/// \p text with its line ends (\n) and tabs kept, for texts of several lines.
[[nodiscard]] QString paragraphs(const QString &text);

} // namespace Korvane::VisibleText
