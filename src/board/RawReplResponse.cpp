#include "board/RawReplResponse.h"

namespace Korvane {

namespace {

QString withUnixLineEnds(QStringView text)
{
    QString result = text.toString();
    result.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    result.replace(u'\r', u'\n');
    return result;
}

} // namespace

void RawReplResponse::feed(QStringView text)
{
    if (m_isOverlong)
        return;
    if (m_text.size() + text.size() > m_maxLength) {
        m_isOverlong = true;
        m_text = QString();
        return;
    }
    m_text.append(text);
    qsizetype position = 0;
    while (m_marksSeen < endMarks.size()) {
        position = text.indexOf(endMarks[m_marksSeen], position);
        if (position < 0)
            return;
        ++position;
        ++m_marksSeen;
    }
    m_isComplete = true;
}

bool RawReplResponse::isRawResponseComplete(QStringView text)
{
    RawReplResponse reply(text.size());
    reply.feed(text);
    return reply.isComplete();
}

DeviceExecution RawReplResponse::parseRawResponse(QStringView text)
{
    constexpr QLatin1String acknowledgement("OK");
    constexpr QChar endOfPart(0x04);

    const qsizetype begin = text.indexOf(acknowledgement);
    if (begin >= 0)
        text = text.sliced(begin + acknowledgement.size());
    DeviceExecution execution;
    const qsizetype outputEnd = text.indexOf(endOfPart);
    execution.stdout = withUnixLineEnds(outputEnd < 0 ? text : text.first(outputEnd));
    if (outputEnd >= 0) {
        text = text.sliced(outputEnd + 1);
        const qsizetype errorEnd = text.indexOf(endOfPart);
        execution.stderr = withUnixLineEnds(errorEnd < 0 ? text : text.first(errorEnd));
    }
    return execution;
}

} // namespace Korvane
