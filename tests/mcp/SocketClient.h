#pragma once

#include <QByteArray>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace Korvane {

/// A client of the tested server on a blocking socket. Each operation times out after 30 seconds.
class SocketClient final
{
public:
    SocketClient()
    {
        const timeval timeout{30, 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        ::setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    }
    explicit SocketClient(quint16 port)
        : SocketClient()
    {
        connectTo(port);
    }
    ~SocketClient() { ::close(m_socket); }
    SocketClient(const SocketClient &) = delete;
    SocketClient &operator=(const SocketClient &) = delete;

    bool connectTo(quint16 port, const char *address = "127.0.0.1")
    {
        sockaddr_in target = {};
        target.sin_family = AF_INET;
        target.sin_port = htons(port);
        inet_pton(AF_INET, address, &target.sin_addr);
        return ::connect(m_socket, reinterpret_cast<sockaddr *>(&target), sizeof target) == 0;
    }
    /// False when the server has closed.
    bool send(const QByteArray &bytes)
    {
        for (qsizetype sent = 0; sent < bytes.size();) {
            const auto left = size_t(bytes.size() - sent);
            const auto count = ::send(m_socket, bytes.constData() + sent, left, MSG_NOSIGNAL);
            if (count <= 0)
                return false;
            sent += count;
        }
        return true;
    }

    /// One complete response, head and body; empty when the connection ended before.
    QByteArray response()
    {
        do {
            const auto headEnd = m_received.indexOf("\r\n\r\n");
            if (headEnd < 0)
                continue;
            const auto start = m_received.indexOf("Content-Length: ") + 16;
            const auto length = m_received.mid(start, m_received.indexOf("\r\n", start) - start);
            const auto end = headEnd + 4 + length.toLongLong();
            if (m_received.size() >= end) {
                const QByteArray response = m_received.first(end);
                m_received.remove(0, end);
                return response;
            }
        } while (receiveMore());
        return {};
    }
    /// The body of the next response.
    QByteArray body()
    {
        const QByteArray whole = response();
        return whole.mid(whole.indexOf("\r\n\r\n") + 4);
    }
    /// Everything up to the end of the stream.
    QByteArray rest()
    {
        while (receiveMore()) { }
        return std::exchange(m_received, {});
    }

private:
    bool receiveMore()
    {
        char buffer[64 * 1024];
        const auto count = ::recv(m_socket, buffer, sizeof buffer, 0);
        if (count > 0)
            m_received.append(buffer, count);
        return count > 0;
    }

    const int m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QByteArray m_received;
};

/// A POST request for /mcp.
inline QByteArray post(const QByteArray &body, const QByteArray &headers = {})
{
    return "POST /mcp HTTP/1.1\r\n" + headers + "Content-Length: " + QByteArray::number(body.size())
        + "\r\n\r\n" + body;
}

} // namespace Korvane
