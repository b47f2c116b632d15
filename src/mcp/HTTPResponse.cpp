#include "mcp/HTTPResponse.h"

#include <charconv>
#include <string_view>

namespace Korvane {

namespace {

const QByteArray connectionHeader = QByteArrayLiteral("Connection");
const QByteArray lengthHeader = QByteArrayLiteral("Content-Length");

std::string_view reasonPhrase(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 202:
        return "Accepted";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    default:
        return "Error";
    }
}

void append(QByteArray &wire, std::string_view text)
{
    wire.append(text.data(), qsizetype(text.size()));
}

void append(QByteArray &wire, qint64 number)
{
    char digits[24];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    wire.append(digits, end - digits);
}

} // namespace

void HTTPResponse::appendTo(QByteArray &wire) const
{
    // Most responses fit: one allocation instead of several. Reserving for each further response
    // would copy those before it each time.
    if (wire.isEmpty())
        wire.reserve(256 + body.size());

    append(wire, "HTTP/1.1 ");
    append(wire, status);
    append(wire, " ");
    append(wire, reasonPhrase(status));
    append(wire, "\r\n");

    // Each of the two is inserted before the first given header that sorts after it.
    bool isConnectionWritten = false;
    bool isLengthWritten = false;
    const auto writeOwnBefore = [&](const QByteArray *name) {
        if (!isConnectionWritten && (!name || connectionHeader <= *name)) {
            append(wire, "Connection: keep-alive\r\n");
            isConnectionWritten = true;
        }
        if (!isLengthWritten && (!name || lengthHeader <= *name)) {
            append(wire, "Content-Length: ");
            append(wire, body.size());
            append(wire, "\r\n");
            isLengthWritten = true;
        }
    };
    for (const auto &[name, value] : headers) {
        writeOwnBefore(&name);
        if (name == connectionHeader || name == lengthHeader)
            continue;
        wire.append(name);
        append(wire, ": ");
        wire.append(value);
        append(wire, "\r\n");
    }
    writeOwnBefore(nullptr);

    append(wire, "\r\n");
    wire.append(body);
}

} // namespace Korvane
