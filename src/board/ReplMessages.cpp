#include "board/ReplMessages.h"

#include <algorithm>

namespace Korvane {

namespace {

constexpr QStringView acknowledgment = u"OK";
constexpr QStringView prompt = u">";
constexpr QStringView bannerStart = u"MicroPython ";
constexpr QStringView bannerEnd = u"\n>>> ";
// Without this limit, all output of a board with another banner would be taken for its banner.
constexpr qsizetype longestBanner = 512;

void add(QList<ReplMessages::Piece> &pieces, QStringView text, bool isMessage)
{
    if (text.isEmpty())
        return;
    if (!pieces.isEmpty() && pieces.constLast().isMessage == isMessage)
        pieces.last().text += text;
    else
        pieces.append({text.toString(), isMessage});
}

} // namespace

void ReplMessages::expectReply()
{
    m_expected = Expected::Acknowledgment;
    m_matched = 0;
}

void ReplMessages::expectBanner()
{
    m_expected = Expected::Banner;
    m_banner.clear();
}

QList<ReplMessages::Piece> ReplMessages::feed(QStringView text, const QList<qsizetype> &endMarks)
{
    QList<Piece> pieces;
    qsizetype from = 0;
    for (const qsizetype mark : endMarks) {
        feedPart(text.sliced(from, mark - from), pieces);
        noteEndMark();
        from = mark;
    }
    feedPart(text.sliced(from), pieces);
    return pieces;
}

void ReplMessages::noteEndMark()
{
    switch (m_expected) {
    case Expected::Acknowledgment:
    case Expected::EndOfOutput:
        m_expected = Expected::EndOfReply;
        break;
    case Expected::EndOfReply:
        m_expected = Expected::Prompt;
        break;
    case Expected::Prompt: // the program printed a mark of its own
    case Expected::Nothing:
    case Expected::Banner:
        break;
    }
}

void ReplMessages::feedPart(QStringView text, QList<Piece> &pieces)
{
    if (text.isEmpty())
        return;
    qsizetype length = 0;
    switch (m_expected) {
    case Expected::Acknowledgment:
        while (length < text.size() && m_matched < acknowledgment.size()
               && text[length] == acknowledgment[m_matched]) {
            ++length;
            ++m_matched;
        }
        if (m_matched == acknowledgment.size() || length < text.size())
            m_expected = Expected::EndOfOutput;
        break;
    case Expected::Prompt:
        length = text.startsWith(prompt) ? prompt.size() : 0;
        m_expected = Expected::Nothing;
        break;
    case Expected::Banner:
        length = bannerLength(text);
        break;
    case Expected::Nothing:
    case Expected::EndOfOutput:
    case Expected::EndOfReply:
        break;
    }
    add(pieces, text.first(length), true);
    add(pieces, text.sliced(length), false);
}

/// How much of \p text belongs to the banner.
qsizetype ReplMessages::bannerLength(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isLineEnd = text[i] == u'\r' || text[i] == u'\n';
        if (m_banner.isEmpty() && isLineEnd)
            continue;
        m_banner += text[i];
        const qsizetype compared = std::min(m_banner.size(), bannerStart.size());
        if (m_banner.size() > longestBanner
            || QStringView(m_banner).first(compared) != bannerStart.first(compared)) {
            m_expected = Expected::Nothing;
            return i;
        }
        if (m_banner.endsWith(bannerEnd)) {
            m_expected = Expected::Nothing;
            return i + 1;
        }
    }
    return text.size();
}

} // namespace Korvane
