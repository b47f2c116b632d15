// The request parser against a plain one that starts over for every piece, on the same pieces.

#include "mcp/HTTPRequestParser.h"

#include <QList>
#include <QString>

#include <cstdlib>

using namespace Korvane;

namespace {

bool isEqual(const HTTPRequest &a, const HTTPRequest &b)
{
    return a.method == b.method && a.path == b.path && a.headers == b.headers && a.body == b.body;
}

QByteArray trimmed(QByteArray text)
{
    while (text.startsWith(' ') || text.startsWith('\t'))
        text.remove(0, 1);
    while (text.endsWith(' ') || text.endsWith('\t'))
        text.chop(1);
    return text;
}

class PlainParser
{
public:
    QList<HTTPRequest> feed(const QByteArray &piece)
    {
        QList<HTTPRequest> requests;
        m_buffer += piece;
        while (!isRefusing) {
            const auto end = m_buffer.indexOf("\r\n\r\n");
            if (end > HTTPRequestParser::maxHeadBytes
                || (end < 0 && m_buffer.size() >= HTTPRequestParser::maxHeadBytes + 4))
                isRefusing = true;
            if (end < 0 || isRefusing)
                break;
            const QByteArray head = m_buffer.first(end);
            QByteArray rest = head + "\r\n";
            QByteArrayList words = rest.first(rest.indexOf("\r\n")).split(' ');
            words.removeAll({});
            if (!head.isValidUtf8() || words.size() < 2) {
                m_buffer.clear();
                break;
            }
            HTTPRequest request{words[0], words[1], {}, {}};
            while (!rest.isEmpty()) {
                const QByteArray line = rest.first(rest.indexOf("\r\n"));
                rest.remove(0, line.size() + 2);
                if (const auto colon = line.indexOf(':'); colon >= 0)
                    request
                        .headers[QString::fromUtf8(trimmed(line.first(colon))).toLower().toUtf8()] =
                        trimmed(line.mid(colon + 1));
            }
            const auto header = request.headers.find("content-length");
            const auto length = header == request.headers.end() ? 0 : lengthOf(header->second);
            if (length < 0 || length > HTTPRequestParser::maxBodyBytes) {
                isRefusing = true;
                break;
            }
            if (m_buffer.size() < end + 4 + length)
                break;
            request.body = m_buffer.mid(end + 4, length);
            m_buffer.remove(0, end + 4 + length);
            requests += request;
        }
        return requests;
    }

    bool isRefusing = false;

private:
    static qint64 lengthOf(QByteArray text)
    {
        const bool isNegative = text.startsWith('-');
        if (isNegative || text.startsWith('+'))
            text.remove(0, 1);
        qint64 length = 0;
        for (const char c : text) {
            if (c < '0' || c > '9')
                return 0;
            length = std::min<qint64>(length * 10 + (c - '0'), HTTPRequestParser::maxBodyBytes + 1);
        }
        return isNegative ? -length : length;
    }

    QByteArray m_buffer;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The first byte chooses the pieces: all at once, or all of one length.
    if (size == 0)
        return 0;
    const qsizetype pieceBytes = data[0] ? data[0] : qsizetype(size);
    const QByteArray input(reinterpret_cast<const char *>(data + 1), qsizetype(size) - 1);

    HTTPRequestParser parser;
    PlainParser plain;
    for (qsizetype at = 0; at < input.size(); at += pieceBytes) {
        const QByteArray piece = input.mid(at, pieceBytes);
        parser.append(piece);
        for (const HTTPRequest &expected : plain.feed(piece)) {
            const auto request = parser.next();
            if (!request || !isEqual(*request, expected))
                abort();
        }
        if (parser.next() || parser.isRefusing() != plain.isRefusing)
            abort();
        if (parser.isRefusing())
            break;
    }
    return 0;
}
