#pragma once

#include "base/OneShot.h"
#include "base/Records.h"
#include "session/SessionStream.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <list>
#include <memory>
#include <optional>

namespace Korvane {

class PythonChild;

/// The local Python session: one long-lived child process that gets one request at a time.
///
/// The child is started by the first request, and again by the first one after it has ended. Calls
/// are served in their order; each is suspended until its reply arrives, its child ends or is
/// replaced, or the runner is destroyed. There is no time limit. Main thread only.
class PythonRunner final : public QObject
{
    Q_OBJECT

public:
    explicit PythonRunner(QStringList interpreters = defaultInterpreters(),
                          QObject *parent = nullptr);
    /// Ends the child, and those that were replaced and still run: SIGINT, then SIGTERM, then
    /// SIGKILL. An idle child ends in about 20 ms; the destructor blocks for at most a second, so
    /// it must run when no window is shown. Pending calls are resumed inside the destructor, with
    /// "Interrupted.". Must not run inside one of the callbacks below.
    ~PythonRunner() override;

    /// Where an interpreter is looked for, in this order.
    [[nodiscard]] static QStringList defaultInterpreters();
    /// "Python 3 not found. Install Python from …", without a full stop.
    [[nodiscard]] static QString notFoundMessage();
    /// \p path when it is an executable file, otherwise the interpreter of the virtual environment
    /// in the folder \p path; empty when there is neither.
    [[nodiscard]] static QString pythonAt(const QString &path);
    /// Uses pythonAt(\p path) and no other; the usual candidates when it is empty. Takes effect at
    /// the next start of the child.
    void setInterpreter(const QString &path) { m_chosenInterpreter = path; }
    /// The chosen interpreter, or the first candidate that exists, or an empty text. Looked up for
    /// each request, so that an interpreter installed meanwhile is found.
    [[nodiscard]] QString findPython() const;

    /// Runs a whole file. An empty \p path means a document that was never saved; otherwise
    /// the program runs in the folder of \p path. \p fresh empties the namespace first.
    QCoro::Task<RunResult> run(QString code, QString path, bool fresh);
    /// Runs one line typed into the Shell; the value of an expression is printed.
    /// Tracebacks name \p path, or "<shell>" when it is empty.
    QCoro::Task<RunResult> runShell(QString code, QString path = {});
    /// Reads the table of variables; of the user's code, only `__repr__` of the values runs.
    QCoro::Task<RunResult> readVariables();
    /// Replaces the child at once and yields the empty table of the new one. A request in progress
    /// fails with "Interrupted.". Emits a notice unless no interpreter was found.
    QCoro::Task<RunResult> restart();
    /// Sends SIGINT to the child when a request is in progress. A child that has not answered 2 s
    /// later is replaced.
    void interrupt();
    /// The program has called input() or reads sys.stdin, and waits for a line.
    [[nodiscard]] bool isWaitingForInput() const { return m_question.has_value(); }
    /// Gives \p text, one line or several with their line ends, to the program that waits; an empty
    /// one is the end of the input. Does nothing when none waits.
    void answerInput(const QString &text);

    /// What the program prints, as it arrives.
    std::function<void(const QString &)> onOutput;
    /// What arrives on the child's standard error, read by read; ill-formed UTF-8 is replaced.
    std::function<void(const QString &)> onErrorOutput;
    /// Notices for the user. One about a replaced child is emitted before the pending caller is
    /// resumed.
    std::function<void(const QString &)> onInfo;

signals:
    void waitingForInputChanged();

private:
    QCoro::Task<RunResult> send(std::optional<QByteArray> request);
    void begin(const std::optional<QByteArray> &request);
    void release();
    void startChild(const QString &interpreter);
    void receiveOutput(PythonChild *child, const QByteArray &bytes);
    void loseChild(const QString &error);
    void kill(const QString &notice);
    void finish(RunResult result);
    void setQuestion(std::optional<int> question);
    [[nodiscard]] QString missingMessage() const;
    [[nodiscard]] bool isPending() const { return m_reply && !m_reply->isDone(); }

    QStringList m_interpreters;
    QString m_chosenInterpreter;
    PythonChild *m_child = nullptr; // owned as a QObject child, like those being replaced
    SessionStream m_stream;
    QTimer m_watchdog;
    bool m_isBusy = false;
    bool m_isClosed = false;
    std::optional<int> m_question; // the number of the question that the program waits for
    std::unique_ptr<OneShot<RunResult>> m_reply;
    std::list<OneShot<bool>> m_waiters; // in order of arrival
};

} // namespace Korvane
