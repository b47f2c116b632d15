#pragma once

#include "base/Async.h"
#include "base/Background.h"
#include "base/Lifetime.h"
#include "board/BatchCopier.h"
#include "board/BoardRecords.h"
#include "board/CopyPlan.h"
#include "board/LocalPieces.h"

#include <QObject>

namespace Korvane {

class DeviceFiles;
class DeviceLink;
class ShellSink;
class TransferStatus;

/// Copies files and whole folders between this computer and the board, in both directions.
///
/// A folder copy asks once and stops at the first failure; what was copied before is kept, and
/// TransferStatus has the rest. Start and success are written to the Shell, failures are returned.
/// Local files are read and written in pieces, off the main thread; a local file is replaced when
/// all of its content has arrived and was checked. Main thread only.
class FileTransfer final : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this.
    FileTransfer(DeviceLink &link, DeviceFiles &files, TransferStatus &transfer, ShellSink &shell,
                 QObject *parent = nullptr);

    /// Into the board folder being browsed.
    [[nodiscard]] Async<void> copyFileToDevice(QString localFile);
    [[nodiscard]] Async<void> copyFolderToDevice(QString localFolder);
    /// Into \p destinationFolder on this computer.
    [[nodiscard]] Async<void> copyFileFromDevice(DeviceFileNode file, QString destinationFolder);
    [[nodiscard]] Async<void> copyFolderFromDevice(DeviceFileNode folder,
                                                   QString destinationFolder);

signals:
    /// Files on this computer were created or changed.
    void localFilesChanged();

private:
    void reportSkipped(const CopyPlan &plan);

    DeviceLink &m_link;
    DeviceFiles &m_files;
    TransferStatus &m_transfer;
    ShellSink &m_shell;
    Background m_background;
    LocalPieces m_local{m_background};
    BatchCopier m_copier;
    Lifetime m_life;
};

} // namespace Korvane
