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

/// A board that does what the test says. By itself it has a prompt and a raw REPL that answers
/// each program as told; rules override that; and its line can be slow, damaged, stuck or pulled.
class ScriptedBoard final : public QObject
{
    Q_OBJECT

public:
    static constexpr char banner[] = "raw REPL; CTRL-B to exit\r\n>";

    ScriptedBoard();

    /// Not changed when the board is plugged in again.
    [[nodiscard]] QString port() const { return m_port.path(); }
    [[nodiscard]] PtyPair &line() { return *m_line; }

    // What it answers
    /// The whole answer to a program in the raw REPL, after "OK". See reply().
    std::function<QByteArray(const QByteArray &program)> onProgram = &answerWithoutFiles;
    /// A board that has no files and says nothing.
    [[nodiscard]] static QByteArray answerWithoutFiles(const QByteArray &program)
    {
        return reply(program.contains("__LS__") ? "__LS__[]" : "");
    }
    [[nodiscard]] static QByteArray reply(const QByteArray &output, const QByteArray &error = {})
    {
        return output + '\x04' + error + '\x04' + '>';
    }
    /// Whenever \p expected has arrived, \p answer is sent in place of what the board does by
    /// itself.
    void on(const QByteArray &expected, const QByteArray &answer);
    /// Only rules are answered from now on.
    void setMute(bool isMute) { m_isMute = isMute; }
    void send(const QByteArray &bytes);
    /// Passes everything on to the board at \p port, and what that says back, in place of answers
    /// of its own: a cable that can be damaged and pulled.
    void relayTo(const QString &port);

    // What is wrong with its line
    void setDelay(std::chrono::milliseconds delay) { m_delay = delay; }
    /// One byte at a time, with a pause.
    void setSplitAtEveryByte(bool isSplit) { m_isSplit = isSplit; }
    void vanishAfterSending(qsizetype bytes) { m_sendsLeft = bytes; }
    void vanishAfterReceiving(qsizetype bytes) { m_receivesLeft = bytes; }
    void vanish();
    void plugIn();
    [[nodiscard]] bool isPluggedIn() const { return m_line->master() != -1; }

    // What it has seen
    [[nodiscard]] const QByteArray &received() const { return m_received; }
    /// The same for people: "^C^C^Aprint(1)^D^B".
    [[nodiscard]] QString transcript() const;
    [[nodiscard]] qsizetype sentBytes() const { return m_sentBytes; }
    void forget() { m_received.clear(); }

private:
    void take();
    void takeByte(char byte);
    void takeByItself(char byte);
    void pump();

    TestPort m_port;
    std::unique_ptr<PtyPair> m_line;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QTimer m_pump;
    FileDescriptor m_relay;
    std::unique_ptr<QSocketNotifier> m_relayNotifier;
    std::vector<std::pair<QByteArray, QByteArray>> m_rules;
    std::chrono::milliseconds m_delay{0};
    bool m_isMute = false;
    bool m_isSplit = false;
    bool m_isRaw = false;
    qsizetype m_sendsLeft = -1; // -1: without end
    qsizetype m_receivesLeft = -1;
    qsizetype m_sentBytes = 0;
    int m_quietPolls = 0;
    QByteArray m_received;
    QByteArray m_unmatched;
    QByteArray m_program;
    QByteArray m_outgoing;
};

} // namespace Korvane
