#pragma once

#include "board/DebugPause.h"

#include <QByteArray>

namespace Korvane {

/// Splits what the board sends while a program runs into text, pauses and the program's end
/// (docs/formats/pause-record.md). Fed with chunks as they arrive. The time is linear in the number
/// of bytes, also for long records.
class DeviceStreamScanner final
{
public:
    struct Scan
    {
        /// What to show: without end marks, and without records and the line end after each.
        QString text;
        /// Where in the text the end marks were.
        QList<qsizetype> endMarks;
        /// In the order of arrival.
        QList<DebugPause> pauses;
        /// An end mark (0x04) was among the bytes.
        bool ended = false;
        /// How many pauses, the last of the list, arrived after the last end mark.
        qsizetype pausesAfterEnd = 0;
        /// The prompt followed the second end mark, or a later one, since the construction, flush()
        /// or clear().
        bool isReplyComplete = false;
    };

    /// Everything that \p chunk completes. The beginning of a character, of a record or of the line
    /// end after one is held back until the next chunk.
    [[nodiscard]] Scan feed(QByteArrayView chunk);

    /// Returns what was held back, as text, and resets the scanner.
    [[nodiscard]] QString flush();
    /// The same without the text.
    void clear();

private:
    /// Counts the end marks of \p chunk. True when the prompt follows the second one, or a later
    /// one.
    [[nodiscard]] bool countEndMarks(QByteArrayView chunk);
    /// False when the bytes at \p position may yet become the line end after a record.
    [[nodiscard]] bool skipLineEnd(qsizetype &position);
    [[nodiscard]] qsizetype takeRecord(qsizetype open, Scan &scan);

    QByteArray m_buffer;
    /// How many bytes of the open record at the front of the buffer have been searched for a mark.
    qsizetype m_searchedBytes = 0;
    bool m_isAfterRecord = false;
    int m_endMarks = 0;
    bool m_promptMayFollow = false;
};

} // namespace Korvane
