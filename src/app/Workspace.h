#pragma once

#include "app/WorkspaceFile.h"
#include "base/Background.h"
#include "base/Lifetime.h"
#include "document/EditorFile.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QObject>
#include <QTimer>
#include <QUuid>

#include <functional>
#include <optional>

namespace Korvane {

class AppState;

/// Restores documents and folders: those that were open when the program ended, those that were
/// used recently, and those that were closed since the start. The preference RestoreAtStart decides
/// what a start opens.
///
/// All of it is in a state file, readable by its owner only, which is written a second after a
/// change and by save(). Files are read and written in the background. Main thread only.
class Workspace final : public QObject
{
    Q_OBJECT

public:
    /// \p state must outlive this. Nothing is read before restore().
    Workspace(AppState &state, const QString &path, QObject *parent = nullptr);
    /// Waits, at most for two seconds, until the writes that save() began have ended.
    ~Workspace() override;

    /// \p write stores caret and scroll position of the shown document in EditorFile::viewState. It
    /// is called before they are read.
    void setViewStateWriter(std::function<void()> write) { m_writeViewState = std::move(write); }

    /// Reads the state file, once, and opens what the preference says. Files that can't be read are
    /// named in one line of the Shell. The first, empty document is closed when there are others.
    /// The task may be dropped.
    QCoro::Task<void> restore();
    /// Writes the state now. Does nothing when it equals what was written last, and before
    /// restore() has finished.
    void save();

    /// Opens the document that was closed last, with the edits that it had. Does nothing when there
    /// is none. The task may be dropped.
    QCoro::Task<void> reopenClosed();
    /// Opens the documents of the connected board that were open when the program ended. The task
    /// may be dropped.
    QCoro::Task<void> openBoardDocuments();

    [[nodiscard]] const QStringList &recentFiles() const { return m_recentFiles; }
    [[nodiscard]] const QStringList &recentFolders() const { return m_recentFolders; }
    void clearRecent();
    [[nodiscard]] bool hasClosed() const { return !m_closed.isEmpty(); }
    /// How many documents openBoardDocuments() would open.
    [[nodiscard]] qsizetype boardDocumentCount() const { return m_ofThisBoard.size(); }

signals:
    /// The recent files or folders, hasClosed() or boardDocumentCount() have changed.
    void changed();

private:
    struct Read;
    struct Closed
    {
        QString name;
        WorkspaceFile::Document document;
        /// Of a document with edits, or without a file.
        std::optional<DocumentText> text;
        std::optional<DocumentText> savedText;
    };

    [[nodiscard]] WorkspaceFile::Document describe(const EditorFile &file) const;
    [[nodiscard]] WorkspaceFile snapshot();
    [[nodiscard]] QCoro::Task<std::optional<Read>> read(QString path);
    [[nodiscard]] QCoro::Task<bool> openDocuments(QList<WorkspaceFile::Document> documents,
                                                  int selected, QUuid first);
    void saveSoon();
    void updateRecent();
    void keepClosing(const QUuid &id);
    QCoro::Task<void> offerBoardDocuments();

    AppState &m_state;
    const QString m_path;
    std::function<void()> m_writeViewState = [] {};
    bool m_isReady = false;
    QByteArray m_written;
    QTimer m_saveDelay;
    QHash<QUuid, QString> m_knownPaths;
    QStringList m_recentFiles;
    QStringList m_recentFolders;
    QList<Closed> m_closed; // the last one was closed last
    /// Documents of boards that were open and have not been opened again.
    QList<WorkspaceFile::Document> m_boardDocuments;
    QList<WorkspaceFile::Document> m_ofThisBoard;
    Background m_background{16, std::chrono::milliseconds(0)}; // only reads
    Background m_writer{1};
    Lifetime m_life;
};

} // namespace Korvane
