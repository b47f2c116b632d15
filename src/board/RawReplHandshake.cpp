#include "board/RawReplHandshake.h"

#include "serial/SerialPortManager.h"

#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr QLatin1String banner("raw REPL");
constexpr int maxAttempts = 6;
constexpr auto retryInterval = 300ms;

} // namespace

RawReplHandshake::RawReplHandshake(SerialPortManager &serial, QObject *parent)
    : QObject(parent)
    , m_serial(serial)
{
    m_retryTimer.setTimerType(Qt::PreciseTimer);
    m_retryTimer.setInterval(retryInterval);
    connect(&m_retryTimer, &QTimer::timeout, this, &RawReplHandshake::attempt);
}

void RawReplHandshake::start(std::function<void()> onEntered, std::function<void()> onGiveUp)
{
    m_onEntered = std::move(onEntered);
    m_onGiveUp = std::move(onGiveUp);
    m_decoder.reset();
    m_bannerSearch.clear();
    m_attempts = 0;
    m_isMuted = false;
    m_retryTimer.start();
    attempt();
}

void RawReplHandshake::feed(QByteArrayView chunk)
{
    if (!m_retryTimer.isActive())
        return;
    const std::optional<QString> text = m_decoder.feed(chunk);
    if (!text)
        return;
    m_bannerSearch += *text;
    if (m_bannerSearch.contains(banner))
        end(m_onEntered);
    else
        m_bannerSearch = m_bannerSearch.right(banner.size() - 1);
}

void RawReplHandshake::stop()
{
    m_retryTimer.stop();
}

void RawReplHandshake::attempt()
{
    if (m_attempts >= maxAttempts) {
        end(m_onGiveUp);
        return;
    }
    ++m_attempts;
    if (!m_isMuted)
        m_serial.write("\x01");
}

void RawReplHandshake::end(const std::function<void()> &callback)
{
    stop();
    const auto call = callback; // a copy, which outlives this object
    call();
}

} // namespace Korvane
