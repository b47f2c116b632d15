#include "app/DocumentSaving.h"

#include "app/BoardDocuments.h"
#include "app/ErrorReporter.h"
#include "app/LocalFiles.h"
#include "base/DisplayPath.h"
#include "base/LocalFile.h"
#include "base/ShellSink.h"
#include "board/DeviceFiles.h"
#include "board/DeviceListing.h"
#include "board/TransferStatus.h"
#include "document/OpenFiles.h"

#include <QDir>
#include <QFileInfo>

#include <utility>

namespace Korvane {

DocumentSaving::DocumentSaving(Parts parts)
    : m_parts(std::move(parts))
{
}

QCoro::Task<void> DocumentSaving::save()
{
    const EditorFile *selected = m_parts.documents.selectedFile();
    if (!selected)
        co_return;
    const QUuid id = selected->id();
    if (!selected->devicePath().isEmpty()) {
        co_await m_parts.boardDocuments.saveToDevice(id);
        co_return;
    }
    if (selected->path().isEmpty()) {
        co_await saveToBrowsedFolder();
        co_return;
    }
    const auto life = m_life.watch();
    const DocumentText text = selected->text();
    const bool written = co_await write(text, selected->path());
    if (!life || !written)
        co_return;
    if (EditorFile *saved = m_parts.documents.file(id))
        saved->setSavedText(text);
}

QCoro::Task<void> DocumentSaving::saveToBrowsedFolder()
{
    const EditorFile *selected = m_parts.documents.selectedFile();
    if (!selected)
        co_return;
    const QUuid id = selected->id();
    const auto life = m_life.watch();
    const bool onBoard = m_parts.isBoardBrowsed();
    const QString folder =
        onBoard ? m_parts.deviceFiles.deviceWorkingDir() : m_parts.localFiles.localWorkingDir();

    UserPrompts::NamePrompt prompt;
    prompt.title = QStringLiteral("Save File");
    prompt.message =
        QStringLiteral("Save to %1.")
            .arg(onBoard ? QStringLiteral("the device at ") + folder : displayPath(folder));
    prompt.proposedName = selected->name();
    prompt.confirmTitle = QStringLiteral("Save");
    const QString name = co_await m_parts.prompts.askName(std::move(prompt));
    if (!life || name.isEmpty())
        co_return;
    if (!isUsableFileName(name)) {
        m_parts.shell.appendError(QStringLiteral("“%1” isn't a usable file name.").arg(name));
        co_return;
    }
    if (onBoard)
        co_await saveIntoBoardFolder(id, folder, name);
    else
        co_await saveIntoLocalFolder(id, folder, name);
}

QCoro::Task<void> DocumentSaving::saveIntoBoardFolder(QUuid id, QString folder, QString name)
{
    const auto life = m_life.watch();
    const QString path = DeviceListing::join(folder, name);
    auto request = m_parts.deviceFiles.replaceRequest(
        name, path, QStringLiteral("Send cancelled — %1 on the device is unchanged.").arg(path));
    const auto permit = co_await m_parts.deviceFiles.requestWrite(std::move(request));
    if (!life)
        co_return;
    if (!permit) {
        m_parts.errors.report(permit.error());
        co_return;
    }
    const EditorFile *found = m_parts.documents.file(id);
    if (!found)
        co_return;
    const DocumentText text = found->text();
    {
        TransferStatus::Running running(m_parts.transfer);
        running.setStatus(QStringLiteral("Saving %1…").arg(name));
        const auto written =
            co_await m_parts.deviceFiles.writeTextToDevice(text.fileText(), *permit, name);
        if (!life)
            co_return;
        if (!written) {
            m_parts.errors.report(written.error());
            co_return;
        }
    }
    if (EditorFile *saved = m_parts.documents.file(id)) {
        saved->moveTo(name, DocumentPlace::onBoard({}, path));
        saved->setSavedText(text);
    }
    m_parts.shell.appendInfo(QStringLiteral("Saved %1 to device as %2").arg(name, path));
    co_await m_parts.deviceFiles.refreshDeviceFiles();
}

QCoro::Task<void> DocumentSaving::saveIntoLocalFolder(QUuid id, QString folder, QString name)
{
    const auto life = m_life.watch();
    const QString path = QDir(folder).filePath(name);
    const std::function<bool()> lookFor = [path] { return QFileInfo::exists(path); };
    const auto exists = co_await m_background.run(lookFor);
    if (!exists)
        co_return;
    if (*exists) {
        UserPrompts::Confirmation question;
        question.title = QStringLiteral("Replace “%1”?").arg(name);
        question.message = QStringLiteral("%1 already exists in %2. Saving replaces it.")
                               .arg(name, displayPath(folder));
        question.confirmTitle = QStringLiteral("Replace");
        const auto answer = co_await m_parts.prompts.confirm(std::move(question));
        if (!life)
            co_return;
        if (!answer.confirmed) {
            m_parts.shell.appendInfo(QStringLiteral("Save cancelled — %1 is unchanged.").arg(path));
            co_return;
        }
    }
    const bool saved = co_await saveAt(id, path);
    if (saved)
        m_parts.shell.appendInfo(QStringLiteral("Saved %1").arg(path));
}

QCoro::Task<void> DocumentSaving::saveAs()
{
    const EditorFile *selected = m_parts.documents.selectedFile();
    const QUuid id = selected ? selected->id() : QUuid();
    const auto life = m_life.watch();
    // A conditional inside the co_await expression is destroyed twice by this compiler.
    const QString proposed = selected ? selected->name() : QStringLiteral("untitled.py");
    const QString folder = m_parts.localFiles.localWorkingDir();
    const QString path = co_await m_parts.prompts.askSavePath(folder, proposed);
    if (life && !path.isEmpty())
        co_await saveAt(id, path);
}

QCoro::Task<bool> DocumentSaving::saveAt(QUuid id, QString path)
{
    const EditorFile *found = m_parts.documents.file(id);
    if (!found)
        co_return false;
    const DocumentText text = found->text();
    const auto life = m_life.watch();
    const bool written = co_await write(text, path);
    if (!life || !written)
        co_return false;
    if (EditorFile *saved = m_parts.documents.file(id)) {
        saved->moveTo(QFileInfo(path).fileName(), DocumentPlace::local(path));
        saved->setSavedText(text);
    }
    m_parts.localFiles.reload();
    co_return true;
}

QCoro::Task<bool> DocumentSaving::write(DocumentText document, QString path)
{
    const std::function<Result<void>()> writeFile = [path,
                                                     text = document.fileText()]() -> Result<void> {
        if (!text.isValidUtf16())
            return Error{ErrorCode::NotText, QStringLiteral("The text cannot be written as UTF-8")};
        return LocalFile::writeAtomically(path, text.toUtf8());
    };
    const auto written = co_await m_background.run(writeFile);
    if (!written)
        co_return false;
    if (!*written)
        m_parts.shell.appendError(QStringLiteral("Save failed: ") + written->error().message);
    co_return static_cast<bool>(*written);
}

} // namespace Korvane
