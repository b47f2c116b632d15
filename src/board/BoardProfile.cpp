#include "board/BoardProfile.h"

#include "board/BoardScripts.h"
#include "board/DeviceError.h"
#include "board/DeviceLink.h"
#include "board/TransferScripts.h"

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr auto listTimeout = 15s;
constexpr auto quickTimeout = 5s;

} // namespace

BoardProfile::BoardProfile(DeviceLink &link)
    : m_link(link)
{
}

Async<BoardCapabilities> BoardProfile::capabilities()
{
    if (const auto known = this->known())
        co_return BoardCapabilities(*known);
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    const auto output =
        co_await m_link.executeInSequence(TransferScripts::capabilities(), quickTimeout);
    if (!life)
        co_return DeviceError::closed();
    if (!output)
        co_return output.error();
    const auto capabilities = BoardCapabilities::parse(*output);
    if (!capabilities)
        co_return DeviceError::invalidAnswer();
    m_capabilities = capabilities;
    m_capabilitiesConnection = connection;
    co_return BoardCapabilities(*capabilities);
}

std::optional<BoardCapabilities> BoardProfile::known() const
{
    return m_capabilitiesConnection == m_link.connectionNumber() ? m_capabilities : std::nullopt;
}

/// The listing script fails on a board without `json`, and its list is empty on one without
/// `os.stat` or folders: in both cases the capabilities are read.
Async<QString> BoardProfile::listing()
{
    const auto life = m_life.watch();
    auto known = this->known();
    if (!known) {
        auto output = co_await m_link.executeOnDevice(BoardScripts::list(), listTimeout);
        if (!life)
            co_return DeviceError::closed();
        const bool isDoubtful = output ? output->trimmed().endsWith("__LS__[]"_L1)
                                       : output.error().code == ErrorCode::Remote;
        if (output && !isDoubtful)
            m_listedConnection = m_link.connectionNumber();
        if (!isDoubtful || isListingComplete())
            co_return output;
        const auto board = co_await capabilities();
        if (!life)
            co_return DeviceError::closed();
        if (!board)
            co_return output;
        if (board->hasJson && board->hasStatOfPaths()) {
            m_listedConnection = m_link.connectionNumber();
            co_return output;
        }
        known = *board;
    }
    const QString code = known->hasJson && known->hasStatOfPaths()
        ? BoardScripts::list()
        : BoardScripts::listPlain(*known);
    co_return co_await m_link.executeOnDevice(code, listTimeout);
}

Async<QString> BoardProfile::nativePath(QString path)
{
    if (!known() && isListingComplete())
        co_return path;
    const auto board = co_await capabilities();
    if (!board)
        co_return board.error();
    co_return board->nativePath(path);
}

/// A board without `os.stat` always answers "__EXISTS__0". So unless the board is known to have
/// `os.stat`, the capabilities are read after this answer.
Async<QString> BoardProfile::existsReply(QString path)
{
    const auto life = m_life.watch();
    auto known = this->known();
    if (!known || known->hasStatOfPaths()) {
        auto output = co_await m_link.executeOnDevice(BoardScripts::exists(path), quickTimeout);
        if (!life)
            co_return DeviceError::closed();
        const bool isDoubtful =
            output && output->contains("__EXISTS__0"_L1) && !known && !isListingComplete();
        if (!isDoubtful)
            co_return output;
        const auto board = co_await capabilities();
        if (!life)
            co_return DeviceError::closed();
        if (!board)
            co_return board.error();
        if (board->hasStatOfPaths())
            co_return output;
        known = *board;
    }
    const QString code = BoardScripts::existsPlain(known->nativePath(path));
    co_return co_await m_link.executeOnDevice(code, quickTimeout);
}

bool BoardProfile::isListingComplete() const
{
    return m_listedConnection == m_link.connectionNumber();
}

} // namespace Korvane
