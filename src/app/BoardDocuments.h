#pragma once

#include "base/Lifetime.h"
#include "board/BoardRecords.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <functional>

namespace Korvane {

class DeviceFiles;
class DeviceLink;
class DocumentWriter;
class EditorFile;
class ErrorReporter;
class FileWatch;
class OpenFiles;
class ShellSink;
class TransferStatus;

/// Documents that belong to files of the board, and sending one there. Documents whose files this
/// program writes, and those that a listing shows to be deleted, are compared with their files
/// (FileWatch). Main thread only.
class BoardDocuments final : public QObject
{
    Q_OBJECT

public:
    /// What BoardDocuments works with; all must outlive it.
    struct Dependencies
    {
        OpenFiles &documents;
        DocumentWriter &writer;
        FileWatch &watch;
        DeviceLink &link;
        DeviceFiles &files;
        TransferStatus &transfer;
        ShellSink &shell;
        ErrorReporter &errors;
    };

    explicit BoardDocuments(Dependencies dependencies, QObject *parent = nullptr);

    /// Selects the document that belongs there and reads it again unless it has edits, or reads the
    /// file into a new one. \p prepare is called with a new one before it is shown. A failure is
    /// written to the Shell. The task may be dropped.
    QCoro::Task<void> openDeviceFile(DeviceFileNode node,
                                     std::function<void(EditorFile &)> prepare = {});
    /// Writes the selected document to the board: to where it belongs, otherwise into the root
    /// folder, asking before a file there is replaced. A failure is written to the Shell. The task
    /// may be dropped.
    QCoro::Task<void> sendCurrentFileToDevice();

signals:
    /// A document was sent: the board's files should be shown now.
    void sent();
    /// The user chose to save the document, which is selected, elsewhere instead of replacing the
    /// board's file.
    void saveAsRequested();

private:
    QCoro::Task<void> followWrite(QString path);
    QCoro::Task<void> followListing();
    [[nodiscard]] bool isListedOtherwise(const EditorFile &file) const;

    Dependencies m_dependencies;
    Lifetime m_life;
};

} // namespace Korvane
