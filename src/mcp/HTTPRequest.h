#pragma once

#include <QByteArray>

#include <map>

namespace Korvane {

/// One request as received; only the parser makes them. All strings are UTF-8.
struct HTTPRequest
{
    /// As sent: case kept, nothing decoded, the query string still in the path.
    QByteArray method;
    QByteArray path;
    /// Names in lower case, names and values without spaces and tabs around them. Of two headers
    /// with one name the later counts. Empty when the HeadCheck of the parser returned false.
    std::map<QByteArray, QByteArray> headers;
    /// Exactly `Content-Length` bytes, or none when the HeadCheck of the parser returned false.
    QByteArray body;
};

} // namespace Korvane
