#include "board/RawPasteSender.h"

#include "serial/SerialPortManager.h"

#include <chrono>
#include <utility>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

/// A board without raw-paste mode only shows the raw REPL's banner again.
constexpr auto longestWaitForAnswer = 1s;
constexpr auto longestWaitForWindow = 5s;

} // namespace

RawPasteSender::RawPasteSender(SerialPortManager &serial, RawPaste::Support &support)
    : m_serial(serial)
    , m_support(support)
{
    m_responseTimeout.setSingleShot(true);
    connect(&m_responseTimeout, &QTimer::timeout, this, &RawPasteSender::timeOut);
}

bool RawPasteSender::isFor(const QByteArray &program) const
{
    return program.size() >= RawPaste::smallestProgram && m_support != RawPaste::Support::Missing;
}

void RawPasteSender::start(const QByteArray &program, Events events)
{
    m_paste.emplace(program);
    m_events = std::move(events);
    m_serial.write(RawPaste::request.toByteArray());
    m_responseTimeout.start(longestWaitForAnswer);
}

std::optional<QByteArray> RawPasteSender::feed(QByteArrayView chunk)
{
    if (!m_paste)
        return std::nullopt;
    const RawPaste::Step step = m_paste->feed(chunk);
    if (!step.write.isEmpty())
        m_serial.write(step.write);
    switch (m_paste->state()) {
    case RawPaste::State::Asking:
        break;
    case RawPaste::State::Refused:
        refuse();
        break;
    case RawPaste::State::Sending:
        m_support = RawPaste::Support::Offered;
        m_responseTimeout.start(longestWaitForWindow);
        m_events.onSent(m_paste->sentBytes());
        break;
    case RawPaste::State::Ended:
        stop();
        return step.output;
    }
    return std::nullopt;
}

void RawPasteSender::stop()
{
    m_responseTimeout.stop();
    m_paste.reset();
}

void RawPasteSender::timeOut()
{
    if (m_paste && m_paste->state() == RawPaste::State::Asking) {
        refuse();
        return;
    }
    stop();
    const auto onStalled = m_events.onStalled; // a copy, which outlives this object
    onStalled();
}

void RawPasteSender::refuse()
{
    m_support = RawPaste::Support::Missing;
    stop();
    const auto onRefused = m_events.onRefused; // a copy, as above
    onRefused();
}

} // namespace Korvane
