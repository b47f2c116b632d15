#include "board/RawReplHandshake.h"

#include "serial/SerialPortManager.h"

#include <algorithm>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr QByteArrayView banner("raw REPL");
constexpr QByteArrayView bannerLine("\r\nraw REPL"); // as sent from the friendly prompt
constexpr int maxAttempts = 6;
constexpr auto retryInterval = 300ms;

/// How many bytes at the end of \p bytes may be the beginning of the banner's line.
qsizetype bannerStart(QByteArrayView bytes)
{
    for (const QByteArrayView line : {bannerLine, banner}) {
        for (qsizetype n = std::min(line.size(), bytes.size()); n > 0; --n) {
            if (bytes.last(n) == line.first(n))
                return n;
        }
    }
    return 0;
}

} // namespace

RawReplHandshake::RawReplHandshake(SerialPortManager &serial, QObject *parent)
    : QObject(parent)
    , m_serial(serial)
{
    m_retryTimer.setTimerType(Qt::PreciseTimer);
    m_retryTimer.setInterval(retryInterval);
    connect(&m_retryTimer, &QTimer::timeout, this, &RawReplHandshake::attempt);
}

void RawReplHandshake::start(WhenBusy whenBusy, std::function<void()> onGiveUp,
                             FirstAttempt firstAttempt)
{
    m_whenBusy = whenBusy;
    m_onGiveUp = std::move(onGiveUp);
    m_decoder.reset();
    m_heldBack.clear();
    m_attempts = 0;
    m_isMuted = false;
    m_retryTimer.start();
    if (firstAttempt == FirstAttempt::Now)
        attempt();
    else
        ++m_attempts;
}

RawReplHandshake::Received RawReplHandshake::feed(QByteArrayView chunk)
{
    if (!m_retryTimer.isActive())
        return {};
    QByteArray bytes = takeHeldBack();
    bytes += chunk;
    if (!m_decoder.feed(chunk))
        return {.beforeBanner = bytes};
    const qsizetype found = bytes.indexOf(banner);
    if (found < 0) {
        m_heldBack = bytes.last(bannerStart(bytes));
        bytes.chop(m_heldBack.size());
        return {.beforeBanner = bytes};
    }
    stop();
    bytes.truncate(found);
    if (bytes.endsWith("\r\n"))
        bytes.chop(2);
    return {.hasEntered = true, .beforeBanner = bytes};
}

void RawReplHandshake::stop()
{
    m_retryTimer.stop();
}

void RawReplHandshake::attempt()
{
    if (m_attempts >= maxAttempts) {
        stop();
        const auto giveUp = m_onGiveUp; // a copy, which outlives this object
        giveUp();
        return;
    }
    ++m_attempts;
    if (m_isMuted)
        return;
    if (m_attempts == 2 && m_whenBusy == WhenBusy::Interrupt)
        m_serial.writeUrgent("\x03");
    else
        m_serial.write("\x01");
}

} // namespace Korvane
