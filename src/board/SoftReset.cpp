#include "board/SoftReset.h"

#include "board/DeviceError.h"

#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

/// Every port of MicroPython prints this before it resets.
constexpr QByteArrayView banner("soft reboot");

} // namespace

SoftReset::SoftReset(SerialPortManager &serial, SerialPortManager::DataCallback onData)
    : m_serial(serial)
    , m_onData(std::move(onData))
{
    m_bannerTimeout.setSingleShot(true);
    m_bannerTimeout.setInterval(3s);
    connect(&m_bannerTimeout, &QTimer::timeout, this, [this] { finish(DeviceError::notReset()); });
}

void SoftReset::start()
{
    m_serial.setDataInterceptor([this](const QByteArray &chunk) { take(chunk); });
    m_bannerTimeout.start();
    m_serial.discardPendingOutput();
    m_serial.write("\x03\x03\x02\x04");
}

void SoftReset::abort(Error error)
{
    m_bannerTimeout.stop();
    m_result.deliver(std::move(error));
}

void SoftReset::take(const QByteArray &chunk)
{
    m_bannerSearch += chunk;
    const bool isReset = m_bannerSearch.contains(banner);
    m_bannerSearch = m_bannerSearch.right(banner.size() - 1);
    const auto onData = m_onData; // a copy, which outlives this object
    if (isReset)
        finish({});
    onData(chunk);
}

void SoftReset::finish(Result<void> result)
{
    m_bannerTimeout.stop();
    m_serial.setDataInterceptor({});
    m_result.deliver(std::move(result));
    emit finished();
}

} // namespace Korvane
