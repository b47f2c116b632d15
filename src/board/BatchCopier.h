#pragma once

#include "base/Async.h"
#include "base/Background.h"
#include "base/Lifetime.h"
#include "board/CopyPlan.h"
#include "board/LocalPieces.h"
#include "board/PieceTransfer.h"
#include "board/WritePermit.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

namespace Korvane {

class DeviceFiles;
class DeviceLink;
class ShellSink;
class TransferStatus;

/// Copies files to the board or from it as one transfer, which can be canceled. It stops at the
/// first failure: what was copied before is kept, and TransferStatus has the rest. A local file is
/// replaced when all of its content has arrived and was checked. Success is written to the Shell.
/// The messages of errors are the full text for the user. Main thread only; local files are read
/// and written in the background.
class BatchCopier final : public QObject
{
    Q_OBJECT

public:
    struct File
    {
        QString source; // a path on the board, or an absolute one on this computer
        QString target;
        QString label; // name in messages
        qint64 sizeBytes = 0;
        /// Which of the permits is for the target or for a folder around it.
        qsizetype permitIndex = 0;
    };
    struct Batch
    {
        /// Created before the files, in this order, which has each folder before those in it; those
        /// that exist are left alone.
        QStringList folders;
        QList<File> files;
        QString targetName; // where they are copied to, in messages

        /// Adds an entry that is copied from \p source to \p target.
        void add(const CopyItem &item, const QString &source, const QString &target,
                 qsizetype permitIndex = 0);
    };

    /// All must outlive this.
    BatchCopier(DeviceLink &link, DeviceFiles &files, TransferStatus &transfer, ShellSink &shell);

    /// Permits for \p paths on the board, in their order, without a question.
    [[nodiscard]] Async<QList<WritePermit>> permits(QStringList paths);
    /// To the board.
    [[nodiscard]] Async<void> send(Batch batch, QList<WritePermit> permits);
    /// To this computer.
    [[nodiscard]] Async<void> receive(Batch batch);
    /// Copies one file to this computer, without a message in the Shell. The message of a `File`
    /// error is the system's text.
    [[nodiscard]] Async<void> receiveFile(File file, PieceTransfer::Observer observer);

signals:
    /// Files on this computer were created or changed, also by a copy that stopped.
    void localFilesChanged();

private:
    enum class Direction { ToBoard, FromBoard };
    /// One file of a batch.
    struct Step
    {
        File file;
        qsizetype index;
        qsizetype count;
    };

    [[nodiscard]] Async<void> copy(Batch batch, Direction direction, QList<WritePermit> permits);
    /// Copies the rest of a batch. Fails when another board than the one with that identity is
    /// connected.
    [[nodiscard]] Async<void> resume(Batch rest, Direction direction, QStringList permitted,
                                     QString board);
    [[nodiscard]] Async<void> makeLocalFolders(QStringList paths);
    [[nodiscard]] Async<void> sendOne(Step step, WritePermit permit,
                                      PieceTransfer::Observer observer);
    [[nodiscard]] Async<void> receiveOne(Step step, PieceTransfer::Observer observer);
    [[nodiscard]] static Error stoppedAt(const Step &step, const Error &cause);

    DeviceLink &m_link;
    DeviceFiles &m_files;
    TransferStatus &m_transfer;
    ShellSink &m_shell;
    Background m_background;
    LocalPieces m_local{m_background};
    Lifetime m_life;
};

} // namespace Korvane
