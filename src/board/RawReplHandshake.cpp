#include "board/RawReplHandshake.h"

#include "serial/SerialPortManager.h"

#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr int maxAttempts = 6;
constexpr auto retryInterval = 300ms;

} // namespace

RawReplHandshake::RawReplHandshake(SerialPortManager &serial, QObject *parent)
    : QObject(parent)
    , m_serial(serial)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(retryInterval);
    connect(&m_timer, &QTimer::timeout, this, &RawReplHandshake::step);
}

void RawReplHandshake::start(std::function<bool()> isReady, std::function<void()> onGiveUp)
{
    m_isReady = std::move(isReady);
    m_onGiveUp = std::move(onGiveUp);
    m_attempts = 0;
    m_isMuted = false;
    m_timer.start();
    step();
}

void RawReplHandshake::stop()
{
    m_timer.stop();
}

void RawReplHandshake::step()
{
    if (m_isReady()) {
        stop();
        return;
    }
    if (m_attempts >= maxAttempts) {
        stop();
        const auto giveUp = m_onGiveUp; // a copy, which outlives this object
        giveUp();
        return;
    }
    ++m_attempts;
    if (!m_isMuted)
        m_serial.write("\x01");
}

} // namespace Korvane
