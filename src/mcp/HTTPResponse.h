#pragma once

#include <QByteArray>

#include <map>

namespace Korvane {

/// An answer as its maker sees it; what every answer carries is added on writing.
struct HTTPResponse
{
    int status = 200;
    /// Names as they are to be written.
    std::map<QByteArray, QByteArray> headers = {};
    QByteArray body = {};

    /// Appends the whole answer as it goes over the wire: headers in the byte order of their
    /// names, `Content-Length` and `Connection` among them whatever the maker gave for these.
    void appendTo(QByteArray &wire) const;
};

} // namespace Korvane
