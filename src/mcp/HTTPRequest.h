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
    /// with one name the later counts. None when the filter of the parser declined the body.
    std::map<QByteArray, QByteArray> headers;
    /// Exactly `Content-Length` bytes, unless the filter of the parser declined the body.
    QByteArray body;
};

} // namespace Korvane
