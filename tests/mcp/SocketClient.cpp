#include "mcp/SocketClient.h"

#include <QDir>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace Korvane {

SocketClient::SocketClient()
    : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const timeval patience{30, 0};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
}

SocketClient::SocketClient(quint16 port, int receiveBufferBytes, const char *address)
    : SocketClient()
{
    if (receiveBufferBytes > 0)
        setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &receiveBufferBytes, sizeof receiveBufferBytes);
    connectTo(port, address);
}

void SocketClient::connectTo(quint16 port, const char *address)
{
    sockaddr_in target = {};
    target.sin_family = AF_INET;
    target.sin_port = htons(port);
    inet_pton(AF_INET, address, &target.sin_addr);
    m_isConnected =
        ::connect(m_socket, reinterpret_cast<const sockaddr *>(&target), sizeof target) == 0;
}

SocketClient::~SocketClient()
{
    ::close(m_socket);
}

bool SocketClient::send(const QByteArray &bytes)
{
    for (qsizetype sent = 0; sent < bytes.size();) {
        const auto count =
            ::send(m_socket, bytes.constData() + sent, size_t(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        sent += count;
    }
    return true;
}

void SocketClient::closeSending()
{
    ::shutdown(m_socket, SHUT_WR);
}

QByteArray SocketClient::response()
{
    for (;;) {
        if (const auto headEnd = m_received.indexOf("\r\n\r\n"); headEnd >= 0) {
            const auto start = m_received.indexOf("Content-Length: ") + 16;
            const auto length = m_received.mid(start, m_received.indexOf("\r\n", start) - start);
            const auto end = headEnd + 4 + length.toLongLong();
            if (m_received.size() >= end) {
                const QByteArray response = m_received.first(end);
                m_received.remove(0, end);
                return response;
            }
        }
        if (!receiveMore())
            return {};
    }
}

QByteArray SocketClient::responseBody()
{
    const QByteArray whole = response();
    return whole.mid(whole.indexOf("\r\n\r\n") + 4);
}

QByteArray SocketClient::rest()
{
    while (receiveMore()) { }
    return std::exchange(m_received, {});
}

bool SocketClient::receiveMore()
{
    char buffer[64 * 1024];
    const auto count = ::recv(m_socket, buffer, sizeof buffer, 0);
    if (count > 0)
        m_received.append(buffer, count);
    return count > 0;
}

QByteArray post(const QByteArray &body, const QByteArray &headers)
{
    return "POST /mcp HTTP/1.1\r\n" + headers + "Content-Length: " + QByteArray::number(body.size())
        + "\r\n\r\n" + body;
}

QList<int> openDescriptors()
{
    QList<int> descriptors;
    for (const QString &name : QDir(QStringLiteral("/proc/self/fd")).entryList())
        descriptors += name.toInt();
    return descriptors;
}

} // namespace Korvane
