#pragma once

#include "base/OneShot.h"
#include "base/Result.h"
#include "base/Utf8.h"
#include "board/BoardRecords.h"
#include "board/RawPasteSender.h"
#include "board/RawReplHandshake.h"
#include "board/RawReplResponse.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <chrono>

namespace Korvane {

class SerialPortManager;

/// One program sent through the raw REPL, from the first Ctrl-A to the Ctrl-B after its reply.
/// Commands of a sequence share one Ctrl-A and one Ctrl-B. A large program that is not part of one
/// is sent in raw-paste mode, if the board offers it.
///
/// It ends exactly once: with the whole reply, when the board never shows the banner, at the
/// time-out, or by abort().
class RawReplExchange final : public QObject
{
    Q_OBJECT

public:
    using WhenBusy = RawReplHandshake::WhenBusy;
    enum class Prompt {
        Friendly,
        /// The raw REPL's: the board was left there by the previous command.
        Raw,
    };

    /// Borrows \p serial and \p rawPaste. \p timeout counts from start().
    RawReplExchange(SerialPortManager &serial, RawPaste::Support &rawPaste, const QString &code,
                    std::chrono::duration<double> timeout, WhenBusy whenBusy);

    /// \p prompt is what the board shows now.
    void start(Prompt prompt = Prompt::Friendly);
    /// With Raw, the board is left in the raw REPL after a complete reply. To be called before
    /// start().
    void setPromptAfterReply(Prompt prompt) { m_promptAfterReply = prompt; }
    /// The bytes before the banner are output that the user waits for, as with
    /// WhenBusy::Interrupt. To be called before start().
    void setShowsOldOutput() { m_showsOldOutput = true; }
    /// Whether the board is to be left in the raw REPL after the reply.
    [[nodiscard]] bool isInSequence() const { return m_promptAfterReply == Prompt::Raw; }
    /// True after a reply that left the board in the raw REPL.
    [[nodiscard]] bool isInRawRepl() const { return m_isInRawRepl; }
    [[nodiscard]] bool isStarted() const { return m_isStarted; }
    /// The board has shown its raw REPL: what it was running before has ended.
    [[nodiscard]] bool hasEntered() const { return m_phase != Phase::Entering; }
    /// Called when a streamed run takes the link: writes nothing more and leaves the interceptor
    /// alone. The result still arrives, at the latest at the time-out.
    void leaveLink();
    /// Sends Ctrl-C to the program, whose reply then ends the exchange. Before the program was
    /// sent, ends with `Canceled` and doesn't send it. Does nothing before the start.
    void interrupt();
    /// Ends with \p error, without writing anything. Does nothing after the end.
    void abort(Error error);

    /// `co_await exchange.result()`: nothing when the exchange is destroyed before its end.
    [[nodiscard]] auto result() { return m_result.wait(); }

signals:
    /// With WhenBusy::Interrupt or after setShowsOldOutput(), the bytes before the banner: output
    /// of what ran before.
    void oldOutputReceived(const QByteArray &bytes);
    /// This no longer uses the link. The result is delivered later, from the event loop.
    void finished();

private:
    enum class Phase { Entering, Pasting, Running };

    void take(const QByteArray &chunk);
    void showOldOutput(const QByteArray &bytes);
    void takeReply(const QByteArray &chunk);
    void sendProgram();
    void writeProgram();
    void timeOut();
    void finish(Result<DeviceExecution> result);

    SerialPortManager &m_serial;
    QByteArray m_code;
    double m_timeoutSeconds;
    WhenBusy m_whenBusy;
    bool m_showsOldOutput;
    RawReplHandshake m_handshake;
    RawPasteSender m_paste;
    QTimer m_timeoutTimer;
    Utf8::ChunkDecoder m_decoder;
    Phase m_phase = Phase::Entering;
    RawReplResponse m_reply;
    bool m_isStarted = false;
    bool m_hasLeftLink = false;
    bool m_stopsProgram = false; // finish() writes Ctrl-C first
    Prompt m_promptAfterReply = Prompt::Friendly;
    bool m_isInRawRepl = false;
    OneShot<Result<DeviceExecution>> m_result;
};

} // namespace Korvane
