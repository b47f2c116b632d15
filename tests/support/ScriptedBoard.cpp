#include "support/ScriptedBoard.h"

#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

ScriptedBoard::ScriptedBoard()
{
    m_pump.setTimerType(Qt::PreciseTimer);
    connect(&m_pump, &QTimer::timeout, this, &ScriptedBoard::pump);
    plugIn();
}

void ScriptedBoard::on(const QByteArray &expected, const QByteArray &answer)
{
    m_rules.emplace_back(expected, answer);
}

void ScriptedBoard::send(const QByteArray &bytes)
{
    if (m_delay == 0ms) {
        m_outgoing += bytes;
        pump();
        return;
    }
    QTimer::singleShot(m_delay, this, [this, bytes] {
        m_outgoing += bytes;
        pump();
    });
}

void ScriptedBoard::vanish()
{
    m_pump.stop();
    m_outgoing.clear();
    m_notifier.reset();
    m_pty->closeMaster();
}

void ScriptedBoard::plugIn()
{
    m_pty = std::make_unique<PtyPair>();
    m_notifier = std::make_unique<QSocketNotifier>(m_pty->master(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] { take(); });
    m_isRaw = false;
    m_sendsLeft = m_receivesLeft = -1;
    m_sentBytes = 0;
    m_program.clear();
    m_port.linkTo(m_pty->slavePath());
}

void ScriptedBoard::relayTo(const QString &port)
{
    m_isMute = true;
    m_relay.reset(::open(qPrintable(port), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    termios raw{};
    ::tcgetattr(m_relay.get(), &raw);
    ::cfmakeraw(&raw);
    ::tcsetattr(m_relay.get(), TCSANOW, &raw);
    m_relayNotifier = std::make_unique<QSocketNotifier>(m_relay.get(), QSocketNotifier::Read);
    connect(m_relayNotifier.get(), &QSocketNotifier::activated, this, [this] {
        QByteArray bytes(4096, '\0');
        bytes.truncate(std::max<ssize_t>(0, ::read(m_relay.get(), bytes.data(), 4096)));
        send(bytes);
    });
}

QString ScriptedBoard::transcript() const
{
    QString text;
    for (const char byte : m_received) {
        if (byte >= 0 && byte < 0x20 && byte != '\n')
            text += u'^' + QChar(byte + '@');
        else
            text += QChar::fromLatin1(byte);
    }
    return text;
}

void ScriptedBoard::take()
{
    QByteArray bytes = m_pty->read();
    if (m_receivesLeft >= 0) {
        bytes.truncate(m_receivesLeft);
        m_receivesLeft -= bytes.size();
    }
    for (const char byte : bytes) {
        while (m_relay.isValid() && ::write(m_relay.get(), &byte, 1) != 1) { }
        takeByte(byte);
    }
    if (m_receivesLeft == 0)
        vanish();
}

void ScriptedBoard::takeByte(char byte)
{
    m_received += byte;
    m_unmatched += byte;
    for (const auto &[expected, answer] : m_rules) {
        if (m_unmatched.endsWith(expected)) {
            m_unmatched.clear();
            send(answer);
            return;
        }
    }
    if (!m_isMute)
        handleByDefault(byte);
}

void ScriptedBoard::handleByDefault(char byte)
{
    const QByteArray program = m_program;
    if (byte > 0x04) {
        m_program += byte;
        return;
    }
    m_program.clear();
    switch (byte) {
    case 0x01:
        m_isRaw = true;
        send(banner);
        break;
    case 0x02:
        m_isRaw = false;
        send("\r\nMicroPython\r\n>>> ");
        break;
    case 0x03:
        send(m_isRaw ? "" : "\r\n>>> ");
        break;
    case 0x04:
        send(m_isRaw ? "OK" + onProgram(program) : "\r\nMPY: soft reboot\r\n>>> ");
        break;
    default:
        m_program = program + byte; // the bytes of a character
        break;
    }
}

void ScriptedBoard::pump()
{
    if (m_pty->master() == -1) {
        m_outgoing.clear();
        m_pump.stop();
        return;
    }
    qsizetype most = m_isSplit ? 1 : m_outgoing.size();
    if (m_sendsLeft >= 0)
        most = qMin(most, m_sendsLeft);
    // One byte must arrive before the next is sent, and all bytes before the port vanishes. The
    // system passes bytes on with a delay: they have arrived when no more follow for some polls.
    if (m_isSplit || m_sendsLeft == 0) {
        m_quietPolls = m_pty->unreadBytes() > 0 ? 0 : m_quietPolls + 1;
        if (m_quietPolls < (m_sendsLeft == 0 ? 10 : 1)) {
            m_pump.start(1ms);
            return;
        }
    }
    m_quietPolls = 0;
    if (m_sendsLeft == 0) {
        vanish();
        return;
    }
    const qsizetype written = m_pty->write(QByteArrayView(m_outgoing).first(most));
    m_outgoing.remove(0, written);
    m_sentBytes += written;
    if (m_sendsLeft > 0)
        m_sendsLeft -= written;
    if (m_outgoing.isEmpty() && m_sendsLeft != 0)
        m_pump.stop();
    else
        m_pump.start(1ms);
}

} // namespace Korvane
