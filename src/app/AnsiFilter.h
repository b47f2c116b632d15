#pragma once

#include <QString>

namespace Korvane {

/// Turns what a program prints into plain text with "\n" line ends, chunk by chunk.
///
/// Removes the terminal escape sequences that match
/// `\x1b(?:[@-Z\\-_]|\[[0-9;?]*[ -/]*[@-~]|\][^\x07\x1b]*(?:\x07|\x1b\\))` with its alternatives
/// tried from left to right, then turns "\r\n" and every other "\r" into "\n". All chunks together
/// give what the whole text would: a "\r" at the end of a chunk, and up to `maxWaiting` characters
/// that may still become an escape sequence, wait for the next chunk. Time is linear in the text.
class AnsiFilter final
{
public:
    static constexpr qsizetype maxWaiting = 64;

    /// What \p chunk adds to the text; empty when all of it waits or is removed.
    [[nodiscard]] QString feed(const QString &chunk);
    /// What waits, as the text it is when nothing follows; afterwards nothing waits.
    [[nodiscard]] QString finish();
    /// The same in the middle of the text: a "\n" that comes next still belongs to a "\r" that is
    /// given out here.
    [[nodiscard]] QString pause();
    /// Drops a line end that waits, also its "\n" to come; the start of an escape sequence stays.
    void dropLineEnd();

private:
    /// What became of a "\r" that was the last thing before m_escapeStart.
    enum class LineEnd { None, Waits, Settled };

    QString m_escapeStart;
    LineEnd m_lineEnd = LineEnd::None;
};

} // namespace Korvane
