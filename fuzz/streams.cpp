// The three readers of what a board or the local session sends: each finds the same whether the
// bytes arrive at once or in pieces.

#include "board/DeviceStreamScanner.h"
#include "board/RawReplResponse.h"
#include "session/SessionStream.h"

#include <algorithm>
#include <cstdlib>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// The bytes in pieces of one length.
class Pieces
{
public:
    Pieces(QByteArrayView bytes, qsizetype length)
        : m_rest(bytes)
        , m_length(length)
    {
    }
    bool isEmpty() const { return m_rest.isEmpty(); }
    QByteArrayView take()
    {
        const auto piece = m_rest.first(std::min(m_length, m_rest.size()));
        m_rest = m_rest.sliced(piece.size());
        return piece;
    }

private:
    QByteArrayView m_rest;
    qsizetype m_length;
};

void expect(bool isTrue)
{
    if (!isTrue)
        abort();
}

/// The bytes up to the end of the reply, all when it has none.
QByteArrayView replyIn(QByteArrayView bytes)
{
    const auto second = bytes.indexOf('\x04', bytes.indexOf('\x04') + 1);
    const auto prompt = second > 0 ? bytes.indexOf('>', second) : -1;
    return prompt > 0 ? bytes.first(prompt + 1) : bytes;
}

/// The parts of a complete reply.
QString readReply(Pieces pieces)
{
    RawReplResponse reply;
    while (!pieces.isEmpty())
        reply.feed(QString::fromLatin1(pieces.take()));
    if (!reply.isComplete())
        return u"incomplete"_s;
    return reply.execution().stdout + u'|' + reply.execution().stderr;
}

QString readSession(Pieces pieces)
{
    SessionStream stream;
    QString text;
    const auto show = [&](const QList<SessionStream::Item> &items) {
        for (const auto &item : items) {
            if (const auto *output = std::get_if<SessionStream::Output>(&item))
                text += output->text;
            else
                text +=
                    u'<' + QString::fromLatin1(std::get<SessionStream::Reply>(item).body) + u'>';
        }
    };
    while (!pieces.isEmpty())
        show(stream.feed(pieces.take()));
    show(stream.feed("\x04")); // lets go of what it holds back
    return text;
}

QString readBoard(Pieces pieces)
{
    DeviceStreamScanner scanner;
    QString text;
    QString found;
    bool hasEnded = false;
    bool isWhole = false;
    while (!pieces.isEmpty()) {
        const auto scan = scanner.feed(pieces.take());
        text += scan.text;
        hasEnded = hasEnded || scan.ended;
        isWhole = isWhole || scan.isReplyComplete;
        expect(scan.pausesAfterEnd <= scan.pauses.size());
        for (const DebugPause &pause : scan.pauses) {
            found += QString::number(pause.line);
            for (const PythonVariable &variable : pause.variables)
                found += u' ' + variable.name + u':' + variable.type + u'=' + variable.value;
            found += u';';
        }
    }
    return text + scanner.flush() + u'|' + found + QString::number(hasEnded)
        + QString::number(isWhole);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const QByteArrayView bytes(data + 1, qsizetype(size) - 1);
    const Pieces whole(bytes, bytes.size());
    const Pieces pieces(bytes, 1 + data[0] % 16);

    const QByteArrayView reply = replyIn(bytes);
    const QString answer = readReply(Pieces(reply, reply.size()));
    expect(readReply(Pieces(reply, 1 + data[0] % 16)) == answer);
    expect((answer == u"incomplete") == (reply.count('\x04') < 2 || !reply.endsWith('>')));
    expect(readSession(whole) == readSession(pieces));
    // Where a board sends what is no text, the pieces decide what is shown in its place.
    const QString inPieces = readBoard(pieces);
    if (bytes.isValidUtf8())
        expect(readBoard(whole) == inPieces);
    return 0;
}
