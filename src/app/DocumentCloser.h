#pragma once

#include "base/Lifetime.h"

#include <QCoro/QCoroTask>
#include <QSet>
#include <QUuid>

#include <functional>
#include <optional>
#include <utility>

namespace Korvane {

class DocumentSaver;
class OpenFiles;
class UserPrompts;

/// Closes documents and prepares the end of the program: asks about edits that would be lost. A
/// document is looked up again after every wait. Main thread only.
class DocumentCloser final
{
public:
    /// The recovery files, in which unsaved edits are kept when the program ends.
    struct Recovery
    {
        /// Whether edits are kept there, and the last of them could be.
        std::function<bool()> keepsEdits;
        /// Whether an edit is not written there yet.
        std::function<bool()> hasPending = [] { return false; };
        /// Writes these edits; after a failure `keepsEdits` returns false.
        std::function<QCoro::Task<void>()> writePending = {};
    };

    /// The references must outlive this. \p asksBeforeClosing returns whether to ask before a
    /// document with edits that are not saved is closed. If not, and when only its file was
    /// deleted, it is closed with OpenFiles::closeKeepingEdits.
    DocumentCloser(OpenFiles &documents, DocumentSaver &saver, UserPrompts &prompts,
                   std::function<bool()> asksBeforeClosing);

    /// Without it, edits count as kept.
    void setRecovery(Recovery recovery) { m_recovery = std::move(recovery); }

    /// Closes a document; asks first when its text would be lost. The task may be dropped.
    QCoro::Task<void> close(QUuid id);
    /// Whether prepareEnd() has something to write or to ask about.
    [[nodiscard]] bool mustPrepareEnd() const;
    /// To be called after DocumentSaver::finished(). Writes the recovery files, for two seconds at
    /// most, and asks about each document whose save failed during that wait and each whose edits
    /// would be lost. Yields whether the program may end; false, without a question, when the user
    /// canceled such a save.
    [[nodiscard]] QCoro::Task<bool> prepareEnd();

private:
    /// True when ending the program now would lose unsaved edits.
    [[nodiscard]] bool losesEdits() const;
    /// Asks about unsaved edits; true when they were saved or the user discards them.
    [[nodiscard]] QCoro::Task<bool> saveOrDiscard(QUuid id);

    OpenFiles &m_documents;
    DocumentSaver &m_saver;
    UserPrompts &m_prompts;
    std::function<bool()> m_asksBeforeClosing;
    std::optional<Recovery> m_recovery;
    QSet<QUuid> m_closing; // whose question is open
    Lifetime m_life;
};

} // namespace Korvane
