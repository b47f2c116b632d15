#include "board/DeviceFiles.h"

#include "base/Utf8.h"
#include "board/DeviceError.h"
#include "board/DeviceLink.h"
#include "board/DeviceListing.h"
#include "board/TransferStatus.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace Korvane {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto transferTimeout = 15s; // listing, making folders
constexpr auto quickTimeout = 5s;     // looking for a file, deleting one

const QString okMarker = u"__OK__"_s;

/// A command that failed, described for the user.
Error failure(const QString &prefix, Error error)
{
    error.message.prepend(prefix);
    return error;
}

/// A command whose output is not what the script prints on success.
Error refusal(const QString &message)
{
    return {ErrorCode::Remote, message};
}

Async<void> append(std::shared_ptr<QByteArray> bytes, QByteArray piece)
{
    bytes->append(piece);
    co_return Result<void>();
}

} // namespace

DeviceFiles::DeviceFiles(DeviceLink &link, UserPrompts &prompts, TransferStatus &transfer,
                         QObject *parent)
    : QObject(parent)
    , m_link(link)
    , m_prompts(prompts)
    , m_transfer(transfer)
    , m_profile(link)
    , m_content(link, prompts, m_profile)
{
    connect(&link, &DeviceLink::ended, this, &DeviceFiles::clearBoardState);
}

QCoro::Task<void> DeviceFiles::refreshDeviceFiles()
{
    if (!m_link.connectionState().isConnected())
        co_return;
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    setListings(m_listings + 1);
    const auto listed = co_await list();
    if (!life)
        co_return;
    if (connection == m_link.connectionNumber())
        m_listingError = listed ? std::nullopt : std::optional(listed.error());
    setListings(m_listings - 1);
    if (!listed)
        emit listingFailed(listed.error());
}

Async<void> DeviceFiles::list()
{
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    const auto output = co_await m_profile.listing();
    if (!life)
        co_return DeviceError::closed();
    if (connection != m_link.connectionNumber()) // the listing is of an earlier one
        co_return Result<void>();
    if (!output)
        co_return failure(u"Device file listing failed: "_s, output.error());
    auto nodes = DeviceListing::parse(*output);
    if (!nodes)
        co_return refusal(u"Could not parse device file listing"_s);
    m_deviceFileNodes = *std::move(nodes);
    if (!deviceChildren(m_deviceWorkingDir))
        setDeviceWorkingDir(u"/"_s);
    emit deviceFileNodesChanged();
    co_return Result<void>();
}

Async<QByteArray> DeviceFiles::readDeviceFile(QString path, QString label)
{
    const DeviceFileNode *node = deviceNode(path);
    const qint64 size = node ? node->size : 0;
    std::optional<TransferStatus::Running> running;
    PieceTransfer::Observer observer;
    if (size > DeviceFileContent::smallSize) {
        running.emplace(m_transfer);
        running->setStatus(u"Reading %1…"_s.arg(label));
        running->setTotal(size);
        observer = running->observer();
    }
    const auto bytes = std::make_shared<QByteArray>();
    const PieceTransfer::Sink sink = [bytes](const QByteArray &piece) {
        return append(bytes, piece);
    };
    const auto received = co_await m_content.read(path, label, size, sink, observer);
    if (!received)
        co_return received.error();
    co_return std::move(*bytes);
}

Async<bool> DeviceFiles::deviceFileHolds(QString path, QList<QByteArray> contents)
{
    return m_content.holds(std::move(path), std::move(contents));
}

Async<void> DeviceFiles::receiveFile(QString path, QString label, PieceTransfer::Sink sink,
                                     PieceTransfer::Observer observer)
{
    const DeviceFileNode *node = deviceNode(path);
    const qint64 size = node ? node->size : 0;
    co_return co_await m_content.read(path, label, size, std::move(sink), std::move(observer));
}

QCoro::Task<bool> DeviceFiles::deviceFileExists(QString path)
{
    const auto life = m_life.watch();
    const auto isThere = co_await checkDeviceFileExists(path);
    if (!life)
        co_return false;
    if (isThere)
        co_return *isThere;
    const DeviceFileNode *node = deviceNode(path);
    co_return node && !node->isDirectory;
}

