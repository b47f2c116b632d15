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

class OpenFiles;
class ShellSink;

/// Keeps a copy of every document that is not saved, so that no end of the program takes the work
/// with it: neither a crash nor being closed, which asks nothing and saves nothing.
///
/// The copies of a running program lie in a folder of its own, which it holds locked; they follow
/// the edits half a second later and go when their document is saved or closed. What an ended
/// program left behind is offered by the next one, until it is opened or ever so many newer ones
/// came. Main thread; the disk is read and written on others.
class RecoveryFiles final : public QObject
{
    Q_OBJECT

public:
    static constexpr qsizetype keptLeftovers = 50;

    /// What an ended program left behind.
    struct Leftover
    {
        QString name;
        /// Where its document was saved, on this computer or on the board; may be empty.
        QString place;
        QDateTime editedAt;
        /// The copy.
        QString file;
    };

    /// $XDG_STATE_HOME/korvane/unsaved, by default below ~/.local/state.
    [[nodiscard]] static QString defaultFolder();

    /// Looks for what was left behind, and says so in the Shell. Both must outlive this.
    RecoveryFiles(OpenFiles &documents, ShellSink &shell, const QString &folder,
                  QObject *parent = nullptr);
    ~RecoveryFiles() override;

    /// The latest first.
    [[nodiscard]] const QList<Leftover> &leftovers() const { return m_leftovers; }
    /// Opens it as a document with unsaved edits, which looks after the text from then on.
    QCoro::Task<void> open(Leftover leftover);

signals:
    void leftoversChanged();

private:
    struct Change;

    void follow();
    void noteChange(const QUuid &id);
    [[nodiscard]] QList<Change> takeChanges();
    QCoro::Task<void> write();
    QCoro::Task<void> findLeftovers();
    void forget(const QString &file);

    OpenFiles &m_documents;
    ShellSink &m_shell;
    const QString m_folder;
    const QString m_session;
    const std::shared_ptr<QLockFile> m_lock;
    QTimer m_pause;
    QSet<QUuid> m_changed;
    /// Documents that have a copy, with the leftover that they came from, if any.
    QHash<QUuid, QString> m_kept;
    bool m_isWriting = false;
    bool m_saidFailure = false;
    QList<Leftover> m_leftovers;
    Background m_background;
    Lifetime m_life;
};

} // namespace Korvane
