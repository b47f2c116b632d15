#pragma once

#include "base/Async.h"
#include "base/Background.h"
#include "base/Lifetime.h"
#include "board/BatchCopier.h"
#include "board/BoardRecords.h"
#include "board/CopyPlan.h"
#include "board/DeviceFileOperations.h"

#include <QHash>
#include <QObject>

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
    struct Dependencies
    {
        DeviceLink &link;
        DeviceFiles &files;
        DeviceFileOperations &operations;
        TransferStatus &transfer;
        UserPrompts &prompts;
        ShellSink &shell;
    };

    explicit FilesCopy(Dependencies dependencies, QObject *parent = nullptr);

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
        struct Source
        {
            QString folder;
            qsizetype permitIndex = 0; // as in BatchCopier::Batch
        };
        /// By name.
        QHash<QString, Source> sources;

        /// The batch that copies it into \p folder.
        [[nodiscard]] BatchCopier::Batch batchTo(const QString &folder) const;
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

    Dependencies m_dependencies;
    Background m_background;
    BatchCopier m_copier;
    Lifetime m_life;
};

} // namespace Korvane
