#pragma once

#include "base/Lifetime.h"
#include "board/DeviceStreamScanner.h"
#include "board/RawPasteSender.h"
#include "board/RawReplHandshake.h"
#include "board/ReplMessages.h"
#include "board/RestartWatch.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>
#include <QTimer>

#include <optional>

namespace Korvane {

class DeviceLink;
class ShellSink;

/// Sends a program to the board and leaves it running there, and handles what the board sends while
/// no command uses the link: text is written to the Shell, stops and the end are signaled. When the
/// board restarts by itself, by a reset or a crash, the program has ended, too. Main thread only.
class ProgramRun final : public QObject
{
    Q_OBJECT

public:
    /// AtPrompt: a command of the caller has just ended, so that no program runs and the board
    /// sends nothing but its prompt, which is not shown.
    enum class BoardState { MayBeBusy, AtPrompt };

    /// Borrows \p link and \p shell, which must outlive this.
    ProgramRun(DeviceLink &link, ShellSink &shell, QObject *parent = nullptr);
    ~ProgramRun() override;

    /// Takes the link by force, also from a run that is being started. A program that runs on the
    /// board is interrupted with Ctrl-C: at once when it was sent by this class, otherwise when the
    /// board has not answered for 0.3 s. What it still prints is shown, and its stops and its end
    /// are signaled. Returns at once. The outcome is the line "▶ Sent to device." in the Shell or
    /// `startFailed`: for a small program within 1.8 s, for a large one when the board has read all
    /// of it, or has accepted nothing for 5 s. Neither follows after abandon(), reset(),
    /// cancelSending() or another call. When \p source holds a lone surrogate, only Ctrl-D is sent.
    void runOnDeviceStreamed(const QString &source, BoardState boardState = BoardState::MayBeBusy);

    /// Bytes from the board that belong to no command.
    void handleDeviceData(const QByteArray &chunk);
    /// Reading a new connection starts: incomplete bytes are dropped.
    void clearStream();
    /// No more bytes will arrive: incomplete bytes are shown as they are.
    void flushStream();
    /// Called after Ctrl-C or the debugger's quit command was sent, without waiting for the end:
    /// the program no longer counts as running. The rest of its reply is shown when it arrives. A
    /// run that is being started is canceled, and the board is returned to its friendly prompt.
    void abandon();
    /// Interrupts the board while it reads a large program, which is then not run: the reply is a
    /// KeyboardInterrupt. Does nothing otherwise.
    void cancelSending();
    /// The link has ended, and with it the run, in any phase: nothing more is sent, shown or
    /// signaled for it.
    void reset();

    /// A program was sent and has not ended.
    [[nodiscard]] bool deviceProgramRunning() const { return m_deviceProgramRunning; }
    /// The program has ended, but not its reply. Ends with `replyCompleted`, `reset` or the next
    /// run.
    [[nodiscard]] bool isReplyEnding() const { return m_reply == Reply::Ending; }
    /// A program is about to be sent, unless the board does not enter the raw REPL.
    [[nodiscard]] bool isEntering() const { return m_isEntering; }

signals:
    void deviceProgramRunningChanged();
    /// A large program is being sent, which cancelSending() ends.
    void sending(qint64 sentBytes, qint64 totalBytes);
    /// The program was sent, or its run has ended before.
    void sendingEnded();
    void paused(const DebugPause &pause);
    /// The program's output has ended; its traceback may follow.
    void programEnded();
    /// The reply is complete, or none of it arrived for a second after the program's end: the
    /// board, still in its raw REPL, is free for commands. Not emitted while a run is being
    /// started.
    void replyCompleted();
    /// The program was not run: the board never entered the raw REPL or stopped reading the
    /// program. The error has been written to the Shell. An earlier program that ignored the
    /// interrupt still counts as running.
    void startFailed();

private:
    enum class Reply { None, Awaited, Ending };

    void handleHandshakeData(const QByteArray &chunk);
    void showHeldBack();
    void showIncomplete();
    void showText(QStringView text, const QList<qsizetype> &endMarks = {});
    void sendProgram();
    void noteProgramSent(const QByteArray &written);
    void giveUp(const QString &message);
    void noteTraceback(const DeviceStreamScanner::Scan &scan);
    QCoro::Task<void> reportFreeMemory(qsizetype programBytes);
    void endHandshake();
    void notePause(const DebugPause &pause);
    void noteEnd();
    void finishReply();
    void setDeviceProgramRunning(bool isRunning);

    DeviceLink &m_link;
    ShellSink &m_shell;
    DeviceStreamScanner m_deviceStream;
    ReplMessages m_messages;
    RestartWatch m_restartWatch;
    bool m_deviceProgramRunning = false;

    // The run that is being started, if any. There is one at most: that of the last call.
    bool m_isEntering = false;
    RawReplHandshake m_handshake;
    RawPasteSender m_paste;
    bool m_isSendingCanceled = false;
    QString m_source;
    bool m_showsOldOutput = false; // text before the banner is the output of a program

    // The board's reply to the program that was sent last. Apart from deviceProgramRunning, which
    // may be cleared by others while the reply is still awaited.
    Reply m_reply = Reply::None;
    qsizetype m_programBytes = 0;
    /// The beginning of what follows the program's output.
    std::optional<QString> m_traceback;
    QTimer m_replyTimeout;
    Lifetime m_life;
};

} // namespace Korvane
