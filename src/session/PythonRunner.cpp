#include "session/PythonRunner.h"

#include "base/Utf8.h"
#include "session/PythonChild.h"
#include "session/SessionProtocol.h"

#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

constexpr auto interruptTimeout = 2s;

RunResult failure(const QString &error)
{
    return {error, {}};
}

RunResult interrupted()
{
    return failure(QStringLiteral("Interrupted."));
}

} // namespace

PythonRunner::PythonRunner(QStringList interpreters, QObject *parent)
    : QObject(parent)
    , m_interpreters(std::move(interpreters))
{
    m_watchdog.setSingleShot(true);
    m_watchdog.setTimerType(Qt::PreciseTimer);
    m_watchdog.setInterval(interruptTimeout);
    connect(&m_watchdog, &QTimer::timeout, this, [this] {
        if (isPending())
            kill(QStringLiteral("Python session did not respond to Ctrl+C — restarted it."));
    });
}

PythonRunner::~PythonRunner()
{
    m_isClosed = true;
    m_watchdog.stop();
    m_child = nullptr;
    const auto children = findChildren<PythonChild *>(Qt::FindDirectChildrenOnly);
    PythonChild::endAll(children);
    qDeleteAll(children);
    // m_isClosed makes further requests of a resumed caller fail.
    const auto reply = std::exchange(m_reply, nullptr);
    std::list<OneShot<bool>> waiters;
    waiters.swap(m_waiters);
    if (reply)
        reply->close();
    for (OneShot<bool> &waiter : waiters)
        waiter.close();
}

QStringList PythonRunner::defaultInterpreters()
{
    return {QStringLiteral("/usr/bin/python3"), QStringLiteral("/usr/local/bin/python3"),
            QStringLiteral("/opt/homebrew/bin/python3"),
            QStringLiteral("/opt/homebrew/bin/micropython")};
}

QString PythonRunner::notFoundMessage()
{
    return QStringLiteral("Python 3 not found. Install Python from python.org");
}

QString PythonRunner::pythonAt(const QString &path)
{
    for (const QString &candidate :
         {path, path + QStringLiteral("/bin/python3"), path + QStringLiteral("/bin/python")}) {
        const QFileInfo file(candidate);
        if (file.isFile() && file.isExecutable())
            return candidate;
    }
    return {};
}

QString PythonRunner::findPython() const
{
    if (!m_chosenInterpreter.isEmpty())
        return pythonAt(m_chosenInterpreter);
    const auto found = std::find_if(m_interpreters.begin(), m_interpreters.end(),
                                    [](const QString &path) { return QFileInfo::exists(path); });
    return found == m_interpreters.end() ? QString() : *found;
}

QString PythonRunner::missingMessage() const
{
    return m_chosenInterpreter.isEmpty()
        ? notFoundMessage()
        : QStringLiteral("No Python at %1. Edit › Preferences sets another one.")
              .arg(m_chosenInterpreter);
}

QCoro::Task<RunResult> PythonRunner::run(QString code, QString path, bool fresh)
{
    return send(SessionProtocol::execRequest(code, path, fresh));
}

QCoro::Task<RunResult> PythonRunner::runShell(QString code, QString path)
{
    return send(SessionProtocol::shellRequest(code, path));
}

QCoro::Task<RunResult> PythonRunner::readVariables()
{
    return send(SessionProtocol::variablesRequest());
}

QCoro::Task<RunResult> PythonRunner::restart()
{
    kill(findPython().isEmpty() ? QString() : QStringLiteral("Session restarted."));
    return send(SessionProtocol::variablesRequest());
}

void PythonRunner::interrupt()
{
    if (!m_child || !m_child->isRunning() || !isPending())
        return;
    setQuestion(std::nullopt);
    m_child->interrupt();
    m_watchdog.start();
}

void PythonRunner::answerInput(const QString &text)
{
    if (!m_question || !m_child)
        return;
    m_child->write(SessionProtocol::inputAnswer(*m_question, text));
    setQuestion(std::nullopt);
}

void PythonRunner::setQuestion(std::optional<int> question)
{
    const bool wasWaiting = isWaitingForInput();
    m_question = question;
    if (isWaitingForInput() != wasWaiting)
        emit waitingForInputChanged();
}

