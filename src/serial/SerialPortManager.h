#pragma once

#include "base/FileDescriptor.h"
#include "base/Lifetime.h"
#include "base/Result.h"

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
    /// Where ports are looked for; tests lay out their own.
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

    /// The serial devices of the system, sorted, each once; empty when sysfs cannot be read.
    [[nodiscard]] static QStringList listPorts(const Roots &roots);
    /// The serial number of the USB device that \p port belongs to; empty for other ports and for
    /// devices that have none.
    [[nodiscard]] static QString serialNumber(const QString &port, const Roots &roots);

    /// Opens \p path as 8-N-1 without any translation, for this program alone until close(). An
    /// error of code `SerialPort` keeps errno (EBUSY for a port that another program uses) and its
    /// text, and leaves everything as it was; a port that was open is closed once the new one is
    /// open.
    [[nodiscard]] Result<void> open(const QString &path, int baudRate);

    /// Delivers each chunk that arrives (at most 4096 bytes, in order) to the interceptor set at
    /// that moment, otherwise to \p onData. When the port is lost, after all data, it is
    /// closed and \p onDisconnect called, once. Does nothing while the port is closed; when called
    /// again, what has not been delivered yet goes to the new callbacks.
    void startReading(DataCallback onData, std::function<void()> onDisconnect);

    /// True when the driver took every byte. Blocks while the driver's queue is full, and gives
    /// up when it takes nothing for writeDrainTimeout.
    bool write(QByteArrayView bytes);

    /// Ends reading, drops what has not been delivered and what the driver has not sent, closes the
    /// port. Does nothing when closed; keeps the interceptor.
    void close();

    /// There is one interceptor: a second call replaces the first. An empty one clears it.
    void setDataInterceptor(DataCallback interceptor);
    /// For tests, which can't wait two seconds for each stall.
    void setWriteDrainTimeout(std::chrono::milliseconds timeout) { m_writeDrainTimeout = timeout; }

    [[nodiscard]] bool isOpen() const { return m_port.isValid(); }
    [[nodiscard]] int fileDescriptor() const { return m_port.get(); }
    [[nodiscard]] bool isReading() const { return m_reader != nullptr; }

private:
    void deliverWaiting();
    void deliver(const QByteArray &chunk);
    void losePort();
    bool waitUntilWritable();

    std::chrono::milliseconds m_writeDrainTimeout{2000};
    FileDescriptor m_port;
    FileDescriptor m_wake;                       // readable while the reader has chunks for us
    std::unique_ptr<QSocketNotifier> m_notifier; // watches m_wake
    QTimer m_batchPause; // between two batches, when the board sends faster than we deliver
    std::shared_ptr<SerialReader> m_reader;
    DataCallback m_onData;
    std::function<void()> m_onDisconnect;
    DataCallback m_dataInterceptor;
    Lifetime m_life;
};

} // namespace Korvane
