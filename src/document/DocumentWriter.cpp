#include "document/DocumentWriter.h"

#include "base/UserPrompts.h"
#include "document/DocumentStore.h"

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

Error notReplaced(const DocumentPlace &place)
{
    return {ErrorCode::Canceled,
            QStringLiteral("Save cancelled — ") + place.path + QStringLiteral(" is unchanged.")};
}

/// With these errors of a comparison, writing fails, too, and its error is reported.
bool failsToWriteToo(ErrorCode code)
{
    return code == ErrorCode::NotConnected || code == ErrorCode::ProgramRunning
        || code == ErrorCode::PausedAtBreakpoint || code == ErrorCode::Closed;
}

} // namespace

/// One text that is to be written to a file.
struct DocumentWriter::Job
{
    QPointer<EditorFile> file;
    QString name;
    DocumentText text;
    Check check = Check::AskBeforeReplacing;
    /// The content that the document last read or wrote.
    std::optional<QByteArray> known;
    OneShot<Result<Outcome>> done;
};

/// The jobs of one file.
struct DocumentWriter::Queue
{
    DocumentPlace place;
    std::shared_ptr<Job> waiting;
    /// What the last job wrote.
    std::optional<QByteArray> written;
};

DocumentWriter::DocumentWriter(DocumentStore &localStore, DocumentStore &boardStore,
                               UserPrompts &prompts)
    : m_localStore(localStore)
    , m_boardStore(boardStore)
    , m_prompts(prompts)
{
}

DocumentWriter::~DocumentWriter()
{
    for (const std::shared_ptr<Queue> &queue : std::as_const(m_queues)) {
        if (queue->waiting)
            queue->waiting->done.close();
    }
}

Async<DocumentWriter::Outcome> DocumentWriter::write(QPointer<EditorFile> file, DocumentPlace place,
                                                     Check check)
{
    if (!file)
        co_return Error{ErrorCode::Closed, {}};
    auto job = std::make_shared<Job>();
    job->file = file;
    job->name = file->name();
    job->text = file->text();
    job->check = check;
    if (const auto &saved = file->savedText(); saved && file->place().isSameFile(place))
        job->known = saved->fileText().toUtf8();

    const auto found = std::find_if(m_queues.cbegin(), m_queues.cend(), [&](const auto &queue) {
        return queue->place.isSameFile(place);
    });
    if (found != m_queues.cend()) {
        if (const auto replaced = std::exchange((*found)->waiting, job))
            replaced->done.deliver(Outcome::Superseded);
    } else {
        auto queue = std::make_shared<Queue>();
        queue->place = place;
        queue->waiting = job;
        m_queues.push_back(queue);
        run(queue);
    }
    const auto result = co_await job->done.wait();
    if (!result)
        co_return Error{ErrorCode::Closed, {}};
    co_return *result;
}

QCoro::Task<void> DocumentWriter::run(std::shared_ptr<Queue> queue)
{
    const auto life = m_life.watch();
    while (const std::shared_ptr<Job> job = std::exchange(queue->waiting, nullptr)) {
        const auto result = co_await carryOut(queue, job);
        if (!life) {
            job->done.close();
            co_return;
        }
        const bool isWritten = result && *result == Outcome::Written;
        if (isWritten && job->file && job->file->place().isSameFile(queue->place))
            job->file->setSavedText(job->text);
        job->done.deliver(result);
    }
    m_queues.remove(queue);
    if (m_queues.empty()) {
        for (OneShot<bool> &waiter : m_finishedWaiters)
            waiter.deliver(true);
    }
}