Async<bool> DeviceFiles::checkDeviceFileExists(QString path)
{
    const auto output = co_await m_profile.existsReply(path);
    if (!output)
        co_return output.error();
    const auto answer = BoardScripts::textAfter(*output, "__EXISTS__"_L1);
    if (!answer)
        co_return refusal(u"Could not look for "_s + path + u" on the device"_s);
    co_return answer->startsWith(u'1');
}

Async<void> DeviceFiles::checkBoard(QString identity)
{
    const auto connected = co_await m_link.boardIdentity();
    if (!connected)
        co_return connected.error();
    if (*connected != identity) {
        co_return Error{
            ErrorCode::BoardReplaced,
            u"Nothing was changed: this is not the board that the transfer began with."_s};
    }
    co_return Result<void>();
}

Async<void> DeviceFiles::writeDeviceFile(QByteArray bytes, WritePermit permit, QString label)
{
    std::optional<TransferStatus::Running> running;
    PieceTransfer::Observer observer;
    if (bytes.size() > DeviceFileContent::smallSize) {
        const QString shown = m_transfer.status();
        running.emplace(m_transfer);
        running->setStatus(shown.isEmpty() ? u"Writing %1…"_s.arg(label) : shown);
        running->setTotal(bytes.size());
        observer = running->observer();
    }
    auto source = DeviceFileContent::sourceOf(bytes);
    co_return co_await sendFile(std::move(source), permit, label, observer);
}

Async<void> DeviceFiles::sendFile(DeviceFileContent::Source source, WritePermit permit,
                                  QString label, PieceTransfer::Observer observer)
{
    if (auto same = checkConnection(permit.m_connection); !same)
        co_return same;
    const auto life = m_life.watch();
    auto written = co_await m_content.write(std::move(source), permit, label, std::move(observer));
    if (!life)
        co_return DeviceError::closed();
    // What the board holds now may differ from what was listed, also while the file was written.
    constexpr std::array wrote{ErrorCode::Remote,   ErrorCode::TimedOut, ErrorCode::Damaged,
                               ErrorCode::Canceled, ErrorCode::File,     ErrorCode::SerialPort};
    if (!written && std::count(wrote.begin(), wrote.end(), written.error().code) > 0)
        refreshDeviceFiles();
    if (written)
        emit fileWritten(permit.path());
    co_return written;
}

Async<void> DeviceFiles::writeTextToDevice(QString text, WritePermit permit, QString label)
{
    if (!text.isValidUtf16())
        co_return refusal(u"Cannot encode "_s + label + u" as UTF-8"_s);
    co_return co_await writeDeviceFile(text.toUtf8(), permit, label);
}

Async<void> DeviceFiles::deleteDeviceNode(DeviceFileNode node)
{
    const auto life = m_life.watch();
    const auto kind =
        node.isDirectory ? BoardScripts::NodeKind::Folder : BoardScripts::NodeKind::File;
    auto removed = co_await removeEntry(node.path, kind);
    if (!life)
        co_return DeviceError::closed();
    if (removed)
        co_await refreshDeviceFiles();
    co_return removed;
}

Async<void> DeviceFiles::removeEntry(QString path, BoardScripts::NodeKind kind)
{
    const auto life = m_life.watch();
    const auto onBoard = co_await m_profile.nativePath(path);
    if (!life)
        co_return DeviceError::closed();
    if (!onBoard)
        co_return failure(u"Delete failed: "_s, onBoard.error());
    const auto output =
        co_await m_link.executeOnDevice(BoardScripts::remove(*onBoard, kind), quickTimeout);
    if (!output)
        co_return failure(u"Delete failed: "_s, output.error());
    if (output->contains(okMarker))
        co_return Result<void>();
    if (const auto reason = BoardScripts::textAfter(*output, "__ERR__"_L1)) {
        co_return refusal(u"Delete failed: "_s + DeviceError::withSystemErrorNamed(*reason));
    }
    co_return refusal({});
}

