#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "document/EditorFile.h"

#include <QPointer>

#include <list>
#include <memory>

namespace Korvane {

class DocumentStore;
class UserPrompts;

/// Writes documents to files, in order for each file: one write at a time, and a newer text
/// replaces one that is still queued. A document is unmodified when its file holds its text, so a
/// write that ends after further edits leaves it modified. Main thread only.
class DocumentWriter final
{
public:
    enum class Outcome {
        Written,
        /// A newer text was written, or is queued.
        Superseded,
        /// The file was changed by another program, and the user chose to save under another name.
        SaveAsRequested,
    };
    /// Whether to ask when the file does not hold what this document last read or wrote there.
    enum class Check { AskBeforeReplacing, ReplaceAnything };

    /// All must outlive this.
    DocumentWriter(DocumentStore &localStore, DocumentStore &boardStore, UserPrompts &prompts);
    ~DocumentWriter();
    DocumentWriter(const DocumentWriter &) = delete;
    DocumentWriter &operator=(const DocumentWriter &) = delete;

    /// Writes the current text of \p file to \p place and, when it belongs there, marks it as
    /// saved. With AskBeforeReplacing, asks before a file is replaced that was changed by another
    /// program; `Canceled` when the user declines. \p file may be closed meanwhile: its text is
    /// written. Fails with the store's error, and with `Closed` when \p file is null or this is
    /// destroyed.
    [[nodiscard]] Async<Outcome> write(QPointer<EditorFile> file, DocumentPlace place, Check check);

    [[nodiscard]] bool isWriting() const { return !m_queues.empty(); }
    [[nodiscard]] bool isWriting(const DocumentPlace &place) const;
    /// Ends when no write is in progress or queued, or when this is destroyed. Another write may
    /// have begun when the caller is resumed.
    [[nodiscard]] QCoro::Task<void> finished();
    /// Ends when none of the files \p places, and no file in a folder among them, is being written
    /// or queued, or when this is destroyed.
    [[nodiscard]] QCoro::Task<void> finishedWithin(QList<DocumentPlace> places);

private:
    struct Job;
    struct Queue;

    QCoro::Task<void> run(std::shared_ptr<Queue> queue);
    [[nodiscard]] Async<Outcome> carryOut(std::shared_ptr<Queue> queue, std::shared_ptr<Job> job);
    /// \p whyUnknown: why the file could not be compared, or empty when another program changed it.
    [[nodiscard]] Async<Outcome> askToReplace(std::shared_ptr<Queue> queue,
                                              std::shared_ptr<Job> job, QString whyUnknown);
    [[nodiscard]] DocumentStore &storeOf(const DocumentPlace &place);

    DocumentStore &m_localStore;
    DocumentStore &m_boardStore;
    UserPrompts &m_prompts;
    std::list<std::shared_ptr<Queue>> m_queues;
    std::list<OneShot<bool>> m_finishedWaiters;
    Lifetime m_life;
};

} // namespace Korvane