Async<DocumentWriter::Outcome> DocumentWriter::carryOut(std::shared_ptr<Queue> queue,
                                                        std::shared_ptr<Job> job)
{
    const auto life = m_life.watch();
    const QString fileText = job->text.fileText();
    const QByteArray bytes = fileText.toUtf8();
    if (job->check == Check::AskBeforeReplacing) {
        QList<QByteArray> ours;
        for (const auto &content : {std::optional(bytes), job->known, queue->written}) {
            if (content)
                ours << *content;
        }
        const auto comparison =
            co_await storeOf(queue->place).compare(queue->place, std::move(ours));
        if (!life)
            co_return Error{ErrorCode::Closed, {}};
        if (!comparison && comparison.error().code == ErrorCode::Canceled)
            co_return notReplaced(queue->place);
        if (!comparison
            && (comparison.error().code == ErrorCode::NoRawREPL
                || comparison.error().code == ErrorCode::BoardReplaced))
            co_return comparison.error(); // the write may succeed, with the file unread
        const bool isUnknown = !comparison && !failsToWriteToo(comparison.error().code);
        if (isUnknown || (comparison && *comparison == DocumentStore::Comparison::Different)) {
            // GCC 12 destroys a conditional expression inside a co_await expression twice.
            const QString whyUnknown = isUnknown ? comparison.error().message : QString();
            const auto answer = co_await askToReplace(queue, job, whyUnknown);
            if (!life)
                co_return Error{ErrorCode::Closed, {}};
            if (!answer || *answer != Outcome::Written)
                co_return answer;
        }
    }
    const auto written = co_await storeOf(queue->place).write(queue->place, fileText, job->name);
    if (!life)
        co_return Error{ErrorCode::Closed, {}};
    if (!written)
        co_return written.error();
    queue->written = bytes;
    co_return Outcome::Written;
}

Async<DocumentWriter::Outcome> DocumentWriter::askToReplace(std::shared_ptr<Queue> queue,
                                                            std::shared_ptr<Job> job,
                                                            QString whyUnknown)
{
    const QString path = queue->place.path;
    UserPrompts::Choice question;
    const QString name = QStringLiteral("“") + job->name;
    if (whyUnknown.isEmpty()) {
        question.title = name + QStringLiteral("” was changed by another program. Replace it?");
        question.message = path
            + QStringLiteral(" does not hold what was last opened or saved here. Saving replaces "
                             "what it holds now.");
    } else {
        question.title = name + QStringLiteral("” could not be read. Replace it?");
        question.message = QStringLiteral("Another program may have changed ") + path
            + QStringLiteral(". Saving replaces what it holds now. ") + whyUnknown;
    }
    question.answers << UserPrompts::Answer{QStringLiteral("Replace"), true}
                     << UserPrompts::Answer{QStringLiteral("Save As…"), false};
    const int answer = co_await m_prompts.choose(std::move(question));
    if (answer == 0)
        co_return Outcome::Written;
    if (answer == 1)
        co_return Outcome::SaveAsRequested;
    co_return notReplaced(queue->place);
}

bool DocumentWriter::isWriting(const DocumentPlace &place) const
{
    return std::any_of(m_queues.cbegin(), m_queues.cend(),
                       [&](const auto &queue) { return queue->place.isSameFile(place); });
}

QCoro::Task<void> DocumentWriter::finished()
{
    if (!isWriting())
        co_return;
    OneShot<bool> &waiter = m_finishedWaiters.emplace_back();
    const auto position = std::prev(m_finishedWaiters.end());
    const auto life = m_life.watch();
    static_cast<void>(co_await waiter.wait());
    if (life)
        m_finishedWaiters.erase(position);
}

QCoro::Task<void> DocumentWriter::finishedWithin(QList<DocumentPlace> places)
{
    const auto life = m_life.watch();
    const auto isWithin = [&places](const std::shared_ptr<Queue> &queue) {
        return std::any_of(places.cbegin(), places.cend(), [&queue](const DocumentPlace &place) {
            return queue->place.isWithin(place);
        });
    };
    while (life && std::any_of(m_queues.cbegin(), m_queues.cend(), isWithin))
        co_await finished();
}

DocumentStore &DocumentWriter::storeOf(const DocumentPlace &place)
{
    return place.kind == DocumentPlace::Kind::Board ? m_boardStore : m_localStore;
}

} // namespace Korvane
