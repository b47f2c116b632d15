#include "board/DeviceFiles.h"

#include "base/ShellSink.h"
#include "base/Utf8.h"
#include "board/BoardScripts.h"
#include "board/DeviceLink.h"
#include "board/DeviceListing.h"

#include <chrono>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr auto transferTimeout = 15s; // listing, reading, writing, making folders
constexpr auto quickTimeout = 5s;     // looking for a file, deleting one

const QString okMarker = QStringLiteral("__OK__");

/// What follows the first \p marker, or nothing when it is missing.
std::optional<QStringView> textAfter(const QString &output, QLatin1StringView marker)
{
    const qsizetype at = output.indexOf(marker);
    if (at < 0)
        return std::nullopt;
    return QStringView(output).sliced(at + marker.size());
}

} // namespace

DeviceFiles::DeviceFiles(DeviceLink &link, ShellSink &shell, UserPrompts &prompts, QObject *parent)
    : QObject(parent)
    , m_link(link)
    , m_shell(shell)
    , m_prompts(prompts)
{
}

QCoro::Task<void> DeviceFiles::refreshDeviceFiles()
{
    if (!m_link.connectionState().isConnected())
        co_return;
    const auto life = m_life.watch();
    setListings(m_listings + 1);
    co_await list(life);
    if (life)
        setListings(m_listings - 1);
}

QCoro::Task<void> DeviceFiles::list(Lifetime::Watch life)
{
    const int linkNumber = m_linkNumber;
    const auto output = co_await m_link.executeOnDevice(BoardScripts::list(), transferTimeout);
    if (!life)
        co_return;
    if (!output) {
        m_shell.appendError(QStringLiteral("Device file listing failed: ")
                            + output.error().message);
        co_return;
    }
    if (linkNumber != m_linkNumber)
        co_return;
    auto nodes = DeviceListing::parse(*output);
    if (!nodes) {
        m_shell.appendError(QStringLiteral("Could not parse device file listing"));
        co_return;
    }
    m_deviceFileNodes = *std::move(nodes);
    if (!deviceChildren(m_deviceWorkingDir))
        setDeviceWorkingDir(QStringLiteral("/"));
    emit deviceFileNodesChanged();
}

QCoro::Task<std::optional<QByteArray>> DeviceFiles::readDeviceFile(QString path, QString label)
{
    const auto life = m_life.watch();
    const auto output = co_await m_link.executeOnDevice(BoardScripts::read(path), transferTimeout);
    if (!life)
        co_return std::nullopt;
    if (!output) {
        m_shell.appendError(
            QStringLiteral("Failed to read %1: %2").arg(label, output.error().message));
        co_return std::nullopt;
    }
    if (const auto reason = textAfter(*output, QLatin1StringView("__FILEERR__"))) {
        m_shell.appendError(QStringLiteral("Cannot read %1: %2").arg(label, reason->trimmed()));
        co_return std::nullopt;
    }
    if (const auto base64 = textAfter(*output, QLatin1StringView("__FILE__"))) {
        const QByteArray encoded = base64->trimmed().toUtf8();
        const auto decoded =
            QByteArray::fromBase64Encoding(encoded, QByteArray::AbortOnBase64DecodingErrors);
        // The decoder takes a text that was cut off for one without padding.
        if (decoded && encoded.size() % 4 == 0)
            co_return *decoded;
    }
    m_shell.appendError(QStringLiteral("Cannot decode ") + label);
    co_return std::nullopt;
}

QCoro::Task<bool> DeviceFiles::deviceFileExists(QString path)
{
    const auto life = m_life.watch();
    const auto output = co_await m_link.executeOnDevice(BoardScripts::exists(path), quickTimeout);
    if (!life)
        co_return false;
    if (output) {
        if (const auto answer = textAfter(*output, QLatin1StringView("__EXISTS__")))
            co_return answer->startsWith(u'1');
    }
    const DeviceFileNode *node = deviceNode(path);
    co_return node && !node->isDirectory;
}

QCoro::Task<bool> DeviceFiles::writeDeviceFile(QByteArray bytes, QString path, QString label)
{
    const auto life = m_life.watch();
    const auto output =
        co_await m_link.executeOnDevice(BoardScripts::write(path, bytes), transferTimeout);
    if (!life)
        co_return false;
    if (!output) {
        m_shell.appendError(QStringLiteral("Device write failed: ") + output.error().message);
        co_return false;
    }
    if (output->contains(okMarker))
        co_return true;
    m_shell.appendError(
        QStringLiteral("Device write failed for %1: %2").arg(label, output->trimmed()));
    co_return false;
}

