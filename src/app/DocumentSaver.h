#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "base/UserPrompts.h"
#include "document/DocumentWriter.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QUuid>

#include <functional>
#include <list>
#include <utility>

namespace Korvane {

class DeviceFiles;
class DeviceLink;
class ErrorReporter;
class LocalFiles;
class OpenFiles;
class ShellSink;
class TransferStatus;

/// Saves documents: where they belong, into the folder being browsed, or to a file chosen in a save
/// dialog. Failures are reported in the Shell. A document is looked up again after every wait; one
/// that was closed before its text was taken is left alone. All tasks may be dropped. Main thread
/// only.
class DocumentSaver final
{
public:
    /// What DocumentSaver works with; all must outlive it.
    struct Dependencies
    {
        OpenFiles &documents;
        DocumentWriter &writer;
        LocalFiles &localFiles;
        DeviceLink &link;
        DeviceFiles &deviceFiles;
        TransferStatus &transfer;
        UserPrompts &prompts;
        ShellSink &shell;
        ErrorReporter &errors;
        /// Whether the files of a connected board are shown rather than those of this computer.
        std::function<bool()> isBoardBrowsed;
    };

    explicit DocumentSaver(Dependencies dependencies);

    /// Saves the selected document where it belongs, or asks for a name in the browsed folder.
    QCoro::Task<void> save();
    /// Asks for a name and saves the selected document into the browsed folder.
    QCoro::Task<void> saveToBrowsedFolder();
    /// Asks with a save dialog. The document belongs to the chosen local file from then on.
    QCoro::Task<void> saveAs();
    /// As save() and saveAs(), for any document. Returns whether it was saved.
    [[nodiscard]] QCoro::Task<bool> saveDocument(QUuid id);
    [[nodiscard]] QCoro::Task<bool> saveDocumentAs(QUuid id);

    /// A document is being saved or sent.
    [[nodiscard]] bool isWriting() const
    {
        return m_activeSaves > 0 || m_dependencies.writer.isWriting();
    }
    /// Returns when nothing is being saved or sent.
    [[nodiscard]] QCoro::Task<void> finished();
    /// The errors of the documents whose last save has failed since finished() was called. They are
    /// yielded once.
    [[nodiscard]] QHash<QUuid, Error> takeFailures();

private:
    /// The following return whether the document was saved.
    [[nodiscard]] QCoro::Task<bool> saveWithName(QUuid id);
    [[nodiscard]] QCoro::Task<bool> saveIntoBoardFolder(QUuid id, QString folder, QString name);
    [[nodiscard]] QCoro::Task<bool> saveIntoLocalFolder(QUuid id, QString folder, QString name);
    /// Asks whether a file at \p path may be replaced; true without one.
    [[nodiscard]] QCoro::Task<bool> mayReplaceLocalFile(QString path);
    [[nodiscard]] QCoro::Task<bool> saveAt(QUuid id, QString path);
    [[nodiscard]] QCoro::Task<bool> writeTo(QUuid id, DocumentPlace place, QString name,
                                            DocumentWriter::Check check);
    [[nodiscard]] QCoro::Task<bool> writeAndMove(QUuid id, DocumentPlace place, QString name,
                                                 DocumentWriter::Check check);
    /// Asks whether another document that is open at \p place may be replaced; true without one.
    [[nodiscard]] QCoro::Task<bool> mayReplaceOpenFile(QUuid id, DocumentPlace place);
    /// Lists the board's files after the save of \p name, as a part of it: a program that is
    /// started waits for its end, and would otherwise take the link from the listing.
    QCoro::Task<void> listBoard(QString name);
    /// Closes the other document that is open where \p id was saved. One that was edited since
    /// mayReplaceOpenFile() becomes one that is not saved anywhere.
    void closeReplaced(QUuid id, const DocumentPlace &place);

    Dependencies m_dependencies;
    /// The edited text of documents that the user discards when another one replaces them.
    QHash<QUuid, QString> m_replaceable;
    int m_activeSaves = 0;                  // calls of writeTo
    std::list<OneShot<bool>> m_saveWaiters; // calls of finished()
    QHash<QUuid, Error> m_failures;         // of the last save of each document, since finished()
    Background m_background{16, std::chrono::milliseconds(0)}; // only reads
    Lifetime m_life;
};

} // namespace Korvane
