#include "app/BoardStore.h"

#include "board/DeviceError.h"
#include "board/DeviceFileContent.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

Error writeFailure(Error error)
{
    error.message.prepend(QStringLiteral("Device write failed: "));
    return error;
}

} // namespace

BoardStore::BoardStore(DeviceLink &link, DeviceFiles &files)
    : m_link(link)
    , m_files(files)
{
}

Async<std::optional<QByteArray>> BoardStore::read(DocumentPlace place)
{
    const auto life = m_life.watch();
    const auto isThere = co_await exists(place);
    if (!life)
        co_return DeviceError::closed();
    if (!isThere)
        co_return isThere.error();
    if (!*isThere)
        co_return std::optional<QByteArray>();
    const auto bytes = co_await m_files.readDeviceFile(place.path, place.path);
    if (!bytes)
        co_return bytes.error();
    co_return std::optional(*bytes);
}

Async<DocumentStore::Comparison> BoardStore::compare(DocumentPlace place,
                                                     QList<QByteArray> contents)
{
    const auto held = co_await compareOnBoard(std::move(place), std::move(contents));
    if (!held && held.error().code == ErrorCode::NoRawREPL)
        co_return writeFailure(DeviceError::noRawREPL());
    if (!held && held.error().code == ErrorCode::BoardReplaced)
        co_return writeFailure(held.error());
    co_return held;
}

Async<DocumentStore::Comparison> BoardStore::compareOnBoard(DocumentPlace place,
                                                            QList<QByteArray> contents)
{
    const auto life = m_life.watch();
    const bool isLarge =
        std::any_of(contents.cbegin(), contents.cend(), [](const QByteArray &content) {
            return content.size() > DeviceFileContent::smallSize;
        });
    if (!isLarge) // then reading it takes fewer commands
        co_return co_await DocumentStore::compare(std::move(place), std::move(contents));
    const auto isThere = co_await exists(place);
    if (!life)
        co_return DeviceError::closed();
    if (!isThere)
        co_return isThere.error();
    if (!*isThere)
        co_return Comparison::NoFile;
    const auto isEqual = co_await m_files.deviceFileHolds(place.path, std::move(contents));
    if (!isEqual)
        co_return isEqual.error();
    co_return *isEqual ? Comparison::Equal : Comparison::Different;
}

Async<void> BoardStore::write(DocumentPlace place, QString text, QString name)
{
    const auto life = m_life.watch();
    const auto isSameBoard = co_await checkBoard(place);
    if (!life)
        co_return DeviceError::closed();
    if (!isSameBoard)
        co_return writeFailure(isSameBoard.error());
    const WritePermit permit = m_files.permitWrite(place.path);
    co_return co_await m_files.writeTextToDevice(text, permit, name);
}

Async<bool> BoardStore::exists(DocumentPlace place)
{
    const auto life = m_life.watch();
    const auto isSameBoard = co_await checkBoard(place);
    if (!life)
        co_return DeviceError::closed();
    if (!isSameBoard)
        co_return isSameBoard.error();
    co_return co_await m_files.checkDeviceFileExists(place.path);
}

Async<void> BoardStore::checkBoard(DocumentPlace place)
{
    const auto life = m_life.watch();
    const auto board = co_await m_link.boardIdentity();
    if (!life)
        co_return DeviceError::closed();
    if (!board)
        co_return board.error();
    if (*board == place.board)
        co_return Result<void>();
    co_return Error{ErrorCode::BoardReplaced,
                    QStringLiteral("%1 belongs to another board. Send it to this one, or save it "
                                   "under another name.")
                        .arg(place.path)};
}

} // namespace Korvane
