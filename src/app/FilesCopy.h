#pragma once

#include "base/Async.h"
#include "base/Background.h"
#include "base/Lifetime.h"
#include "board/BoardRecords.h"
#include "board/CopyPlan.h"
#include "board/DeviceFileOperations.h"
#include "board/FileReceiver.h"
#include "board/LocalPieces.h"
#include "board/WritePermit.h"

#include <QHash>
#include <QObject>

#include <memory>

namespace Korvane {

class DeviceFiles;
class DeviceLink;
class ShellSink;
class TransferStatus;
class UserPrompts;

/// Copies several files and folders at once between this computer and the board, as one operation
/// with one question, which is asked only when files would be replaced. Folders are merged. It
/// stops at the first failure; what was copied before is kept. Main thread only; local files are
/// read and written in the background.
class FilesCopy final : public QObject
{
    Q_OBJECT

public:
    /// What FilesCopy works with; all must outlive it.
    struct Parts
    {
        DeviceLink &link;
        DeviceFiles &files;
        DeviceFileOperations &operations;
        TransferStatus &transfer;
        UserPrompts &prompts;
        ShellSink &shell;
    };

    explicit FilesCopy(Parts parts, QObject *parent = nullptr);

    /// Copies local files and folders, by absolute paths, into \p folder of the board.
    [[nodiscard]] Async<void> toDevice(QStringList paths, QString folder);
    /// Copies files and folders of the board, as last listed, into the local \p folder.
    [[nodiscard]] Async<void> fromDevice(QList<DeviceFileNode> nodes, QString folder);

signals:
    /// Files on this computer were created or changed.
    void localFilesChanged();

private:
    using Kind = DeviceFileOperations::Kind;

    /// What is copied: the relative path of an item begins with the name of a source.
    struct Plan
    {
        CopyPlan entries;
        /// The folder of each source by the source's name.
        QHash<QString, QString> folders;

        [[nodiscard]] QString source(const QString &relativePath) const;
        /// Removes the items that are not to be replaced.
        void drop(const QStringList &relativePaths);
    };

    [[nodiscard]] static Plan planLocal(const QStringList &paths);
    /// Which files of \p plan exist at their target, given what was found there. Fails when a file
    /// is where a folder must be, or the other way round.
    [[nodiscard]] static Result<QStringList> collisions(const Plan &plan, const QString &folder,
                                                        const QList<Kind> &found);
    /// Asks about \p existing, and drops them from the plan if they are skipped.
    [[nodiscard]] Async<Plan> resolve(Plan plan, QStringList existing, QString where);
    [[nodiscard]] Async<QList<WritePermit>> permits(QStringList names, QString folder);
    /// Copies \p plan, and keeps what is left when that ends early.
    [[nodiscard]] Async<void> sendAll(Plan plan, QString folder, QList<WritePermit> permits);
    [[nodiscard]] Async<void> resumeSending(Plan rest, QString folder, QString board);
    [[nodiscard]] Async<void> receiveAll(Plan plan, QString folder);
    [[nodiscard]] Async<void> resumeReceiving(Plan rest, QString folder, QString board);
    /// How many files of a plan are finished.
    using Count = std::shared_ptr<qsizetype>;
    [[nodiscard]] Async<void> send(Plan plan, QString folder, QList<WritePermit> permits,
                                   Count count);
    [[nodiscard]] Async<void> receive(Plan plan, QString folder, Count count);

    Parts m_parts;
    Background m_background;
    LocalPieces m_local{m_background};
    FileReceiver m_receiver;
    Lifetime m_life;
};

} // namespace Korvane
