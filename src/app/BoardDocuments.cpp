#include "app/BoardDocuments.h"

#include "app/ErrorReporter.h"
#include "base/ShellSink.h"
#include "base/Utf8.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/TransferStatus.h"
#include "document/OpenFiles.h"

#include <QPointer>

namespace Korvane {

BoardDocuments::BoardDocuments(Parts parts, QObject *parent)
    : QObject(parent)
    , m_parts(parts)
{
}

QCoro::Task<void> BoardDocuments::openDeviceFile(DeviceFileNode node)
{
    const DocumentPlace place = DocumentPlace::onBoard({}, node.path);
    if (m_parts.documents.selectPlace(place))
        co_return;
    const auto life = m_life.watch();
    const auto bytes = co_await m_parts.files.readDeviceFile(node.path, node.name);
    if (!life)
        co_return;
    if (!bytes) {
        m_parts.errors.report(bytes.error());
        co_return;
    }
    // Asked for twice, the file may have been opened while this read it.
    if (m_parts.documents.selectPlace(place))
        co_return;
    const auto text = Utf8::decodeStrict(*bytes);
    if (!text) {
        m_parts.shell.appendError(QStringLiteral("Cannot decode %1 as text").arg(node.name));
        co_return;
    }
    m_parts.documents.open(node.name, place, *text);
}

QCoro::Task<void> BoardDocuments::sendCurrentFileToDevice()
{
    EditorFile *selected = m_parts.documents.selectedFile();
    if (!selected)
        co_return;
    const QPointer<EditorFile> file = selected;
    const QString name = file->name();
    const DocumentText text = file->text();
    const QString devicePath = file->devicePath();
    if (!m_parts.link.connectionState().isConnected()) {
        m_parts.shell.appendError(QStringLiteral("Connect a device before sending %1.").arg(name));
        co_return;
    }
    const auto life = m_life.watch();
    const bool livesOnBoard = !devicePath.isEmpty();
    const QString target = livesOnBoard ? devicePath : u'/' + name;
    DeviceFiles::WriteRequest request;
    request.path = target;
    if (!livesOnBoard) {
        request = m_parts.files.replaceRequest(
            name, target,
            QStringLiteral("Send cancelled — %1 on the device is unchanged.").arg(target));
    }
    const auto permit = co_await m_parts.files.requestWrite(std::move(request));
    if (!life)
        co_return;
    if (!permit) {
        m_parts.errors.report(permit.error());
        co_return;
    }

    TransferStatus::Running running(m_parts.transfer);
    running.setStatus(QStringLiteral("Sending %1…").arg(name));
    m_parts.shell.appendInfo(QStringLiteral("↑ Sending %1 to %2…").arg(name, target));
    const auto written = co_await m_parts.files.writeTextToDevice(text.fileText(), *permit, name);
    if (!life)
        co_return;
    if (!written) {
        m_parts.errors.report(written.error());
        co_return;
    }
    if (livesOnBoard && file)
        file->setSavedText(text);
    m_parts.shell.appendInfo(QStringLiteral("↑ Sent %1 to device as %2.").arg(name, target));
    emit sent();
    co_await m_parts.files.refreshDeviceFiles();
}

QCoro::Task<void> BoardDocuments::saveToDevice(QUuid id)
{
    EditorFile *found = m_parts.documents.file(id);
    if (!found || found->devicePath().isEmpty())
        co_return;
    const QPointer<EditorFile> file = found;
    const QString name = file->name();
    const DocumentText text = file->text();
    const QString devicePath = file->devicePath();
    const auto life = m_life.watch();
    TransferStatus::Running running(m_parts.transfer);
    running.setStatus(QStringLiteral("Saving %1…").arg(name));
    const WritePermit permit = m_parts.files.permitWrite(devicePath);
    const auto written = co_await m_parts.files.writeTextToDevice(text.fileText(), permit, name);
    if (!life)
        co_return;
    if (!written) {
        m_parts.errors.report(written.error());
        co_return;
    }
    if (file)
        file->setSavedText(text);
    m_parts.shell.appendInfo(QStringLiteral("Saved %1 to device.").arg(name));
    co_await m_parts.files.refreshDeviceFiles();
}

QCoro::Task<void> BoardDocuments::deleteDeviceFile(DeviceFileNode node)
{
    const auto life = m_life.watch();
    UserPrompts::Confirmation question;
    question.title = QStringLiteral("Delete “%1” from the device?").arg(node.name);
    question.message = node.isDirectory
        ? QStringLiteral("Removes the directory %1 from %2. It must be empty.")
              .arg(node.path, m_parts.files.portLabel())
        : QStringLiteral("Removes %1 (%2 bytes) from %3. This cannot be undone.")
              .arg(node.path, QString::number(node.size), m_parts.files.portLabel());
    question.confirmTitle = QStringLiteral("Delete");
    const auto confirmed = co_await m_parts.files.confirmAction(std::move(question));
    if (!life)
        co_return;
    if (!confirmed) {
        m_parts.errors.report(confirmed.error());
        co_return;
    }
    co_await m_parts.errors.reportFailureOf(m_parts.files.deleteDeviceNode(node));
}

} // namespace Korvane
