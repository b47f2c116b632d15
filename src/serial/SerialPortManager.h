#pragma once

#include "base/FileDescriptor.h"
#include "base/Lifetime.h"
#include "base/Result.h"
#include "serial/SerialWriter.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QObject>
#include <QSocketNotifier>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

namespace Korvane {

class SerialReader;

/// The board's serial port: lists the ports, opens one as a raw byte pipe, delivers what arrives
/// on the main thread, and writes. Does not interpret the bytes.
///
/// Main thread only. Callbacks run from the event loop. They may close the port, restart reading,
/// change the interceptor, and delete this object.
class SerialPortManager final : public QObject
{
    Q_OBJECT

public:
    /// Where ports are looked for; tests use folders of their own.
    struct Roots
    {
        QString sysfs = QStringLiteral("/sys");
        QString dev = QStringLiteral("/dev");
        /// More ports by path, separated by colons. Those that don't exist are left out.
        QString extraPorts = qEnvironmentVariable("KORVANE_EXTRA_PORTS");
    };
    using DataCallback = std::function<void(const QByteArray &)>;

    explicit SerialPortManager(QObject *parent = nullptr);
    ~SerialPortManager() override;
    SerialPortManager(const SerialPortManager &) = delete;
    SerialPortManager &operator=(const SerialPortManager &) = delete;

    /// The paths of the serial devices of the system, sorted, each once; empty when sysfs cannot be
    /// read.
    [[nodiscard]] static QStringList listPorts(const Roots &roots);
    /// Whether \p path is one of listPorts(), or a link to one.
    [[nodiscard]] static bool isSerialPort(const QString &path, const Roots &roots);
    /// The descriptors of the USB device that a port belongs to; each may be empty.
    struct Identity
    {
        QString manufacturer;
        QString product;
        QString serialNumber;
        friend bool operator==(const Identity &, const Identity &) = default;
    };
    /// Empty for ports that belong to no USB device.
    [[nodiscard]] static Identity identity(const QString &port, const Roots &roots);
    /// The serial number of the USB device that \p port belongs to; empty for other ports and for
    /// devices that have none.
    [[nodiscard]] static QString serialNumber(const QString &port, const Roots &roots);

    /// Opens \p path with 8 data bits, no parity and one stop bit, without echo, line editing,
    /// signals, translation of line ends and software flow control; for this program alone until
    /// close().
    /// \p baudRate is in bits per second; a rate for which termios has no constant leaves the rate
    /// of the port as it is. An error of code `SerialPort` keeps errno and its text: EBUSY for a
    /// port that another program uses, ENOTTY ("Not a serial port") for a path that isSerialPort()
    /// refuses, EBUSY also for the port that is open here. An error leaves everything as it was;
    /// another port that was open is closed once the new one is open.
    [[nodiscard]] Result<void> open(const QString &path, int baudRate, const Roots &roots);

    /// Delivers each chunk that arrives (at most 4096 bytes, in order) to the interceptor set at
    /// that moment, otherwise to \p onData. When the port is lost, after all data, it is closed and
    /// \p onDisconnect called, once. Does nothing while the port is closed; when called again, what
    /// has not been delivered yet is delivered to the new callbacks.
    void startReading(DataCallback onData, std::function<void()> onDisconnect);

    /// Accepts the bytes for writing and returns at once. They are handed to the driver at once
    /// where it has room, otherwise by the event loop, in the order of the calls. False, with
    /// nothing queued, when the port is closed or the driver refuses the write. See writeFailed().
    bool write(QByteArrayView bytes) { return m_writer.write(bytes); }
    /// The same, ahead of what is queued, but never inside the bytes of one call: for Ctrl-C.
    bool writeUrgent(QByteArrayView bytes) { return m_writer.writeUrgent(bytes); }
    /// Drops the queued bytes, also the rest of a call whose first bytes the driver has accepted.
    void discardPendingOutput() { m_writer.discardPending(); }

    /// Ends reading, drops what has not been delivered and what the driver has not sent, closes the
    /// port. Does nothing when closed; keeps the interceptor.
    void close();

    /// There is one interceptor: a second call replaces the first. An empty one clears it.
    void setDataInterceptor(DataCallback interceptor);
    /// How long the driver may accept nothing before writeFailed(); 2 s unless set. For tests.
    void setWriteDrainTimeout(std::chrono::milliseconds timeout)
    {
        m_writer.setStallTimeout(timeout);
    }

    [[nodiscard]] bool isOpen() const { return m_port.isValid(); }
    [[nodiscard]] int fileDescriptor() const { return m_port.get(); }
    [[nodiscard]] bool isReading() const { return m_reader != nullptr; }
    /// Number of accepted bytes that the driver has not taken yet.
    [[nodiscard]] qsizetype pendingBytes() const { return m_writer.pendingBytes(); }

signals:
    /// The driver took nothing for 2 s while something was queued, or refused it. What was queued
    /// has been dropped; the port stays open. Emitted from the event loop.
    void writeFailed(const Korvane::Error &error);

private:
    void deliverWaiting();
    void deliver(const QByteArray &chunk);
    void losePort();

    FileDescriptor m_port;
    SerialWriter m_writer;
    FileDescriptor m_wake;                       // readable while the reader has new chunks
    std::unique_ptr<QSocketNotifier> m_notifier; // watches m_wake
    QTimer m_batchPause; // between two batches, when the board sends faster than is delivered
    std::shared_ptr<SerialReader> m_reader;
    DataCallback m_onData;
    std::function<void()> m_onDisconnect;
    DataCallback m_dataInterceptor;
    Lifetime m_life;
};

} // namespace Korvane
