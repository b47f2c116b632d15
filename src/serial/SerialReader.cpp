#include "serial/SerialReader.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace Korvane {

namespace {

constexpr std::size_t maxReadBytes = 4096;
constexpr qsizetype maxQueuedBytes = qsizetype(1) << 20;
constexpr short hangUpEvents = POLLHUP | POLLERR | POLLNVAL;
constexpr int emptyReadPauseMilliseconds = 10;

/// The bytes that a chunk counts for in the queue. Includes the overhead of its memory, which is
/// larger than the chunk when the board sends single bytes.
qsizetype weight(const QByteArray &chunk)
{
    constexpr qsizetype overheadBytes = 64;
    return chunk.size() + overheadBytes;
}

/// Whether the node of the open device has been removed from the file system.
bool isNodeRemoved(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) != 0 || status.st_nlink == 0;
}

} // namespace

SerialReader::SerialReader(int portDescriptor, int wakeDescriptor, Chunks earlier)
    : m_portDescriptor(portDescriptor)
    , m_wakeDescriptor(wakeDescriptor)
    , m_stopDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_chunks(std::move(earlier))
{
    for (const QByteArray &chunk : m_chunks)
        m_queuedBytes += weight(chunk);
}

SerialReader::~SerialReader()
{
    stop();
}

bool SerialReader::start()
{
    const std::lock_guard lock(m_mutex);
    if (m_stopDescriptor.isValid() && m_wakeDescriptor != -1) {
        try {
            m_thread = std::thread(&SerialReader::run, this);
        } catch (const std::system_error &) {
            m_isLost = true;
        }
    } else {
        m_isLost = true;
    }
    if (!m_chunks.empty())
        signalLocked();
    return !m_isLost;
}

SerialReader::Chunks SerialReader::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_hasRoom.notify_all();
    if (m_thread.joinable()) {
        ::eventfd_write(m_stopDescriptor.get(), 1);
        m_thread.join();
    }
    m_queuedBytes = 0;
    return std::exchange(m_chunks, {});
}

void SerialReader::acknowledge()
{
    const std::lock_guard lock(m_mutex);
    eventfd_t count = 0;
    ::eventfd_read(m_wakeDescriptor, &count);
    m_isSignaled = false;
}

QByteArray SerialReader::takeChunk()
{
    QByteArray chunk;
    {
        const std::lock_guard lock(m_mutex);
        if (m_chunks.empty())
            return chunk;
        chunk = std::move(m_chunks.front());
        m_chunks.pop_front();
        m_queuedBytes -= weight(chunk);
    }
    m_hasRoom.notify_one();
    return chunk;
}

bool SerialReader::isAtEnd()
{
    const std::lock_guard lock(m_mutex);
    return m_isLost && m_chunks.empty();
}

void SerialReader::run()
{
    std::array<pollfd, 2> waits{
        {{m_portDescriptor, POLLIN, 0}, {m_stopDescriptor.get(), POLLIN, 0}}};
    while (true) {
        const int ready = ::poll(waits.data(), waits.size(), -1);
        if (ready < 0 && errno == EINTR)
            continue;
        if (waits[1].revents != 0)
            return;
        if (ready < 0) { // without poll() nothing can be read
            const std::lock_guard lock(m_mutex);
            m_isLost = true;
            signalLocked();
            return;
        }
        if (waits[0].revents == 0)
            continue;
        const ReadOutcome outcome = readOnce(waits[0].revents);
        if (outcome == ReadOutcome::Ended)
            return;
        // A device that is always readable and always empty must not keep the processor busy.
        if (outcome == ReadOutcome::Empty)
            ::poll(&waits[1], 1, emptyReadPauseMilliseconds);
    }
}

SerialReader::ReadOutcome SerialReader::readOnce(short events)
{
    std::array<char, maxReadBytes> buffer;
    const ssize_t count = ::read(m_portDescriptor, buffer.data(), buffer.size());
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return ReadOutcome::Continue;
    // VMIN is 0, so a read returns 0 also when another process took the bytes, or when the line
    // discipline took them for an end of file.
    const bool isHungUp = (events & hangUpEvents) != 0;
    if (count == 0 && !isHungUp && !isNodeRemoved(m_portDescriptor))
        return ReadOutcome::Empty;

    std::unique_lock lock(m_mutex);
    if (count <= 0) {
        m_isLost = true;
        signalLocked();
        return ReadOutcome::Ended;
    }
    m_hasRoom.wait(lock, [this] { return m_isStopping || m_queuedBytes < maxQueuedBytes; });
    QByteArray chunk(buffer.data(), count);
    m_queuedBytes += weight(chunk);
    // Also while stopping: stop() returns it for the next reader.
    m_chunks.push_back(std::move(chunk));
    signalLocked();
    return m_isStopping ? ReadOutcome::Ended : ReadOutcome::Continue;
}

void SerialReader::signalLocked()
{
    if (std::exchange(m_isSignaled, true) || m_wakeDescriptor == -1)
        return;
    ::eventfd_write(m_wakeDescriptor, 1);
}

} // namespace Korvane
