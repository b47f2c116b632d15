#include "mcp/SocketClient.h"

#include <QDir>

#include <algorithm>
#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace Korvane {

namespace {

sockaddr_in addressOf(const char *address, quint16 port)
{
    sockaddr_in result = {};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    inet_pton(AF_INET, address, &result.sin_addr);
    return result;
}

quint16 portOf(int socket)
{
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    const bool isKnown = getsockname(socket, reinterpret_cast<sockaddr *>(&address), &length) == 0;
    return isKnown && address.sin_family == AF_INET ? ntohs(address.sin_port) : quint16(0);
}

} // namespace

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
    const sockaddr_in target = addressOf(address, port);
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
    qsizetype headEnd = 0;
    while ((headEnd = m_received.indexOf("\r\n\r\n")) < 0) {
        if (!receiveMore())
            return {};
    }
    const auto lengthStart = m_received.indexOf("Content-Length: ") + 16;
    const auto lengthEnd = m_received.indexOf("\r\n", lengthStart);
    const auto end =
        headEnd + 4 + m_received.mid(lengthStart, lengthEnd - lengthStart).toLongLong();
    while (m_received.size() < end) {
        if (!receiveMore())
            return {};
    }
    QByteArray response = m_received.first(end);
    m_received.remove(0, end);
    return response;
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

QByteArray post(const QByteArray &body, const QByteArray &headers, const QByteArray &path)
{
    return "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + headers
        + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray bodyOf(const QByteArray &response)
{
    const auto end = response.indexOf("\r\n\r\n");
    return end < 0 ? QByteArray() : response.mid(end + 4);
}

QList<int> openDescriptors()
{
    QList<int> descriptors;
    for (const QString &name : QDir(QStringLiteral("/proc/self/fd")).entryList())
        descriptors += name.toInt();
    std::sort(descriptors.begin(), descriptors.end());
    return descriptors;
}

int listenerOn(quint16 port)
{
    for (const int descriptor : openDescriptors()) {
        int isListening = 0;
        socklen_t length = sizeof isListening;
        if (getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &length) == 0
            && isListening && portOf(descriptor) == port)
            return descriptor;
    }
    return -1;
}

quint16 freePort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in any = addressOf("127.0.0.1", 0);
    quint16 port = 0;
    if (::bind(socket, reinterpret_cast<const sockaddr *>(&any), sizeof any) == 0)
        port = portOf(socket);
    ::close(socket);
    return port;
}

} // namespace Korvane
