#pragma once

#include "base/Lifetime.h"
#include "document/DocumentStore.h"

#include <QCoro/QCoroTask>
#include <QUuid>

namespace Korvane {

class DocumentWriter;
class OpenFiles;

/// Compares the files of open local documents with what the documents last read or wrote there. An
/// unmodified document is reloaded; one with edits is marked (EditorFile::fileChange), and so is
/// one whose file was deleted. Main thread only.
class FileWatch final
{
public:
    /// All must outlive this.
    FileWatch(OpenFiles &documents, const DocumentWriter &writer, DocumentStore &localStore);

    /// Compares all of them now. Called when the window is activated. The task may be dropped.
    QCoro::Task<void> check();
    /// Compares one document; nothing for one that is not local or is being written.
    QCoro::Task<void> check(QUuid id);
    /// Gives the document the text of its file, as one edit that can be undone.
    QCoro::Task<void> reload(QUuid id);
    /// Keeps the document's text: the change of its file is known from now on, and saving replaces
    /// it without a question.
    QCoro::Task<void> keep(QUuid id);

private:
    /// What the document's file holds now; nothing when the document was saved, moved or closed
    /// while the file was read.
    [[nodiscard]] Async<std::optional<QByteArray>> read(QUuid id);

    OpenFiles &m_documents;
    const DocumentWriter &m_writer;
    DocumentStore &m_store;
    Lifetime m_life;
};

} // namespace Korvane
