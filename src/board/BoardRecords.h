#pragma once

#include <QList>
#include <QString>
#include <QUuid>

#include <cstdio> // stdout and stderr are field names below; the macros must be defined before
#include <optional>
#include <utility>

namespace Korvane {

/// One entry of the board's file tree.
struct DeviceFileNode
{
    QString name;
    /// Absolute on the board, without a slash at the end.
    QString path;
    bool isDirectory = false;
    /// Bytes; 0 when unknown.
    qint64 size = 0;
    /// Present for folders.
    std::optional<QList<DeviceFileNode>> children;
    QUuid id = QUuid::createUuid();
};

/// The result of one program on the board; line ends are "\n".
struct DeviceExecution
{
    /// Everything it printed.
    QString stdout;
    /// The traceback if it raised, otherwise empty.
    QString stderr;

    friend bool operator==(const DeviceExecution &, const DeviceExecution &) = default;
};

/// The state of the link to the board. Only `Connected` counts as connected.
class DeviceConnectionState final
{
public:
    enum class Kind { Disconnected, Connecting, Connected };

    [[nodiscard]] static DeviceConnectionState disconnected() { return {Kind::Disconnected, {}}; }
    [[nodiscard]] static DeviceConnectionState connecting() { return {Kind::Connecting, {}}; }
    [[nodiscard]] static DeviceConnectionState connected(const QString &port)
    {
        return {Kind::Connected, port};
    }

    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] bool isConnected() const { return m_kind == Kind::Connected; }
    /// The serial device path while connected, otherwise empty.
    [[nodiscard]] const QString &port() const { return m_port; }

    friend bool operator==(const DeviceConnectionState &, const DeviceConnectionState &) = default;

private:
    DeviceConnectionState(Kind kind, QString port)
        : m_kind(kind)
        , m_port(std::move(port))
    {
    }

    Kind m_kind;
    QString m_port;
};

} // namespace Korvane
