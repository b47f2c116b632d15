#pragma once

#include <QString>

namespace Korvane {

/// Turns what a program prints into plain text with "\n" line ends, chunk by chunk.
///
/// Removes the terminal escape sequences that match `\x1b(?:[@-Z\\-_]|\[[0-9;?]*[
/// -/]*[@-~]|\][^\x07\x1b]*(?:\x07|\x1b\\))` with its alternatives tried from left to right, then
/// turns "\r\n" and every other "\r" into "\n". All chunks together give what the whole text would:
/// a "\r" at the end of a chunk, and up to `maxHeldBack` characters that may still become an escape
/// sequence, are held back until the next chunk. Time is linear in the text.
class AnsiFilter final
{
public:
    static constexpr qsizetype maxHeldBack = 64;

    /// The text that \p chunk adds; empty when all of it is held back or removed.
    [[nodiscard]] QString feed(const QString &chunk);
    /// Returns what is held back, as at the end of the text, and resets the filter.
    [[nodiscard]] QString finish();
    /// The same in the middle of the text: a "\n" at the start of the next chunk still belongs to a
    /// "\r" that is returned here.
    [[nodiscard]] QString pause();
    /// Drops a line end that is held back, also a "\n" of it in the next chunk; the start of an
    /// escape sequence is kept.
    void dropLineEnd();

private:
    /// The "\r" directly before m_escapeStart: none, held back, or already returned or dropped, so
    /// that a "\n" after it belongs to it.
    enum class LineEnd { None, HeldBack, Handled };

    QString m_escapeStart;
    LineEnd m_lineEnd = LineEnd::None;
};

} // namespace Korvane
