#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

// A client of the server under test on a blocking socket, for tests and the threads they start.
// Nothing blocks for longer than half a minute.

namespace Korvane {

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
    /// Everything up to the end of the stream.
    QByteArray rest();

private:
    bool receiveMore();

    int m_socket;
    bool m_isConnected = false;
    QByteArray m_received;
};

/// A request with what most tests do not care about.
[[nodiscard]] QByteArray post(const QByteArray &body, const QByteArray &headers = {},
                              const QByteArray &path = "/mcp");
[[nodiscard]] QByteArray bodyOf(const QByteArray &response);

/// This process's descriptors, sorted; the one that the list was read through may be among them.
[[nodiscard]] QList<int> openDescriptors();
/// The socket of this process that listens on \p port; -1 when none does.
[[nodiscard]] int listenerOn(quint16 port);
/// A port that nobody listens on just now.
[[nodiscard]] quint16 freePort();

} // namespace Korvane
