#pragma once

#include "base/Error.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <deque>

namespace Korvane {

/// The output queue of a serial port, drained by the event loop; nothing here blocks. The bytes of
/// one call are one item: items are written whole and in order, urgent ones before the others.
///
/// When the driver accepts nothing for the stall timeout while something is queued, or refuses
/// queued bytes, the queue is dropped and failed() emitted. What the driver has accepted before
/// stays written. Main thread only.
class SerialWriter final : public QObject
{
    Q_OBJECT

public:
    explicit SerialWriter(QObject *parent = nullptr);

    /// Writes to \p descriptor from now on, which is borrowed, non-blocking, and must stay open
    /// until stop().
    void start(int descriptor);
    /// Drops what is queued. Nothing is emitted.
    void stop();

    /// Hands the bytes to the driver at once where it accepts them, and queues the rest. False when
    /// stopped, or when the driver refuses the write; then nothing is queued.
    bool write(QByteArrayView bytes);
    /// The same, ahead of all items that have not been begun, after other urgent ones.
    bool writeUrgent(QByteArrayView bytes);
    /// Drops what the driver has not accepted, also the rest of an item that has been begun.
    void discardPending();

    /// Number of bytes that the driver has not accepted yet.
    [[nodiscard]] qsizetype pendingBytes() const { return m_pendingBytes; }
    void setStallTimeout(std::chrono::milliseconds timeout) { m_stallTimeout = timeout; }

signals:
    /// See above. Emitted from the event loop; discardPending() has been called.
    void failed(const Korvane::Error &error);

private:
    enum class OnStall { KeepWaiting, Fail };

    bool enqueue(std::deque<QByteArray> &queue, QByteArrayView bytes);
    /// Writes what the driver accepts. Returns 0 or the errno of a refusal.
    int handOver();
    void drain(OnStall onStall);
    void fail(const Error &error);

    int m_descriptor = -1;
    std::chrono::milliseconds m_stallTimeout{2000};
    QByteArray m_current; // the item that has been begun
    qsizetype m_offset = 0;
    std::deque<QByteArray> m_urgent;
    std::deque<QByteArray> m_items;
    qsizetype m_pendingBytes = 0;
    QSocketNotifier *m_notifier = nullptr; // enabled while something is queued
    QTimer m_stallTimer; // runs while something is queued; restarted when bytes are accepted
};

} // namespace Korvane
