#pragma once

#include "support/PtyPair.h"
#include "support/TestPort.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace Korvane {

/// A board that is controlled by the test. It has a prompt and a raw REPL that calls onProgram for
/// each program; rules override that. Its port can be slow, split its data, and be unplugged.
class ScriptedBoard final : public QObject
{
    Q_OBJECT

public:
    static constexpr char banner[] = "raw REPL; CTRL-B to exit\r\n>";

    ScriptedBoard();

    /// Not changed when the board is plugged in again.
    [[nodiscard]] QString port() const { return m_port.path(); }

    // Replies
    /// Returns the complete reply to a program in the raw REPL, after "OK". See reply().
    std::function<QByteArray(const QByteArray &program)> onProgram = &answerWithoutFiles;
    /// Replies as a board without files, with no other output.
    [[nodiscard]] static QByteArray answerWithoutFiles(const QByteArray &program)
    {
        return reply(program.contains("__LS__") ? "__LS__[]" : "");
    }
    [[nodiscard]] static QByteArray reply(const QByteArray &output, const QByteArray &error = {})
    {
        return output + '\x04' + error + '\x04' + '>';
    }
    /// Whenever \p expected has arrived, \p answer is sent in place of the reply that the board
    /// would send.
    void on(const QByteArray &expected, const QByteArray &answer);
    /// While mute, the board replies only by rules.
    void setMute(bool isMute) { m_isMute = isMute; }
    void send(const QByteArray &bytes);
    /// Passes input on to the board at \p port and sends its output, in place of own replies: a
    /// connection that can be interrupted at any byte.
    void relayTo(const QString &port);

    // Faults of the port
    void setDelay(std::chrono::milliseconds delay) { m_delay = delay; }
    /// One byte at a time, with a pause.
    void setSplitAtEveryByte(bool isSplit) { m_isSplit = isSplit; }
    void vanishAfterSending(qsizetype bytes) { m_sendsLeft = bytes; }
    void vanishAfterReceiving(qsizetype bytes) { m_receivesLeft = bytes; }
    void vanish();
    void plugIn();
    [[nodiscard]] bool isPluggedIn() const { return m_pty->master() != -1; }

    // Received data
    [[nodiscard]] const QByteArray &received() const { return m_received; }
    /// received() with readable control characters: "^C^C^Aprint(1)^D^B".
    [[nodiscard]] QString transcript() const;
    [[nodiscard]] qsizetype sentBytes() const { return m_sentBytes; }
    void forget() { m_received.clear(); }

private:
    void take();
    void takeByte(char byte);
    void handleByDefault(char byte);
    void pump();

    TestPort m_port;
    std::unique_ptr<PtyPair> m_pty;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QTimer m_pump;
    FileDescriptor m_relay;
    std::unique_ptr<QSocketNotifier> m_relayNotifier;
    std::vector<std::pair<QByteArray, QByteArray>> m_rules;
    std::chrono::milliseconds m_delay{0};
    bool m_isMute = false;
    bool m_isSplit = false;
    bool m_isRaw = false;
    qsizetype m_sendsLeft = -1; // -1: no limit
    qsizetype m_receivesLeft = -1;
    qsizetype m_sentBytes = 0;
    int m_quietPolls = 0;
    QByteArray m_received;
    QByteArray m_unmatched;
    QByteArray m_program;
    QByteArray m_outgoing;
};

} // namespace Korvane
