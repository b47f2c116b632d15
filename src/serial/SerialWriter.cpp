#include "serial/SerialWriter.h"

#include "base/SystemError.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

SerialWriter::SerialWriter(QObject *parent)
    : QObject(parent)
{
    m_stallTimer.setSingleShot(true);
    // Tries once more: the driver may have room, and the event loop was too busy to report it.
    connect(&m_stallTimer, &QTimer::timeout, this, [this] { drain(OnStall::Fail); });
}

void SerialWriter::start(int descriptor)
{
    stop();
    m_descriptor = descriptor;
    m_notifier = new QSocketNotifier(descriptor, QSocketNotifier::Write, this);
    m_notifier->setEnabled(false);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { drain(OnStall::KeepWaiting); });
}

void SerialWriter::stop()
{
    discardPending();
    // Later, since this may be called by a slot of failed().
    if (QSocketNotifier *notifier = std::exchange(m_notifier, nullptr))
        notifier->deleteLater();
    m_descriptor = -1;
}

bool SerialWriter::write(QByteArrayView bytes)
{
    return enqueue(m_items, bytes);
}

bool SerialWriter::writeUrgent(QByteArrayView bytes)
{
    return enqueue(m_urgent, bytes);
}

void SerialWriter::discardPending()
{
    m_current.clear();
    m_offset = 0;
    m_urgent.clear();
    m_items.clear();
    m_pendingBytes = 0;
    m_stallTimer.stop();
    if (m_notifier)
        m_notifier->setEnabled(false);
}

bool SerialWriter::enqueue(std::deque<QByteArray> &queue, QByteArrayView bytes)
{
    if (m_descriptor == -1)
        return false;
    if (bytes.isEmpty())
        return true;
    const bool wasEmpty = m_pendingBytes == 0;
    queue.push_back(bytes.toByteArray());
    m_pendingBytes += bytes.size();
    if (!wasEmpty)
        return true;
    if (handOver() != 0) {
        discardPending();
        return false;
    }
    if (m_pendingBytes > 0) {
        m_notifier->setEnabled(true);
        m_stallTimer.start(m_stallTimeout);
    }
    return true;
}

int SerialWriter::handOver()
{
    while (m_pendingBytes > 0) {
        if (m_offset == m_current.size()) {
            std::deque<QByteArray> &queue = m_urgent.empty() ? m_items : m_urgent;
            m_current = std::move(queue.front());
            queue.pop_front();
            m_offset = 0;
        }
        const auto rest = QByteArrayView(m_current).sliced(m_offset);
        const ssize_t count =
            ::write(m_descriptor, rest.data(), static_cast<std::size_t>(rest.size()));
        if (count < 0 && errno != EAGAIN && errno != EINTR)
            return errno;
        // The rest is written when the driver reports room: with a fast reader on the other side of
        // a pseudo-terminal this loop might never end.
        if (count > 0) {
            m_offset += count;
            m_pendingBytes -= count;
            m_stallTimer.start(m_stallTimeout);
        }
        if (count < rest.size())
            return 0;
    }
    m_current.clear();
    m_offset = 0;
    m_stallTimer.stop();
    return 0;
}

void SerialWriter::drain(OnStall onStall)
{
    const qsizetype before = m_pendingBytes;
    if (before == 0)
        return;
    if (const int code = handOver(); code != 0) {
        fail({ErrorCode::SerialPort, systemErrorText(code), {}, code});
    } else if (m_pendingBytes == 0) {
        m_notifier->setEnabled(false);
    } else if (m_pendingBytes == before && onStall == OnStall::Fail) {
        fail({ErrorCode::SerialPort,
              QStringLiteral("The board has accepted no data for %1 s")
                  .arg(std::chrono::duration<double>(m_stallTimeout).count()),
              {},
              ETIMEDOUT});
    }
}

void SerialWriter::fail(const Error &error)
{
    discardPending();
    emit failed(error);
}

} // namespace Korvane
