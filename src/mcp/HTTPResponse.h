#pragma once

#include <QByteArray>

#include <map>

namespace Korvane {

/// One answer, without the headers that every answer has; writing adds those.
struct HTTPResponse
{
    int status = 200;
    /// Names as they are to be written.
    std::map<QByteArray, QByteArray> headers = {};
    QByteArray body = {};

    /// Appends the whole answer as it is sent: headers in the byte order of their names, with
    /// `Content-Length` and `Connection` in place of given ones.
    void appendTo(QByteArray &wire) const;
};

} // namespace Korvane
