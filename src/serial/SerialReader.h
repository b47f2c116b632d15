#pragma once

#include "base/FileDescriptor.h"

#include <QByteArray>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace Korvane {

/// Reads a serial port on a thread of its own and queues the chunks for the main thread. All public
/// functions are for the main thread.
///
/// The queue is bounded: when it is full the thread stops reading, the driver's buffer fills, and
/// flow control stops the board. New chunks are announced by an eventfd that becomes readable, not
/// by posted events: Qt delivers all posted events before anything else, so a board that prints
/// without end would block all other events.
///
/// The port is lost when it is hung up (POLLHUP, EIO and other errors) or when its device node has
/// been removed. A read of 0 bytes alone is not a loss.
class SerialReader final
{
public:
    using Chunks = std::deque<QByteArray>;

    /// Borrows both descriptors, which must stay open until stop(). \p earlier is what a previous
    /// reader of the same port left undelivered; it is delivered first.
    SerialReader(int portDescriptor, int wakeDescriptor, Chunks earlier);
    ~SerialReader();
    SerialReader(const SerialReader &) = delete;
    SerialReader &operator=(const SerialReader &) = delete;

    /// False when the system has no thread or descriptor left: the port then counts as lost.
    [[nodiscard]] bool start();
    /// Ends the thread and returns the chunks that were not taken; takeChunk() then has none.
    Chunks stop();

    /// Resets the wake descriptor until the next chunk is queued. Call it before takeChunk().
    void acknowledge();
    /// The oldest chunk, or an empty one when all have been taken.
    [[nodiscard]] QByteArray takeChunk();
    /// The port is lost, and every chunk read before that has been taken.
    [[nodiscard]] bool isAtEnd();

private:
    enum class ReadOutcome { Continue, Empty, Ended };

    void run();
    /// One read after poll() has returned \p events. `Ended`: the thread has to end.
    ReadOutcome readOnce(short events);
    void signalLocked();

    const int m_portDescriptor;
    const int m_wakeDescriptor;
    FileDescriptor m_stopDescriptor;

    std::mutex m_mutex; // guards all that follows, except m_thread
    std::condition_variable m_hasRoom;
    Chunks m_chunks;
    qsizetype m_queuedBytes = 0;
    bool m_isSignaled = false;
    bool m_isStopping = false;
    bool m_isLost = false;

    std::thread m_thread;
};

} // namespace Korvane
