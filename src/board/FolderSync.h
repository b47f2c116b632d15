#pragma once

#include "base/Async.h"
#include "base/Background.h"
#include "base/Lifetime.h"
#include "board/FolderChanges.h"
#include "board/IgnoreRules.h"
#include "board/LocalPieces.h"
#include "board/TransferStatus.h"
#include "board/WritePermit.h"

#include <QObject>

namespace Korvane {

class DeviceFiles;
class DeviceLink;
class ShellSink;

/// Compares the files of a local folder with those of a folder on the board, and sends those that
/// differ. The messages of errors are the full text for the user. Main thread only; local files are
/// read in the background.
class FolderSync final : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this.
    FolderSync(DeviceLink &link, DeviceFiles &files, TransferStatus &transfer, ShellSink &shell,
               QObject *parent = nullptr);

    /// Compares \p localFolder with \p boardFolder, which need not exist. Files of equal name and
    /// size are compared by digests, which the board computes, several files with one command. Left
    /// out are hidden entries, those of IgnoreRules and virtual environments.
    [[nodiscard]] Async<FolderChanges> compare(QString localFolder, QString boardFolder);
    /// Removes the files of \p changes that are only on the board, then sends those that are new or
    /// changed: on a file system that ignores case, both may name one file. Stops at the first
    /// failure; what was done before is kept, and TransferStatus has the rest. Fails with
    /// `BoardReplaced` when another board was connected since the comparison.
    [[nodiscard]] Async<void> send(FolderChanges changes);

private:
    struct Tree
    {
        QList<CopyItem> items;
        QList<CopyPlan::Skipped> skipped;
        IgnoreRules rules;
    };

    [[nodiscard]] static Result<Tree> readTree(const QString &folder);
    [[nodiscard]] QList<CopyItem> boardItems(const QString &folder, const IgnoreRules &rules) const;
    /// The digests of the board's files; empty for one that cannot be opened.
    [[nodiscard]] Async<QList<QByteArray>> boardDigests(QList<CopyItem> files, QString folder,
                                                        PieceTransfer::Observer observer);
    [[nodiscard]] Async<void> sendFile(FolderChanges::Entry entry, QString localFolder,
                                       WritePermit permit, PieceTransfer::Observer observer);
    /// Sends the rest of an earlier send. Fails when another board than the one with that identity
    /// is connected.
    [[nodiscard]] Async<void> resume(FolderChanges rest, QString board);

    DeviceLink &m_link;
    DeviceFiles &m_files;
    TransferStatus &m_transfer;
    ShellSink &m_shell;
    Background m_background;
    LocalPieces m_local{m_background};
    Lifetime m_life;
};

} // namespace Korvane
