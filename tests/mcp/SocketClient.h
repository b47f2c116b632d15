#pragma once

#include <QByteArray>
#include <QList>

namespace Korvane {

/// A client of the server under test on a blocking socket, for tests and the threads they start.
/// Nothing blocks for longer than half a minute.
class SocketClient final
{
public:
    SocketClient();
    /// \p receiveBufferBytes: a small one fills soon when nothing is read.
    explicit SocketClient(quint16 port, int receiveBufferBytes = 0,
                          const char *address = "127.0.0.1");
    ~SocketClient();
    SocketClient(const SocketClient &) = delete;
    SocketClient &operator=(const SocketClient &) = delete;

    void connectTo(quint16 port, const char *address = "127.0.0.1");
    [[nodiscard]] bool isConnected() const { return m_isConnected; }
    /// False when the server has closed.
    bool send(const QByteArray &bytes);
    void closeSending();

    /// One whole response, head and body, as it came; empty when the connection ended before.
    QByteArray response();
    /// Only the body of that.
    QByteArray responseBody();
    /// Everything up to the end of the stream.
    QByteArray rest();

private:
    bool receiveMore();

    int m_socket;
    bool m_isConnected = false;
    QByteArray m_received;
};

/// A request with what most tests do not care about.
[[nodiscard]] QByteArray post(const QByteArray &body, const QByteArray &headers = {});

/// This process's descriptors; the one that the list was read through may be among them.
[[nodiscard]] QList<int> openDescriptors();

} // namespace Korvane
