#pragma once

#include "base/Lifetime.h"
#include "document/DocumentStore.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <QUuid>

#include <memory>

class QFileSystemWatcher;

namespace Korvane {

class DocumentWriter;
class EditorFile;
class OpenFiles;

/// Compares the files of open documents with what the documents last read or wrote there. An
/// unmodified document is reloaded; one with edits is marked (EditorFile::fileChange), and so is
/// one whose file was deleted. Local files are compared when the system reports a change and by
/// check(); files of a board, for which commands must be sent, by checkOnBoard() alone. Main thread
/// only.
class FileWatch final : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this.
    FileWatch(OpenFiles &documents, const DocumentWriter &writer, DocumentStore &localStore,
              DocumentStore &boardStore);
    ~FileWatch() override;

    /// Starts to compare all local documents. Called when the window is activated.
    void check();
    /// Compares one document; does nothing for one that is not local or is being written. One that
    /// is being compared is compared again when that has ended. The task may be dropped.
    QCoro::Task<void> check(QUuid id);
    /// The same for a document of a board; does nothing when that board does not answer. The
    /// task may be dropped.
    QCoro::Task<void> checkOnBoard(QUuid id);
    /// Replaces the document's text by that of its file, as one edit that can be undone; marks the
    /// document when the file was deleted. Fails when the file cannot be read or is not UTF-8, and
    /// with `Closed` when the document is saved, moved or closed meanwhile.
    [[nodiscard]] Async<void> reload(QUuid id);
    /// Keeps the document's text: the current content of its file counts as read, and saving
    /// replaces it without a question. When the file cannot be read, saving asks. The
    /// task may be dropped.
    QCoro::Task<void> keep(QUuid id);

private:
    /// Watches the files of the open documents, and no others.
    void followDocuments();
    void handleFileChanged(const QString &path);
    void checkChanged();
    QCoro::Task<void> compare(QUuid id);
    /// Reloads or marks \p file, whose file holds \p held now, or does not exist.
    static void showDifference(EditorFile &file, const std::optional<QByteArray> &held);
    /// What the document's file holds now; `Closed` when the document was saved, moved or closed
    /// while the file was read, or belongs to no file.
    [[nodiscard]] Async<std::optional<QByteArray>> read(QUuid id);

    OpenFiles &m_documents;
    const DocumentWriter &m_writer;
    DocumentStore &m_localStore;
    DocumentStore &m_boardStore;
    /// Made with the first local document.
    std::unique_ptr<QFileSystemWatcher> m_watcher;
    enum class Repetition { None, Needed };
    /// Documents that are being compared: a file on a network that does not answer occupies one
    /// thread only.
    QHash<QUuid, Repetition> m_comparisons;
    /// Paths reported since the last check.
    QSet<QString> m_changedPaths;
    /// Runs until a program that writes a file in several steps is likely to be done.
    QTimer m_settleTimer;
    Lifetime m_life;
};

} // namespace Korvane
