#include "board/ReplMessages.h"

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

constexpr QStringView acknowledgment = u"OK";
constexpr QStringView prompt = u">";
/// The rest of the raw REPL's banner after "raw REPL", at which the handshake ends.
constexpr QStringView restOfRawReplBanner = u"; CTRL-B to exit\r\n>";
constexpr QStringView bannerStart = u"MicroPython ";
constexpr QStringView friendlyPrompt = u">>> ";
constexpr QStringView bannerEnd = u"\n>>> ";
constexpr QStringView helpLine = u"Type \"help()\" for more information.";
constexpr QStringView softReset = u"MPY: soft reboot";
// Without this limit, all output of a board with another banner would be taken for its banner.
constexpr qsizetype longestBanner = 512;

/// How much of \p text is the end of that banner, which may arrive after the program was sent.
qsizetype rawReplBannerLength(QStringView text)
{
    for (qsizetype start = 0; start < restOfRawReplBanner.size(); ++start) {
        const QStringView rest = restOfRawReplBanner.sliced(start);
        if (text.startsWith(rest) || rest.startsWith(text))
            return std::min(rest.size(), text.size());
    }
    return 0;
}

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

void ReplMessages::expectRestart()
{
    m_expected = Expected::Restart;
    m_isLineDecided = false;
    m_isMessageLine = true;
    m_hasRestarted = false;
}

QList<ReplMessages::Piece> ReplMessages::feed(QStringView text, const QList<qsizetype> &endMarks)
{
    QList<Piece> pieces;
    if (m_expected != Expected::Restart)
        add(pieces, std::exchange(m_line, {}), false);
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
    case Expected::Restart:
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
        if (m_matched == 0)
            length = rawReplBannerLength(text);
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
        length = takeBanner(text);
        break;
    case Expected::Restart:
        feedRestart(text, pieces);
        return;
    case Expected::Nothing:
    case Expected::EndOfOutput:
    case Expected::EndOfReply:
        break;
    }
    add(pieces, text.first(length), true);
    add(pieces, text.sliced(length), false);
}

/// The lines between those of the REPL are what boot.py and main.py print.
void ReplMessages::feedRestart(QStringView text, QList<Piece> &pieces)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (m_expected != Expected::Restart) {
            add(pieces, text.sliced(i), false);
            return;
        }
        const bool isLineEnd = text[i] == u'\r' || text[i] == u'\n';
        if (!isLineEnd && !m_isLineDecided) {
            m_line += text[i];
            decideLine(pieces);
            continue;
        }
        if (isLineEnd && !m_line.isEmpty()) {
            m_isMessageLine = m_line == softReset || m_line == helpLine
                || (m_line == prompt && !m_hasRestarted); // of an interrupted run
            m_hasRestarted = m_hasRestarted || m_line == softReset;
            add(pieces, std::exchange(m_line, {}), m_isMessageLine);
        }
        add(pieces, text.sliced(i, 1), m_isMessageLine);
        m_isLineDecided = m_isLineDecided && !isLineEnd;
    }
}

/// Adds the line to \p pieces when it is a message, or can no longer become one.
void ReplMessages::decideLine(QList<Piece> &pieces)
{
    const bool isPrompt = m_line == friendlyPrompt;
    m_isMessageLine = isPrompt || m_line == bannerStart;
    if (!m_isMessageLine) {
        for (const QStringView message : {friendlyPrompt, bannerStart, helpLine, softReset}) {
            if (message.startsWith(m_line))
                return;
        }
    }
    m_isLineDecided = !isPrompt; // the text after the prompt may be a message, too
    add(pieces, std::exchange(m_line, {}), m_isMessageLine);
    if (isPrompt && m_hasRestarted)
        m_expected = Expected::Nothing;
}

qsizetype ReplMessages::takeBanner(QStringView text)
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
