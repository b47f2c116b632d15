#include "session/SessionStream.h"

#include "base/Utf8.h"

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

constexpr char delimiter = '\x04';
constexpr qsizetype longestCharacterBytes = 4;

} // namespace

QList<SessionStream::Item> SessionStream::feed(QByteArrayView bytes)
{
    QList<Item> items;
    while (!bytes.isEmpty()) {
        const qsizetype mark = bytes.indexOf(delimiter);
        if (mark < 0) {
            if (m_isInReply)
                m_buffer.append(bytes);
            else
                takeDecodable(bytes, items);
            break;
        }
        m_buffer.append(bytes.first(mark));
        bytes = bytes.sliced(mark + 1);
        const QByteArray taken = std::exchange(m_buffer, {});
        if (m_isInReply)
            items.emplaceBack(Reply{taken});
        else if (!taken.isEmpty())
            items.emplaceBack(Output{Utf8::decodeLossy(taken)});
        m_isInReply = !m_isInReply;
        m_isUndecodable = false;
    }
    return items;
}

void SessionStream::takeDecodable(QByteArrayView bytes, QList<Item> &items)
{
    m_buffer.append(bytes);
    if (m_isUndecodable)
        return;
    const qsizetype mostHeldBack = std::min(longestCharacterBytes, m_buffer.size());
    for (qsizetype heldBack = 0; heldBack <= mostHeldBack; ++heldBack) {
        const auto text = Utf8::decodeStrict(QByteArrayView(m_buffer).chopped(heldBack));
        if (!text)
            continue;
        m_buffer = m_buffer.right(heldBack);
        if (!text->isEmpty())
            items.emplaceBack(Output{*text});
        return;
    }
    // The ill-formed bytes are further from the end than a character is long, so no later bytes can
    // complete them.
    m_isUndecodable = true;
}

void SessionStream::discardUnfinishedReply()
{
    if (m_isInReply)
        clear();
}

void SessionStream::clear()
{
    m_buffer.clear();
    m_isInReply = false;
    m_isUndecodable = false;
}

} // namespace Korvane
