#pragma once

#include "base/Async.h"
#include "base/Background.h"
#include "base/Lifetime.h"
#include "board/BoardRecords.h"
#include "board/CopyPlan.h"

#include <QObject>

namespace Korvane {

class DeviceFiles;
class DeviceLink;
class ShellSink;
class TransferStatus;

/// Copies files and whole folders between this computer and the board, in both directions.
///
/// A folder copy asks once, then works through its plan and stops at the first failure; what was
/// copied before stays, and copying again merges. Start and success are written to the Shell,
/// failures are returned. Local files are read and written off the main thread; everything else
/// happens on it.
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
    /// Files on this computer came or changed.
    void localFilesChanged();

private:
    /// Copies \p files, which are below both folders, and stops at the first failure.
    [[nodiscard]] Async<void> receiveFiles(QList<CopyItem> files, QString sourceFolder,
                                           QString targetFolder);
    /// One line for each reason, which names the first five entries and counts the rest.
    void reportSkipped(const QList<CopyPlan::Skipped> &skipped);

    DeviceLink &m_link;
    DeviceFiles &m_files;
    TransferStatus &m_transfer;
    ShellSink &m_shell;
    Background m_background;
    Lifetime m_life;
};

} // namespace Korvane
