#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/Result.h"

#include <QCoro/QCoroTask>
#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <QUuid>

#include <memory>

class QLockFile;

namespace Korvane {

class EditorFile;
class OpenFiles;
class ShellSink;
struct RecoveryCopy;

/// Keeps a recovery file for every document with unsaved text, so that neither a crash nor the end
/// of the program loses it.
///
/// The recovery files are in a private folder of the running program, which holds a lock in it.
/// They are written half a second after an edit and when this is destroyed, and removed when their
/// document is saved or closed. Those of earlier programs, and of documents that were closed with
/// OpenFiles::closeKeepingEdits, (leftovers) are offered until they are opened or discarded; the
/// latest `keptLeftovers` are kept. Main thread only; the disk is read and written in the
/// background.
class RecoveryFiles final : public QObject
{
    Q_OBJECT

public:
    static constexpr qsizetype keptLeftovers = 50;

    /// A recovery file without an open document.
    struct Leftover
    {
        /// The document's name.
        QString name;
        /// Where the document was saved, locally or on the board; may be empty.
        QString place;
        QDateTime editedAt;
        /// The path of the recovery file.
        QString file;
    };

    /// $XDG_STATE_HOME/korvane/unsaved, by default below ~/.local/state.
    [[nodiscard]] static QString defaultFolder();

    /// Starts to look for leftovers and reports their number in the Shell. \p documents and
    /// \p shell must outlive this.
    RecoveryFiles(OpenFiles &documents, ShellSink &shell, const QString &folder,
                  QObject *parent = nullptr);
    /// Writes what is pending and waits for it, at most for two seconds.
    ~RecoveryFiles() override;

    /// Whether recovery files are written from now on. Otherwise those of open documents are
    /// removed; leftovers are kept.
    void setKeeping(bool isKeeping);
    /// True while recovery files are wanted and the last write succeeded.
    [[nodiscard]] bool isKeeping() const { return m_isKeeping && !m_isFailureReported; }
    /// Whether an edit is not on the disk yet: its write is due, running, or has failed.
    [[nodiscard]] bool hasPending() const;
    /// The latest first.
    [[nodiscard]] const QList<Leftover> &leftovers() const { return m_leftovers; }
    /// Opens it as a document with unsaved text and the saved text that was stored with it. If the
    /// file is already open without edits, its document gets both, the text as an edit; if it has
    /// edits, the text becomes a document that is not saved anywhere. The task may be dropped.
    QCoro::Task<void> open(Leftover leftover);
    /// Deletes the recovery files; a failure is reported in the Shell. The task may be dropped.
    QCoro::Task<void> discard(QList<Leftover> leftovers);
    /// Writes what is pending now, and removes the recovery files of documents that are saved or
    /// closed. Ends when all of that, and what was being written before, is on the disk; a failure
    /// is reported in the Shell. The task may be dropped.
    QCoro::Task<void> flush();

signals:
    void leftoversChanged();
    /// Leftovers of earlier sessions were reported in the Shell.
    void leftoversReported();

private:
    struct Change;
    struct Failures;

    void handleDocumentsChanged();
    void keepClosing(const QUuid &id);
    void noteChange(const QUuid &id);
    [[nodiscard]] QString ownCopy(const QUuid &id) const;
    [[nodiscard]] QList<Change> takeChanges();
    void putBack(const QList<Change> &changes);
    [[nodiscard]] bool isLeftover(const QString &file) const;
    EditorFile &openAgain(const RecoveryCopy &copy, const EditorFile *other);
    QCoro::Task<void> findLeftovers();
    void forget(const QStringList &files);

    OpenFiles &m_documents;
    ShellSink &m_shell;
    const QString m_folder;
    const QString m_session;
    const std::shared_ptr<QLockFile> m_lock;
    QTimer m_writeDelay;
    QSet<QUuid> m_changed;
    /// Documents whose last write has failed.
    QSet<QUuid> m_unwritten;
    /// Documents that have a recovery file, with the leftovers that it replaces.
    QHash<QUuid, QStringList> m_kept;
    /// Recovery files of closed documents, to be written next.
    QList<Change> m_closed;
    int m_runningWrites = 0;
    bool m_isKeeping = true;
    bool m_isFailureReported = false;
    QList<Leftover> m_leftovers;
    Background m_background;
    /// Has one thread, so that writes are done in the order of their calls.
    Background m_writer{1};
    Lifetime m_life;
};

} // namespace Korvane
