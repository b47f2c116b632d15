#include "board/RawPaste.h"

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

constexpr char moreAccepted = '\x01';
constexpr char interrupt = '\x03';
constexpr char end = '\x04';
constexpr qsizetype answerSize = 4; // "R", 1 and the size of the window in two bytes

} // namespace

RawPaste::RawPaste(QByteArray program)
    : m_program(std::move(program))
{
}

RawPaste::Step RawPaste::feed(QByteArrayView chunk)
{
    Step step;
    if (m_state == State::Asking)
        readAnswer(chunk);
    if (m_state == State::Sending) {
        readGrants(chunk);
        step.write = nextBytes();
    }
    if (m_state == State::Ended)
        step.output = chunk.toByteArray();
    return step;
}

/// The rest of the raw REPL's banner may precede the answer.
void RawPaste::readAnswer(QByteArrayView &chunk)
{
    m_answer += chunk;
    chunk = {};
    for (qsizetype at = m_answer.indexOf('R'); at >= 0; at = m_answer.indexOf('R', at + 1)) {
        const QByteArrayView answer = QByteArrayView(m_answer).sliced(at);
        if (answer.size() < 2)
            return;
        if (answer[1] == '\0') {
            m_state = State::Refused;
            return;
        }
        if (answer[1] != '\x01')
            continue;
        if (answer.size() < answerSize)
            return;
        m_window = static_cast<uchar>(answer[2]) | static_cast<uchar>(answer[3]) << 8;
        m_granted = m_window;
        m_state = m_window > 0 ? State::Sending : State::Refused;
        m_answer.remove(0, at + answerSize);
        chunk = m_answer;
        return;
    }
}

void RawPaste::readGrants(QByteArrayView &chunk)
{
    while (m_state == State::Sending && !chunk.isEmpty()) {
        if (chunk.front() == moreAccepted)
            m_granted += m_window;
        else if (chunk.front() == end)
            m_state = State::Ended;
        chunk = chunk.sliced(1);
    }
}

QByteArray RawPaste::nextBytes()
{
    QByteArray bytes;
    if (m_state == State::Sending) {
        bytes = m_program.mid(m_sent, std::min(m_granted, m_program.size() - m_sent));
        m_sent += bytes.size();
        m_granted -= bytes.size();
    }
    if (!m_hasSentEnd && (m_state == State::Ended || m_sent == m_program.size())) {
        m_hasSentEnd = true;
        // A board that has ended the reading because of an error discards what arrives before
        // Ctrl-C or Ctrl-D. A board that was interrupted is at its prompt, where Ctrl-D would run
        // those bytes.
        bytes += m_state == State::Ended ? interrupt : end;
    }
    return bytes;
}

} // namespace Korvane