QCoro::Task<RunResult> PythonRunner::send(std::optional<QByteArray> request)
{
    if (m_isClosed)
        co_return interrupted();
    if (m_isBusy) {
        m_waiters.emplace_back();
        const std::optional<bool> isGranted = co_await m_waiters.back().wait();
        if (!isGranted || m_isClosed)
            co_return interrupted();
        m_waiters.pop_front();
    }
    m_isBusy = true;

    // The caller is registered before anything can answer it.
    m_reply = std::make_unique<OneShot<RunResult>>();
    begin(request);
    std::optional<RunResult> result = co_await m_reply->wait();
    if (!result)
        co_return interrupted();
    m_reply.reset();
    release();
    co_return std::move(*result);
}

/// Resumes the caller that has waited longest. The session stays busy until then, so that a new
/// call is queued after it.
void PythonRunner::release()
{
    if (m_waiters.empty())
        m_isBusy = false;
    else
        m_waiters.front().deliver(true);
}

/// Gives the request to the child, or finishes it with the reason why that can't be.
void PythonRunner::begin(const std::optional<QByteArray> &request)
{
    const QString interpreter = findPython();
    if (interpreter.isEmpty())
        return finish(failure(missingMessage()));
    if (!m_child || !m_child->isRunning())
        startChild(interpreter);
    if (!request)
        return finish(failure(QStringLiteral("Could not encode command for the Python session")));
    m_stream.discardUnfinishedReply();
    if (m_child && isPending())
        m_child->write(*request);
}

void PythonRunner::startChild(const QString &interpreter)
{
    if (m_child)
        m_child->dismiss(); // it has ended, but has not emitted `ended` yet
    m_stream.clear();
    m_child = new PythonChild(this);
    connect(m_child, &PythonChild::outputArrived, this,
            [this, child = m_child](const QByteArray &bytes) { receiveOutput(child, bytes); });
    connect(m_child, &PythonChild::errorOutputArrived, this, [this](const QByteArray &bytes) {
        if (onErrorOutput && !bytes.isEmpty())
            onErrorOutput(Utf8::decodeLossy(bytes));
    });
    connect(m_child, &PythonChild::writeFailed, this, [this](const QString &reason) {
        finish(failure(QStringLiteral("Python session stopped accepting input: ") + reason));
    });
    connect(m_child, &PythonChild::launchFailed, this, [this](const QString &reason) {
        loseChild(QStringLiteral("Could not start Python: ") + reason);
    });
    connect(m_child, &PythonChild::ended, this, [this] {
        loseChild(QStringLiteral("The Python session ended. It will restart on the next run."));
    });
    m_child->start(interpreter);
}

void PythonRunner::receiveOutput(PythonChild *child, const QByteArray &bytes)
{
    const QList<SessionStream::Item> items = m_stream.feed(bytes);
    for (const SessionStream::Item &item : items) {
        const auto *reply = std::get_if<SessionStream::Reply>(&item);
        // The child has written its errors before the reply, but on another pipe, whose notifier
        // may fire later.
        if (reply && child == m_child)
            child->readErrorOutput();
        if (child != m_child)
            return; // a callback has replaced it: the rest of its output is dropped
        if (!reply) {
            if (onOutput)
                onOutput(std::get<SessionStream::Output>(item).text);
        } else if (const auto question = SessionProtocol::inputQuestion(reply->body)) {
            if (isPending())
                setQuestion(question);
        } else {
            finish(SessionProtocol::parseReply(reply->body));
        }
    }
}

void PythonRunner::loseChild(const QString &error)
{
    // Called from a signal of the child, so it must not be deleted here.
    std::exchange(m_child, nullptr)->deleteLater();
    finish(failure(error));
}

/// The notice is passed on inside this call and the pending caller is resumed later, so the Shell
/// shows them in this order.
void PythonRunner::kill(const QString &notice)
{
    if (m_child)
        std::exchange(m_child, nullptr)->dismiss();
    finish(interrupted());
    if (onInfo && !notice.isEmpty())
        onInfo(notice);
}

void PythonRunner::finish(RunResult result)
{
    m_watchdog.stop();
    setQuestion(std::nullopt);
    if (m_reply)
        m_reply->deliver(std::move(result)); // only the first result counts
}

} // namespace Korvane
