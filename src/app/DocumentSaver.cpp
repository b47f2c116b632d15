#include "app/DocumentSaver.h"

#include "app/ErrorReporter.h"
#include "app/LocalFiles.h"
#include "base/DisplayPath.h"
#include "base/ShellSink.h"
#include "board/DeviceError.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/DeviceListing.h"
#include "board/TransferStatus.h"
#include "document/OpenFiles.h"

#include <QDir>
#include <QFileInfo>

#include <optional>
#include <utility>

namespace Korvane {

DocumentSaver::DocumentSaver(Dependencies dependencies)
    : m_dependencies(std::move(dependencies))
{
}

QCoro::Task<void> DocumentSaver::save()
{
    static_cast<void>(co_await saveDocument(m_dependencies.documents.selectedFileID()));
}

QCoro::Task<void> DocumentSaver::saveToBrowsedFolder()
{
    static_cast<void>(co_await saveWithName(m_dependencies.documents.selectedFileID()));
}

QCoro::Task<void> DocumentSaver::saveAs()
{
    static_cast<void>(co_await saveDocumentAs(m_dependencies.documents.selectedFileID()));
}

QHash<QUuid, Error> DocumentSaver::takeFailures()
{
    return std::exchange(m_failures, {});
}

QCoro::Task<bool> DocumentSaver::saveDocument(QUuid id)
{
    const EditorFile *file = m_dependencies.documents.file(id);
    if (!file)
        co_return false;
    const DocumentPlace place = file->place();
    const QString name = file->name();
    if (place.kind == DocumentPlace::Kind::None)
        co_return co_await saveWithName(id);
    const auto life = m_life.watch();
    const bool written =
        co_await writeTo(id, place, name, DocumentWriter::Check::AskBeforeReplacing);
    if (!life || !written)
        co_return false;
    if (place.kind == DocumentPlace::Kind::Board) {
        m_dependencies.shell.appendInfo(QStringLiteral("Saved %1 to device.").arg(name));
        co_await listBoard(name);
    }
    co_return true;
}

QCoro::Task<void> DocumentSaver::listBoard(QString name)
{
    TransferStatus::Running running(m_dependencies.transfer);
    running.setStatus(QStringLiteral("Saving %1…").arg(name));
    co_await m_dependencies.deviceFiles.refreshDeviceFiles();
}

QCoro::Task<bool> DocumentSaver::writeTo(QUuid id, DocumentPlace place, QString name,
                                         DocumentWriter::Check check)
{
    const auto life = m_life.watch();
    ++m_activeSaves;
    const bool isWritten = co_await writeAndMove(id, place, name, check);
    if (!life)
        co_return false;
    if (--m_activeSaves == 0) {
        for (OneShot<bool> &end : m_saveWaiters)
            end.deliver(true);
    }
    co_return isWritten;
}

QCoro::Task<void> DocumentSaver::finished()
{
    const auto life = m_life.watch();
    m_failures.clear();
    while (isWriting()) {
        co_await m_dependencies.writer.finished();
        if (!life)
            co_return;
        // A save is not finished with its write: its error is reported, or a dialog asks for
        // another name.
        if (m_activeSaves > 0) {
            OneShot<bool> &end = m_saveWaiters.emplace_back();
            const auto position = std::prev(m_saveWaiters.end());
            static_cast<void>(co_await end.wait());
            if (!life)
                co_return;
            m_saveWaiters.erase(position);
        }
    }
}

QCoro::Task<bool> DocumentSaver::writeAndMove(QUuid id, DocumentPlace place, QString name,
                                              DocumentWriter::Check check)
{
    std::optional<TransferStatus::Running> running;
    if (place.kind == DocumentPlace::Kind::Board) {
        running.emplace(m_dependencies.transfer);
        running->setStatus(QStringLiteral("Saving %1…").arg(name));
    }
    const auto life = m_life.watch();
    const QPointer<EditorFile> file = m_dependencies.documents.file(id);
    if (!file)
        co_return false;
    const DocumentText text = file->text(); // the writer takes the same text
    const auto outcome = co_await m_dependencies.writer.write(file, place, check);
    running.reset();
    if (!life)
        co_return false;
    m_failures.remove(id);
    if (!outcome) {
        m_failures.insert(id, outcome.error());
        m_dependencies.errors.report(outcome.error());
        co_return false;
    }
    if (*outcome == DocumentWriter::Outcome::SaveAsRequested)
        co_return co_await saveDocumentAs(id);
    if (*outcome != DocumentWriter::Outcome::Written)
        co_return false;
    if (file && !file->place().isSameFile(place)) {
        file->moveTo(name, place);
        file->setSavedText(text);
        closeReplaced(id, place); // not before: a failed write leaves both open
    }
    co_return true;
}

QCoro::Task<bool> DocumentSaver::saveWithName(QUuid id)
{
    const EditorFile *file = m_dependencies.documents.file(id);
    if (!file)
        co_return false;
    const auto life = m_life.watch();
    const bool onBoard = m_dependencies.isBoardBrowsed();
    const QString folder = onBoard ? m_dependencies.deviceFiles.deviceWorkingDir()
                                   : m_dependencies.localFiles.localWorkingDir();

    UserPrompts::NamePrompt prompt;
    prompt.title = QStringLiteral("Save File");
    prompt.message =
        QStringLiteral("Save to %1.")
            .arg(onBoard ? QStringLiteral("the device at ") + folder : displayPath(folder));
    prompt.proposedName = file->name();
    prompt.confirmTitle = QStringLiteral("Save");
    const int connection = m_dependencies.link.connectionNumber();
    const QString name = co_await m_dependencies.prompts.askName(std::move(prompt));
    if (!life || name.isEmpty())
        co_return false;
    const bool isConnected = m_dependencies.link.connectionState().isConnected();
    if (onBoard && isConnected && connection != m_dependencies.link.connectionNumber()) {
        m_dependencies.errors.report(DeviceError::boardReplaced());
        co_return false;
    }
    if (!isUsableFileName(name)) {
        m_dependencies.shell.appendError(
            QStringLiteral("“%1” isn't a usable file name.").arg(name));
        co_return false;
    }
    if (onBoard)
        co_return co_await saveIntoBoardFolder(id, folder, name);
    co_return co_await saveIntoLocalFolder(id, folder, name);
}

QCoro::Task<bool> DocumentSaver::saveIntoBoardFolder(QUuid id, QString folder, QString name)
{
    const auto life = m_life.watch();
    const QString path = DeviceListing::join(folder, name);
    auto request = m_dependencies.deviceFiles.replaceRequest(
        name, path, QStringLiteral("Send cancelled — %1 on the device is unchanged.").arg(path));
    const auto permit = co_await m_dependencies.deviceFiles.requestWrite(std::move(request));
    if (!life)
        co_return false;
    if (!permit) {
        m_dependencies.errors.report(permit.error());
        co_return false;
    }
    const auto board = co_await m_dependencies.link.boardIdentity();
    if (!life)
        co_return false;
    if (!board) {
        m_dependencies.errors.report(board.error());
        co_return false;
    }
    const DocumentPlace place = DocumentPlace::onBoard(*board, path);
    const bool mayReplace = co_await mayReplaceOpenFile(id, place);
    if (!life || !mayReplace)
        co_return false;
    // Boards without an identity of their own have that of their port.
    if (const auto same = m_dependencies.deviceFiles.check(*permit); !same) {
        m_dependencies.errors.report(same.error());
        co_return false;
    }
    const bool saved = co_await writeTo(id, place, name, DocumentWriter::Check::ReplaceAnything);
    if (!life || !saved)
        co_return false;
    m_dependencies.shell.appendInfo(QStringLiteral("Saved %1 to device as %2").arg(name, path));
    co_await listBoard(name);
    co_return true;
}

QCoro::Task<bool> DocumentSaver::saveIntoLocalFolder(QUuid id, QString folder, QString name)
{
    const auto life = m_life.watch();
    const QString path = QDir(folder).filePath(name);
    const bool mayReplace = co_await mayReplaceLocalFile(path);
    if (!life)
        co_return false;
    if (!mayReplace) {
        m_dependencies.shell.appendInfo(
            QStringLiteral("Save cancelled — %1 is unchanged.").arg(path));
        co_return false;
    }
    const bool saved = co_await saveAt(id, path);
    if (life && saved)
        m_dependencies.shell.appendInfo(QStringLiteral("Saved %1").arg(path));
    co_return saved;
}

QCoro::Task<bool> DocumentSaver::saveDocumentAs(QUuid id)
{
    const EditorFile *file = m_dependencies.documents.file(id);
    const auto life = m_life.watch();
    // GCC 12 destroys a conditional expression inside a co_await expression twice.
    QString proposed = file ? file->name() : QStringLiteral("untitled.py");
    QString folder = m_dependencies.localFiles.localWorkingDir();
    while (true) {
        const QString path = co_await m_dependencies.prompts.askSavePath(folder, proposed);
        if (!life || path.isEmpty())
            co_return false;
        const bool mayReplace = co_await mayReplaceLocalFile(path);
        if (!life)
            co_return false;
        if (mayReplace)
            co_return co_await saveAt(id, path);
        proposed = QFileInfo(path).fileName();
        folder = QFileInfo(path).absolutePath();
    }
}

QCoro::Task<bool> DocumentSaver::mayReplaceLocalFile(QString path)
{
    const auto life = m_life.watch();
    const std::function<bool()> lookFor = [path] { return QFileInfo::exists(path); };
    const auto exists = co_await m_background.run(lookFor);
    if (!exists || !life)
        co_return false;
    if (!*exists)
        co_return true;
    const QFileInfo file(path);
    UserPrompts::Confirmation question;
    question.title = QStringLiteral("Replace “%1”?").arg(file.fileName());
    question.message = QStringLiteral("%1 already exists in %2. Saving replaces it.")
                           .arg(file.fileName(), displayPath(file.absolutePath()));
    question.confirmTitle = QStringLiteral("Replace");
    const auto answer = co_await m_dependencies.prompts.confirm(std::move(question));
    co_return answer.confirmed;
}

QCoro::Task<bool> DocumentSaver::saveAt(QUuid id, QString path)
{
    const auto life = m_life.watch();
    const std::function<DocumentPlace()> resolve = [path] {
        return DocumentPlace::local(path).resolved();
    };
    const auto place = co_await m_background.run(resolve);
    if (!place)
        co_return false;
    const bool mayReplace = co_await mayReplaceOpenFile(id, *place);
    if (!life || !mayReplace)
        co_return false;
    const QString name = QFileInfo(path).fileName();
    const bool written = co_await writeTo(id, *place, name, DocumentWriter::Check::ReplaceAnything);
    if (!life || !written)
        co_return false;
    m_dependencies.localFiles.reload();
    co_return true;
}

QCoro::Task<bool> DocumentSaver::mayReplaceOpenFile(QUuid id, DocumentPlace place)
{
    const EditorFile *other = m_dependencies.documents.fileAt(place);
    if (!other || other->id() == id)
        co_return true;
    UserPrompts::Confirmation question;
    question.title = QStringLiteral("“") + other->name()
        + QStringLiteral("” is open in another tab. Replace it?");
    question.message = place.path
        + QStringLiteral(" gets the text that is saved now, and the other tab is closed.");
    if (other->isModified())
        question.message += QStringLiteral(" Its changes are lost.");
    question.confirmTitle = QStringLiteral("Replace");
    const QUuid otherID = other->id();
    const bool wasModified = other->isModified();
    const QString discarded = other->content();
    m_replaceable.remove(otherID);
    const auto life = m_life.watch();
    const auto answer = co_await m_dependencies.prompts.confirm(std::move(question));
    if (!life || !answer.confirmed)
        co_return false;
    if (wasModified)
        m_replaceable.insert(otherID, discarded);
    co_return true;
}

void DocumentSaver::closeReplaced(QUuid id, const DocumentPlace &place)
{
    for (EditorFile *file : m_dependencies.documents.openFiles()) {
        if (file->id() == id || !file->place().isSameFile(place))
            continue;
        const bool isDiscarded =
            m_replaceable.contains(file->id()) && m_replaceable.take(file->id()) == file->content();
        if (isDiscarded || !file->isModified()) {
            m_dependencies.documents.closeFile(file->id());
        } else {
            file->moveTo(file->name(), DocumentPlace());
            file->setSavedText(std::nullopt);
        }
        return;
    }
}

} // namespace Korvane
