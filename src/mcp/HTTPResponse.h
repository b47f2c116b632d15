#pragma once

#include <QByteArray>

#include <map>

namespace Korvane {

/// One response without the headers that every response has, which `appendTo` adds.
struct HTTPResponse
{
    int status = 200;
    /// Names as they are to be written.
    std::map<QByteArray, QByteArray> headers = {};
    QByteArray body = {};

    /// Appends the whole response as it is sent: headers in the byte order of their names, with
    /// `Content-Length` and `Connection` in place of given ones.
    void appendTo(QByteArray &wire) const;
};

} // namespace Korvane
