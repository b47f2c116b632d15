#include "app/BoardDocuments.h"

#include "app/ErrorReporter.h"
#include "base/ShellSink.h"
#include "base/Utf8.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/TransferStatus.h"
#include "document/DocumentWriter.h"
#include "document/FileWatch.h"
#include "document/OpenFiles.h"

#include <QHash>
#include <QPointer>
#include <QUuid>

namespace Korvane {

BoardDocuments::BoardDocuments(Dependencies dependencies, QObject *parent)
    : QObject(parent)
    , m_dependencies(dependencies)
{
    connect(&dependencies.files, &DeviceFiles::fileWritten, this, &BoardDocuments::followWrite);
    connect(&dependencies.files, &DeviceFiles::deviceFileNodesChanged, this,
            &BoardDocuments::followListing);
}

QCoro::Task<void> BoardDocuments::openDeviceFile(DeviceFileNode node,
                                                 std::function<void(EditorFile &)> prepare)
{
    const auto life = m_life.watch();
    const auto board = co_await m_dependencies.link.boardIdentity();
    if (!life)
        co_return;
    if (!board) {
        m_dependencies.errors.report(board.error());
        co_return;
    }
    const DocumentPlace place = DocumentPlace::onBoard(*board, node.path);
    if (m_dependencies.documents.selectPlace(place)
        && m_dependencies.documents.selectedFile()->isModified())
        co_return;
    const auto bytes = co_await m_dependencies.files.readDeviceFile(node.path, node.name);
    if (!life)
        co_return;
    if (!bytes) {
        m_dependencies.errors.report(bytes.error());
        co_return;
    }
    const auto text = Utf8::decodeStrict(*bytes);
    if (!text) {
        m_dependencies.shell.appendError(QStringLiteral("Cannot decode %1 as text").arg(node.name));
        co_return;
    }
    // It may have been open before, or opened while this read it.
    EditorFile *open = m_dependencies.documents.fileAt(place);
    if (!open) {
        auto file = std::make_unique<EditorFile>(node.name, place, DocumentText::fromFile(*text));
        if (prepare)
            prepare(*file);
        m_dependencies.documents.add(std::move(file));
    } else if (!open->isModified()) {
        open->reload(DocumentText::fromFile(*text));
    }
}

QCoro::Task<void> BoardDocuments::sendCurrentFileToDevice()
{
    const QPointer<EditorFile> file = m_dependencies.documents.selectedFile();
    if (!file)
        co_return;
    const QString name = file->name();
    if (!m_dependencies.link.connectionState().isConnected()) {
        m_dependencies.shell.appendError(
            QStringLiteral("Connect a device before sending %1.").arg(name));
        co_return;
    }
    const auto life = m_life.watch();
    const auto board = co_await m_dependencies.link.boardIdentity();
    if (!life || !file)
        co_return;
    if (!board) {
        m_dependencies.errors.report(board.error());
        co_return;
    }
    const QString devicePath = file->devicePath();
    const QString target = devicePath.isEmpty() ? u'/' + name : devicePath;
    const DocumentPlace place = DocumentPlace::onBoard(*board, target);
    const bool belongsThere = file->place().isSameFile(place);
    DeviceFiles::WriteRequest request;
    request.path = target;
    if (!belongsThere) {
        request = m_dependencies.files.replaceRequest(
            name, target,
            QStringLiteral("Send cancelled — %1 on the device is unchanged.").arg(target));
    }
    const auto permit = co_await m_dependencies.files.requestWrite(std::move(request));
    if (!life || !file)
        co_return;
    if (!permit) {
        m_dependencies.errors.report(permit.error());
        co_return;
    }

    TransferStatus::Running running(m_dependencies.transfer);
    running.setStatus(QStringLiteral("Sending %1…").arg(name));
    m_dependencies.shell.appendInfo(QStringLiteral("↑ Sending %1 to %2…").arg(name, target));
    const auto check = belongsThere ? DocumentWriter::Check::AskBeforeReplacing
                                    : DocumentWriter::Check::ReplaceAnything;
    const auto outcome = co_await m_dependencies.writer.write(file, place, check);
    if (!life)
        co_return;
    if (!outcome) {
        m_dependencies.errors.report(outcome.error());
        co_return;
    }
    if (*outcome == DocumentWriter::Outcome::SaveAsRequested && file) {
        m_dependencies.documents.select(file->id());
        emit saveAsRequested();
    }
    if (*outcome != DocumentWriter::Outcome::Written)
        co_return;
    m_dependencies.shell.appendInfo(QStringLiteral("↑ Sent %1 to device as %2.").arg(name, target));
    emit sent();
    co_await m_dependencies.files.refreshDeviceFiles();
}

/// What the document itself has written is its saved text, and is not compared.
QCoro::Task<void> BoardDocuments::followWrite(QString path)
{
    QHash<QUuid, int> savedNumbers;
    for (const EditorFile *file : m_dependencies.documents.openFiles()) {
        if (file->devicePath() == path)
            savedNumbers.insert(file->id(), file->savedNumber());
    }
    if (savedNumbers.isEmpty())
        co_return;
    const auto life = m_life.watch();
    const auto board = co_await m_dependencies.link.boardIdentity();
    if (!life || !board)
        co_return;
    const DocumentPlace place = DocumentPlace::onBoard(*board, path);
    while (m_dependencies.writer.isWriting(place)) {
        co_await m_dependencies.writer.finished();
        if (!life)
            co_return;
    }
    const EditorFile *file = m_dependencies.documents.fileAt(place);
    if (file && savedNumbers.value(file->id(), -1) == file->savedNumber())
        co_await m_dependencies.watch.checkOnBoard(file->id());
}

QCoro::Task<void> BoardDocuments::followListing()
{
    QList<QUuid> ids;
    for (const EditorFile *file : m_dependencies.documents.openFiles()) {
        if (isListedOtherwise(*file))
            ids << file->id();
    }
    if (ids.isEmpty() || !m_dependencies.link.connectionState().isConnected())
        co_return;
    const auto life = m_life.watch();
    const auto board = co_await m_dependencies.link.boardIdentity();
    if (!life || !board)
        co_return;
    // Asks the board: a listing lacks what could not be read, and has the name of a file as the
    // file system keeps it.
    for (const QUuid &id : std::as_const(ids)) {
        const EditorFile *file = m_dependencies.documents.file(id);
        if (!file || file->place().board != *board)
            continue;
        co_await m_dependencies.watch.checkOnBoard(id);
        if (!life)
            co_return;
    }
}

/// The file is not in the listing, is there although it was deleted, or has another size there.
bool BoardDocuments::isListedOtherwise(const EditorFile &file) const
{
    if (file.place().kind != DocumentPlace::Kind::Board || !file.savedText())
        return false;
    const bool isDeleted = file.fileChange() == EditorFile::FileChange::Deleted;
    const DeviceFileNode *node = m_dependencies.files.deviceNode(file.place().path);
    if ((node == nullptr) != isDeleted)
        return true;
    return node && node->size > 0 && file.fileChange() == EditorFile::FileChange::None
        && node->size != file.savedText()->fileText().toUtf8().size();
}

} // namespace Korvane
