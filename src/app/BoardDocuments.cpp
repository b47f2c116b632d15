#include "app/BoardDocuments.h"

#include "app/BoardStore.h"
#include "app/ErrorReporter.h"
#include "base/ShellSink.h"
#include "base/Utf8.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/TransferStatus.h"
#include "document/DocumentWriter.h"
#include "document/OpenFiles.h"

#include <QPointer>

namespace Korvane {

BoardDocuments::BoardDocuments(Parts parts, QObject *parent)
    : QObject(parent)
    , m_parts(parts)
{
}

QCoro::Task<void> BoardDocuments::openDeviceFile(DeviceFileNode node,
                                                 std::function<void(EditorFile &)> prepare)
{
    const auto life = m_life.watch();
    const auto board = co_await m_parts.link.boardIdentity();
    if (!life)
        co_return;
    if (!board) {
        m_parts.errors.report(board.error());
        co_return;
    }
    const DocumentPlace place = DocumentPlace::onBoard(*board, node.path);
    if (m_parts.documents.selectPlace(place) && m_parts.documents.selectedFile()->isModified())
        co_return;
    const auto bytes = co_await m_parts.files.readDeviceFile(node.path, node.name);
    if (!life)
        co_return;
    if (!bytes) {
        m_parts.errors.report(bytes.error());
        co_return;
    }
    const auto text = Utf8::decodeStrict(*bytes);
    if (!text) {
        m_parts.shell.appendError(QStringLiteral("Cannot decode %1 as text").arg(node.name));
        co_return;
    }
    // It may have been open before, or opened while this read it.
    EditorFile *open = m_parts.documents.fileAt(place);
    if (!open) {
        auto file = std::make_unique<EditorFile>(node.name, place, DocumentText::fromFile(*text));
        if (prepare)
            prepare(*file);
        m_parts.documents.add(std::move(file));
    } else if (!open->isModified()) {
        open->reload(DocumentText::fromFile(*text));
    }
}

QCoro::Task<void> BoardDocuments::sendCurrentFileToDevice()
{
    const QPointer<EditorFile> file = m_parts.documents.selectedFile();
    if (!file)
        co_return;
    const QString name = file->name();
    if (!m_parts.link.connectionState().isConnected()) {
        m_parts.shell.appendError(QStringLiteral("Connect a device before sending %1.").arg(name));
        co_return;
    }
    const auto life = m_life.watch();
    const auto board = co_await m_parts.link.boardIdentity();
    if (!life || !file)
        co_return;
    if (!board) {
        m_parts.errors.report(board.error());
        co_return;
    }
    const QString devicePath = file->devicePath();
    const QString target = devicePath.isEmpty() ? u'/' + name : devicePath;
    const DocumentPlace place = DocumentPlace::onBoard(*board, target);
    const bool belongsThere = file->place().isSameFile(place);
    DeviceFiles::WriteRequest request;
    request.path = target;
    if (!belongsThere) {
        request = m_parts.files.replaceRequest(
            name, target,
            QStringLiteral("Send cancelled — %1 on the device is unchanged.").arg(target));
    }
    const auto permit = co_await m_parts.files.requestWrite(std::move(request));
    if (!life || !file)
        co_return;
    if (!permit) {
        m_parts.errors.report(permit.error());
        co_return;
    }

    TransferStatus::Running running(m_parts.transfer);
    running.setStatus(QStringLiteral("Sending %1…").arg(name));
    m_parts.shell.appendInfo(QStringLiteral("↑ Sending %1 to %2…").arg(name, target));
    const auto check = belongsThere ? DocumentWriter::Check::AskBeforeReplacing
                                    : DocumentWriter::Check::ReplaceAnything;
    const auto outcome = co_await m_parts.writer.write(file, place, check);
    if (!life)
        co_return;
    if (!outcome) {
        m_parts.errors.report(outcome.error());
        co_return;
    }
    if (*outcome != DocumentWriter::Outcome::Written)
        co_return;
    m_parts.shell.appendInfo(QStringLiteral("↑ Sent %1 to device as %2.").arg(name, target));
    emit sent();
    co_await m_parts.files.refreshDeviceFiles();
}

} // namespace Korvane