Async<void> DeviceFiles::makeDeviceFolders(QStringList paths, WritePermit permit)
{
    if (paths.isEmpty())
        co_return Result<void>();
    if (auto same = checkConnection(permit.m_connection); !same)
        co_return same;
    const QString prefix = u"Could not create folders on the device: "_s;
    if (const auto known = m_profile.known(); known && known->isFlat)
        co_return refusal(prefix + u"it has no folders."_s);
    const auto output =
        co_await m_link.executeOnDevice(BoardScripts::makeFolders(paths), transferTimeout);
    if (!output)
        co_return failure(prefix, output.error());
    if (output->contains(okMarker))
        co_return Result<void>();
    co_return refusal(prefix + output->trimmed());
}

WritePermit DeviceFiles::permitWrite(const QString &path) const
{
    return {path, m_link.connectionNumber()};
}

Result<void> DeviceFiles::check(const WritePermit &permit) const
{
    return checkConnection(permit.m_connection);
}

Async<WritePermit> DeviceFiles::requestWrite(WriteRequest request)
{
    const QString path = request.path;
    if (m_claimedPaths->contains(path))
        co_return DeviceError::alreadyWriting(path);
    const WritePermit permit(path, m_link.connectionNumber(),
                             std::make_shared<WritePermit::Claim>(m_claimedPaths, path));
    if (!request.question)
        co_return permit;
    const auto life = m_life.watch();
    bool exists = false;
    if (request.looksForPath) {
        exists = co_await deviceFileExists(path);
        if (!life)
            co_return DeviceError::closed();
    }
    if (const auto question = request.question(exists)) {
        const auto confirmed = co_await confirmAction(*question, request.declined);
        if (!confirmed)
            co_return confirmed.error();
    }
    co_return permit;
}

DeviceFiles::WriteRequest DeviceFiles::replaceRequest(const QString &label, const QString &path,
                                                      const QString &declinedNotice) const
{
    WriteRequest request{path, {}, DeviceError::canceled(declinedNotice)};
    if (m_overwriteConfirmedPaths.contains(path))
        return request;
    request.question = [this, label,
                        path](bool exists) -> std::optional<UserPrompts::Confirmation> {
        if (!exists)
            return std::nullopt;
        const DeviceFileNode *node = deviceNode(path);
        const QString size = node ? u" (%1 bytes)"_s.arg(node->size) : QString();
        UserPrompts::Confirmation question;
        question.title = u"Replace “%1” on the device?"_s.arg(label);
        question.message = path + size + u" already exists on "_s + portLabel()
            + u". Writing replaces it, and the copy on the board is lost."_s;
        question.confirmTitle = u"Replace"_s;
        question.dontAskAgainPath = path;
        return question;
    };
    return request;
}

Async<void> DeviceFiles::confirmAction(UserPrompts::Confirmation question, Error declined)
{
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    const QString path = question.dontAskAgainPath;
    const auto answer = co_await m_prompts.confirm(std::move(question));
    if (!life)
        co_return DeviceError::closed();
    if (!answer.confirmed)
        co_return declined;
    if (auto same = checkConnection(connection); !same)
        co_return same;
    if (answer.dontAskAgain && !path.isEmpty() && connection == m_link.connectionNumber())
        m_overwriteConfirmedPaths.insert(path);
    co_return Result<void>();
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
        return u"Connecting…"_s;
    case DeviceConnectionState::Kind::Disconnected:
        break;
    }
    return u"Not connected"_s;
}

void DeviceFiles::clearBoardState()
{
    m_deviceFileNodes.clear();
    m_listingError.reset();
    m_overwriteConfirmedPaths.clear();
    m_claimedPaths = std::make_shared<ClaimedPaths>();
    setDeviceWorkingDir(u"/"_s);
    emit deviceFileNodesChanged();
}

/// While not connected, the command itself fails.
Result<void> DeviceFiles::checkConnection(int connection) const
{
    if (connection != m_link.connectionNumber() && m_link.connectionState().isConnected())
        return DeviceError::boardReplaced();
    return {};
}

void DeviceFiles::setListings(int listings)
{
    const bool wasLoading = isLoadingDeviceFiles();
    m_listings = listings;
    if (wasLoading != isLoadingDeviceFiles())
        emit isLoadingDeviceFilesChanged();
}

} // namespace Korvane
