#include "board/DeviceStreamScanner.h"

#include "base/Utf8.h"

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

constexpr char recordMark = '\x1E';
constexpr char endMark = '\x04';
constexpr qsizetype longestHeldTail = 4;

/// How many of \p bytes, the last that have arrived, can be shown now: all but up to four at the
/// end, so that the shown ones are well-formed. When that is not possible, the ill-formed bytes are
/// further to the front, and all but four are shown.
qsizetype showableCount(QByteArrayView bytes)
{
    // No character contains an end mark, so whatever precedes one is complete.
    const qsizetype settled = bytes.lastIndexOf(endMark) + 1;
    const QByteArrayView rest = bytes.sliced(settled);
    for (qsizetype held = 0; held <= longestHeldTail && held < rest.size(); ++held) {
        if (rest.chopped(held).isValidUtf8())
            return bytes.size() - held;
    }
    return settled + std::max<qsizetype>(0, rest.size() - longestHeldTail);
}

void takeText(QByteArrayView bytes, DeviceStreamScanner::Scan &scan)
{
    while (true) {
        const qsizetype mark = bytes.indexOf(endMark);
        scan.text += Utf8::decodeLossy(mark < 0 ? bytes : bytes.first(mark));
        if (mark < 0)
            return;
        scan.ended = true;
        scan.pausesAfterEnd = 0;
        scan.endMarks << scan.text.size();
        bytes = bytes.sliced(mark + 1);
    }
}

} // namespace

DeviceStreamScanner::Scan DeviceStreamScanner::feed(QByteArrayView chunk)
{
    Scan scan;
    scan.isReplyComplete = countEndMarks(chunk);
    m_buffer.append(chunk);

    qsizetype position = 0; // everything in front of it is processed
    while (position < m_buffer.size()) {
        if (!skipLineEnd(position))
            break;
        const QByteArrayView rest = QByteArrayView(m_buffer).sliced(position);
        const qsizetype textLength = rest.indexOf(recordMark);
        if (textLength < 0) {
            const qsizetype count = showableCount(rest);
            takeText(rest.first(count), scan);
            position += count;
            break;
        }
        takeText(rest.first(textLength), scan);
        position += textLength;
        const qsizetype taken = takeRecord(position, scan);
        if (taken == 0)
            break;
        position += taken;
    }
    m_buffer.remove(0, position);
    return scan;
}

QString DeviceStreamScanner::flush()
{
    QString text = Utf8::decodeLossy(m_buffer);
    clear();
    return text;
}

void DeviceStreamScanner::clear()
{
    *this = {};
}

// A record never holds an end mark, and an end mark is never held back: the end of the reply is
// found as soon as its bytes arrive.
bool DeviceStreamScanner::countEndMarks(QByteArrayView chunk)
{
    if (chunk.isEmpty())
        return false;
    // Only directly after the mark it is the prompt: a program may print a mark of its own, and a
    // traceback is full of ">".
    bool isComplete = m_promptMayFollow && chunk.startsWith('>');
    for (qsizetype mark = chunk.indexOf(endMark); mark >= 0;
         mark = chunk.indexOf(endMark, mark + 1)) {
        m_endMarks = std::min(m_endMarks + 1, 2);
        isComplete = isComplete || (m_endMarks == 2 && chunk.sliced(mark + 1).startsWith('>'));
    }
    m_promptMayFollow = m_endMarks == 2 && chunk.endsWith(endMark);
    return isComplete;
}

bool DeviceStreamScanner::skipLineEnd(qsizetype &position)
{
    if (!m_isAfterRecord)
        return true;
    const QByteArrayView rest = QByteArrayView(m_buffer).sliced(position);
    if (rest == "\r")
        return false;
    if (rest.startsWith('\n'))
        position += 1;
    else if (rest.startsWith("\r\n"))
        position += 2;
    m_isAfterRecord = false;
    return true;
}

/// Takes the record whose mark is at \p open; yields how many bytes that was, 0 while it is open.
qsizetype DeviceStreamScanner::takeRecord(qsizetype open, Scan &scan)
{
    const QByteArrayView record = QByteArrayView(m_buffer).sliced(open);
    const auto unsearched = record.begin() + std::max<qsizetype>(1, m_searchedBytes);
    const auto found = std::find_if(
        unsearched, record.end(), [](char byte) { return byte == recordMark || byte == endMark; });
    if (found == record.end()) {
        m_searchedBytes = record.size();
        return 0;
    }
    m_searchedBytes = 0;
    if (*found == endMark) {
        // The program ended without a second mark, so it printed the first one itself.
        scan.text += QLatin1Char(recordMark);
        return 1;
    }
    const qsizetype close = found - record.begin();
    if (auto pause = DebugPause::fromRecord(record.first(close).sliced(1))) {
        scan.pauses.append(*std::move(pause));
        scan.pausesAfterEnd += scan.ended ? 1 : 0;
    }
    m_isAfterRecord = true;
    return close + 1;
}

} // namespace Korvane