QCoro::Task<bool> DeviceFiles::writeTextToDevice(QString text, QString path, QString label)
{
    if (!text.isValidUtf16()) {
        m_shell.appendError(QStringLiteral("Cannot encode %1 as UTF-8").arg(label));
        co_return false;
    }
    co_return co_await writeDeviceFile(text.toUtf8(), path, label);
}

QCoro::Task<bool> DeviceFiles::deleteDeviceNode(DeviceFileNode node)
{
    const auto life = m_life.watch();
    const auto kind =
        node.isDirectory ? BoardScripts::NodeKind::Folder : BoardScripts::NodeKind::File;
    const auto output =
        co_await m_link.executeOnDevice(BoardScripts::remove(node.path, kind), quickTimeout);
    if (!life)
        co_return false;
    if (output && output->contains(okMarker)) {
        co_await refreshDeviceFiles();
        co_return true;
    }
    if (!output)
        m_shell.appendError(QStringLiteral("Delete failed: ") + output.error().message);
    else if (const auto reason = textAfter(*output, QLatin1StringView("__ERR__")))
        m_shell.appendError(QStringLiteral("Delete failed: ") + reason->toString());
    co_return false;
}

QCoro::Task<bool> DeviceFiles::makeDeviceFolders(QStringList paths)
{
    if (paths.isEmpty())
        co_return true;
    const auto life = m_life.watch();
    const auto output =
        co_await m_link.executeOnDevice(BoardScripts::makeFolders(paths), transferTimeout);
    if (!life)
        co_return false;
    if (output && output->contains(okMarker))
        co_return true;
    m_shell.appendError(QStringLiteral("Could not create folders on the device: ")
                        + (output ? output->trimmed() : output.error().message));
    co_return false;
}

QCoro::Task<bool> DeviceFiles::confirmAction(UserPrompts::Confirmation question)
{
    const auto life = m_life.watch();
    const int linkNumber = m_linkNumber;
    const QString path = question.dontAskAgainPath;
    const auto answer = co_await m_prompts.confirm(std::move(question));
    if (!life || !answer.confirmed)
        co_return false;
    if (answer.dontAskAgain && !path.isEmpty() && linkNumber == m_linkNumber)
        m_overwriteConfirmedPaths.insert(path);
    co_return true;
}

QCoro::Task<bool> DeviceFiles::confirmOverwrite(QString label, QString path)
{
    const DeviceFileNode *node = deviceNode(path);
    const QString size = node ? QStringLiteral(" (%1 bytes)").arg(node->size) : QString();
    UserPrompts::Confirmation question;
    question.title = QStringLiteral("Replace “%1” on the device?").arg(label);
    question.message = path + size + QStringLiteral(" already exists on ") + portLabel()
        + QStringLiteral(". Writing replaces it, and the copy on the board is lost.");
    question.confirmTitle = QStringLiteral("Replace");
    question.dontAskAgainPath = path;
    co_return co_await confirmAction(std::move(question));
}

const QList<DeviceFileNode> *DeviceFiles::deviceChildren(const QString &path) const
{
    return DeviceListing::children(m_deviceFileNodes, path);
}

const DeviceFileNode *DeviceFiles::deviceNode(const QString &path) const
{
    return DeviceListing::find(m_deviceFileNodes, path);
}

void DeviceFiles::setDeviceWorkingDir(const QString &path)
{
    if (m_deviceWorkingDir == path)
        return;
    m_deviceWorkingDir = path;
    emit deviceWorkingDirChanged();
}

QString DeviceFiles::portLabel() const
{
    switch (m_link.connectionState().kind()) {
    case DeviceConnectionState::Kind::Connected:
        return m_link.connectionState().port();
    case DeviceConnectionState::Kind::Connecting:
        return QStringLiteral("Connecting…");
    case DeviceConnectionState::Kind::Disconnected:
        break;
    }
    return QStringLiteral("Not connected");
}

void DeviceFiles::linkEnded()
{
    ++m_linkNumber;
    m_deviceFileNodes.clear();
    m_overwriteConfirmedPaths.clear();
    setDeviceWorkingDir(QStringLiteral("/"));
    emit deviceFileNodesChanged();
}

void DeviceFiles::setListings(int listings)
{
    const bool wasLoading = isLoadingDeviceFiles();
    m_listings = listings;
    if (wasLoading != isLoadingDeviceFiles())
        emit isLoadingDeviceFilesChanged();
}

} // namespace Korvane
