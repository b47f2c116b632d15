#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/Result.h"
#include "base/UserPrompts.h"
#include "document/EditorFile.h"

#include <QCoro/QCoroTask>

#include <functional>

namespace Korvane {

class BoardDocuments;
class DeviceFiles;
class ErrorReporter;
class OpenFiles;
class LocalFiles;
class ShellSink;
class TransferStatus;

/// Saving the selected document: where it lives, into the folder being browsed, or where a save
/// dialog says. A document is looked up again after every wait: one that was closed before its text
/// was written is left alone. Main thread; files are written on others.
class DocumentSaving final
{
public:
    /// What DocumentSaving works with; all must outlive it.
    struct Parts
    {
        OpenFiles &documents;
        BoardDocuments &boardDocuments;
        LocalFiles &localFiles;
        DeviceFiles &deviceFiles;
        TransferStatus &transfer;
        UserPrompts &prompts;
        ShellSink &shell;
        ErrorReporter &errors;
        /// Whether the person browses a connected board rather than this computer.
        std::function<bool()> isBoardBrowsed;
    };

    explicit DocumentSaving(Parts parts);

    QCoro::Task<void> save();
    /// Asks for a name first.
    QCoro::Task<void> saveToBrowsedFolder();
    /// Asks with a save dialog.
    QCoro::Task<void> saveAs();

private:
    [[nodiscard]] QCoro::Task<void> saveIntoBoardFolder(QUuid id, QString folder, QString name);
    [[nodiscard]] QCoro::Task<void> saveIntoLocalFolder(QUuid id, QString folder, QString name);
    /// Writes the document to \p path, where it then lives. False when it could not, which the
    /// Shell then says, and when this has gone.
    [[nodiscard]] QCoro::Task<bool> saveAt(QUuid id, QString path);
    /// Writes the text alone; false as above.
    [[nodiscard]] QCoro::Task<bool> write(DocumentText document, QString path);

    Parts m_parts;
    Background m_background;
    Lifetime m_life;
};

} // namespace Korvane
