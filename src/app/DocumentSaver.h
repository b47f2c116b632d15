#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "base/UserPrompts.h"
#include "document/DocumentWriter.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QSet>
#include <QUuid>

#include <functional>
#include <list>
#include <optional>
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
        /// Whether to ask before a document with edits that are not saved is closed. If not, it is
        /// closed with OpenFiles::closeKeepingEdits.
        std::function<bool()> asksBeforeClosing;
    };

    explicit DocumentSaver(Dependencies dependencies);

    /// Saves the selected document where it belongs, or asks for a name in the browsed folder.
    QCoro::Task<void> save();
    /// Asks for a name and saves the selected document into the browsed folder.
    QCoro::Task<void> saveToBrowsedFolder();
    /// Asks with a save dialog. The document belongs to the chosen local file from then on.
    QCoro::Task<void> saveAs();
    /// Closes a document; asks first when it has edits that are not saved and
    /// Dependencies::asksBeforeClosing returns true.
    QCoro::Task<void> close(QUuid id);

    /// A document is being saved or sent.
    [[nodiscard]] bool isWriting() const
    {
        return m_running > 0 || m_dependencies.writer.isWriting();
    }
    /// Returns when nothing is being saved or sent.
    [[nodiscard]] QCoro::Task<void> finished();
    /// The recovery files, in which unsaved edits are kept when the program ends.
    struct Recovery
    {
        /// Whether edits are kept there, and the last of them could be.
        std::function<bool()> keepsEdits;
        /// Whether an edit is not written there yet.
        std::function<bool()> hasPending = [] { return false; };
        /// Writes these edits; after a failure `keepsEdits` returns false.
        std::function<QCoro::Task<void>()> writePending = {};
    };
    /// Without it, edits count as kept.
    void setRecovery(Recovery recovery) { m_recovery = std::move(recovery); }
    /// Whether mayClose() has something to write or to ask about.
    [[nodiscard]] bool mustPrepareToClose() const;
    /// Whether the window may close after finished(). Writes the recovery files, and asks about
    /// each document whose save failed during that wait and each whose edits would be lost. False,
    /// without a question, when the user canceled such a save.
    [[nodiscard]] QCoro::Task<bool> mayClose();

private:
    /// True when ending the program now would lose unsaved edits.
    [[nodiscard]] bool losesEdits() const;
    /// The following return whether the document was saved.
    [[nodiscard]] QCoro::Task<bool> saveFile(QUuid id);
    /// Asks about unsaved edits; true when they were saved or the user discards them.
    [[nodiscard]] QCoro::Task<bool> saveOrDiscard(QUuid id);
    [[nodiscard]] QCoro::Task<bool> saveWithName(QUuid id);
    [[nodiscard]] QCoro::Task<bool> saveWithDialog(QUuid id);
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
    /// Closes the other document that is open where \p id was saved. One that was edited since
    /// mayReplaceOpenFile() becomes one that is not saved anywhere.
    void closeReplaced(QUuid id, const DocumentPlace &place);

    Dependencies m_dependencies;
    std::optional<Recovery> m_recovery;
    QSet<QUuid> m_closing;     // whose question is open
    QSet<QUuid> m_replaceable; // whose edits the user discards when another one replaces them
    int m_running = 0;         // calls of writeTo
    std::list<OneShot<bool>> m_runningEnds;
    QHash<QUuid, Error> m_failures; // of the last save of each document, since finished()
    Background m_background;
    Lifetime m_life;
};

} // namespace Korvane
