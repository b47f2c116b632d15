#pragma once

#include "board/BoardRecords.h"

#include <QString>
#include <QStringView>

#include <array>

namespace Korvane {

/// Collects what the raw REPL answers to a program: "OK", the output, 0x04, the traceback, 0x04,
/// and the prompt ">". Fed in pieces of any length; the time is linear in the number of characters.
class RawReplResponse final
{
public:
    /// A reply longer than \p maxLength characters is discarded and never becomes complete.
    explicit RawReplResponse(qsizetype maxLength = defaultMaxLength)
        : m_maxLength(maxLength)
    {
    }

    void feed(QStringView text);
    [[nodiscard]] bool isComplete() const { return m_isComplete; }
    /// The parsed reply. Valid once it is complete.
    [[nodiscard]] DeviceExecution execution() const { return parseRawResponse(m_text); }

    /// Whether \p text holds two 0x04 and a ">" after them.
    [[nodiscard]] static bool isRawResponseComplete(QStringView text);
    /// Splits a reply into output and traceback, with "\n" for every kind of line end.
    [[nodiscard]] static DeviceExecution parseRawResponse(QStringView text);

private:
    static constexpr qsizetype defaultMaxLength = qsizetype(64) << 20;
    /// What marks the end, in this order.
    static constexpr std::array<QChar, 3> endMarks = {QChar(0x04), QChar(0x04), u'>'};

    qsizetype m_maxLength;
    QString m_text;
    std::size_t m_marksSeen = 0;
    bool m_isComplete = false;
    bool m_isOverlong = false;
};

} // namespace Korvane
