#pragma once

#include "board/DeviceStreamScanner.h"
#include "board/RawReplHandshake.h"

#include <QObject>
#include <QString>
#include <QTimer>

namespace Korvane {

class DeviceLink;
class ShellSink;

/// Sends a program to the board and leaves it running there, and takes what the board sends in
/// all the time that no command has the line: text goes to the Shell, stops and the end are told
/// by signals. Main thread only.
class ProgramRun final : public QObject
{
    Q_OBJECT

public:
    /// Borrows \p link and \p shell, which must outlive this.
    ProgramRun(DeviceLink &link, ShellSink &shell, QObject *parent = nullptr);
    ~ProgramRun() override;

    /// Takes the line by force, also from a run that is just being started. Returns at once; the
    /// outcome is "▶ Sent to device." or `gaveUp`, 1.8 s later at the most. Of a source that is no
    /// well-formed text nothing is sent but the order to execute it.
    void runOnDeviceStreamed(const QString &source);

    /// Bytes from the board that belong to no command.
    void handleDeviceData(const QByteArray &chunk);
    /// A new connection is about to be read: what waits for more bytes is forgotten.
    void clearStream();
    /// No more bytes will come: what waits for them is shown as it is.
    void flushStream();
    /// The program is being stopped by somebody who waits no longer: from now on it does not count
    /// as running. Its reply is awaited as ever, since only then the board is free. A run that is
    /// still being started is called off, and the board goes back to its prompt.
    void abandon();
    /// The link has ended, and with it the run, in whatever phase it is: nothing more is sent,
    /// said or signalled for it.
    void reset();

    /// A program was sent, and its end has not come.
    [[nodiscard]] bool deviceProgramRunning() const { return m_deviceProgramRunning; }
    /// The program has ended, but not its reply. Ends with `replyWhole`, `reset` or the next run.
    [[nodiscard]] bool isReplyEnding() const { return m_reply == Reply::Ending; }
    /// A program is about to be sent, unless the board stays out of the raw REPL.
    [[nodiscard]] bool isEntering() const { return m_isEntering; }

signals:
    void deviceProgramRunningChanged();
    void paused(const DebugPause &pause);
    /// The program's output has ended; its traceback may follow.
    void programEnded();
    /// The reply has come whole, or no more of it came for a second after the program's end: the
    /// board, still in its raw REPL, is free for commands.
    void replyWhole();
    /// The board never entered the raw REPL, so nothing was sent. The Shell says so already.
    void gaveUp();

private:
    enum class Reply { None, Awaited, Ending };

    void sendProgram();
    void giveUp();
    void leaveEntry();
    void notePause(const DebugPause &pause);
    void noteEnd();
    void finishReply();
    void setDeviceProgramRunning(bool isRunning);

    DeviceLink &m_link;
    ShellSink &m_shell;
    DeviceStreamScanner m_deviceStream;
    bool m_deviceProgramRunning = false;

    // The run that is being started, if any. There is one at most: the last one asked for.
    bool m_isEntering = false;
    RawReplHandshake m_handshake;
    QString m_source;

    // The board's answer to the program that was sent last. Apart from deviceProgramRunning, since
    // that may be cleared by others while the answer is still due.
    Reply m_reply = Reply::None;
    QTimer m_lateReply;
};

} // namespace Korvane
