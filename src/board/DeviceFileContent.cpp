#include "board/DeviceFileContent.h"

#include "board/BoardScripts.h"
#include "board/DeviceError.h"
#include "board/DeviceLink.h"
#include "board/QuestionWithdrawal.h"

#include <chrono>
#include <utility>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr auto commandTimeout = 15s;

/// What the board holds at \p path after a write that failed.
QString stateText(PieceTransfer::FileState state, const QString &path)
{
    using State = PieceTransfer::FileState;
    switch (state) {
    case State::Old:
        return path + u" on the board is unchanged."_s;
    case State::New:
        return path + u" on the board is the new file."_s;
    case State::OldOrNew:
        return path + u" on the board is the old or the new file, whole."_s;
    case State::Incomplete:
        return path + u" on the board is incomplete."_s;
    case State::Missing:
        break;
    }
    return path + u" was removed from the board."_s;
}

/// \p label names the file on this computer that could not be read, too.
Error writeFailure(Error error, const QString &label)
{
    if (error.code == ErrorCode::File)
        error.message.prepend(u"Cannot read "_s + label + u": "_s);
    else if (error.code != ErrorCode::Closed)
        error.message.prepend(u"Device write failed: "_s);
    return error;
}

Error writeFailure(Error error, const QString &label, const QString &state)
{
    if (error.code == ErrorCode::Closed)
        return error;
    if (error.code == ErrorCode::Canceled)
        error.message = u"Transfer canceled"_s;
    else
        error = writeFailure(std::move(error), label);
    if (error.message.endsWith(u'.'))
        error.message.chop(1);
    error.message += u" — "_s + state;
    return error;
}

bool isOutOfSpace(const Error &error)
{
    return error.code == ErrorCode::Remote
        && (error.detail.contains("ENOSPC"_L1)
            || error.detail.trimmed().endsWith("OSError: 28"_L1));
}

bool isOutOfMemory(const QString &reason)
{
    return reason.startsWith("MemoryError"_L1) || reason.startsWith("memory allocation failed"_L1);
}

/// The commands for small files use `ubinascii`.
bool mayHaveBase64(const BoardProfile &profile)
{
    const auto known = profile.known();
    return !known || known->base64Module == "ubinascii"_L1;
}

QString nativePath(const BoardProfile &profile, const QString &path)
{
    const auto known = profile.known();
    return known ? known->nativePath(path) : path;
}

bool lacksModule(const Error &error)
{
    return error.code == ErrorCode::Remote && error.message.contains("no module named"_L1);
}

Async<QByteArray> take(std::shared_ptr<QByteArray> bytes, std::shared_ptr<qsizetype> position,
                       qsizetype maxBytes)
{
    const QByteArray piece = bytes->mid(*position, maxBytes);
    *position += piece.size();
    co_return piece;
}

} // namespace

DeviceFileContent::DeviceFileContent(DeviceLink &link, UserPrompts &prompts, BoardProfile &profile)
    : m_link(link)
    , m_prompts(prompts)
    , m_profile(profile)
    , m_queue(link, profile)
{
}

DeviceFileContent::Source DeviceFileContent::sourceOf(const QByteArray &bytes)
{
    const auto content = std::make_shared<QByteArray>(bytes);
    return {[content]() -> PieceTransfer::Source {
                const auto position = std::make_shared<qsizetype>(0);
                return [content, position](qsizetype maxBytes) {
                    return take(content, position, maxBytes);
                };
            },
            bytes.size()};
}

Async<void> DeviceFileContent::write(Source source, WritePermit permit, QString label,
                                     PieceTransfer::Observer observer)
{
    const QString path = permit.path();
    const auto life = m_life.watch();
    if (source.sizeBytes <= smallSize && mayHaveBase64(m_profile)) {
        auto written = co_await writeAtOnce(source.open(), nativePath(m_profile, path), label);
        if (written || !lacksModule(written.error()))
            co_return written;
        if (!life)
            co_return DeviceError::closed();
        const auto needsPieces = co_await checkNeedsPieces(written.error());
        if (!needsPieces)
            co_return needsPieces.error();
        if (!life)
            co_return DeviceError::closed();
    }
    auto sent = co_await m_queue.send(source.open, path, PieceTransfer::Target::Beside, observer);
    if (!life)
        co_return DeviceError::closed();
    if (!sent.result && isOutOfSpace(sent.result.error())
        && sent.fileState == PieceTransfer::FileState::Old) {
        const auto confirmed = co_await confirmInPlace(permit, label);
        if (!life)
            co_return DeviceError::closed();
        if (!confirmed) {
            sent.result = confirmed.error();
        } else if (*confirmed) {
            sent =
                co_await m_queue.send(source.open, path, PieceTransfer::Target::InPlace, observer);
        }
    }
    if (!sent.result)
        co_return writeFailure(sent.result.error(), label, stateText(sent.fileState, path));
    co_return Result<void>();
}

/// Fails with \p error when the board does have what the command for small files needs.
Async<void> DeviceFileContent::checkNeedsPieces(Error error)
{
    const auto board = co_await m_profile.capabilities();
    if (!board)
        co_return board.error();
    if (board->base64Module == "ubinascii"_L1)
        co_return error;
    co_return Result<void>();
}

/// False when the user declines, and when there is no old file whose space could be used.
Async<bool> DeviceFileContent::confirmInPlace(WritePermit permit, QString label)
{
    const QString path = permit.path();
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    const auto output = co_await m_profile.existsReply(path);
    if (!life)
        co_return DeviceError::closed();
    if (!output)
        co_return output.error();
    if (!output->contains("__EXISTS__1"_L1))
        co_return false;
    UserPrompts::Confirmation question;
    question.title = u"Write over “%1” on the device?"_s.arg(label);
    question.message = u"The board has no room for the old and the new %1. If writing over the old "
                       "file fails, both are lost on the board."_s.arg(path);
    question.confirmTitle = u"Write Over"_s;
    auto asking =
        permit.confirm() ? permit.confirm()(std::move(question)) : confirm(std::move(question));
    const auto confirmed = co_await std::move(asking);
    if (!life)
        co_return DeviceError::closed();
    if (!confirmed)
        co_return confirmed.error();
    if (!m_link.connectionState().isConnected())
        co_return DeviceError::notConnected();
    if (connection != m_link.connectionNumber())
        co_return DeviceError::boardReplaced();
    co_return *confirmed;
}

Async<bool> DeviceFileContent::confirm(UserPrompts::Confirmation question)
{
    const QuestionWithdrawal end(m_link);
    question.withdrawn = end.token();
    const auto answer = co_await m_prompts.confirm(std::move(question));
    co_return answer.confirmed;
}

Async<void> DeviceFileContent::writeAtOnce(PieceTransfer::Source next, QString path, QString label)
{
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    QByteArray bytes;
    while (true) {
        const auto piece = co_await next(smallSize);
        if (!piece)
            co_return writeFailure(piece.error(), label);
        if (piece->isEmpty())
            break;
        bytes += *piece;
    }
    if (!life)
        co_return DeviceError::closed();
    if (connection != m_link.connectionNumber())
        co_return writeFailure(DeviceError::connectionLost(), label);
    const QString code = BoardScripts::write(path, bytes);
    const auto output = co_await m_link.executeOnDevice(code, commandTimeout);
    if (!output)
        co_return writeFailure(output.error(), label);
    if (output->contains("__OK__"_L1))
        co_return Result<void>();
    co_return Error{ErrorCode::Remote,
                    u"Device write failed for "_s + label + u": "_s + output->trimmed()};
}

Async<void> DeviceFileContent::read(QString path, QString label, qint64 sizeBytes,
                                    PieceTransfer::Sink sink, PieceTransfer::Observer observer)
{
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    if (sizeBytes <= smallSize && mayHaveBase64(m_profile)) {
        const auto bytes = co_await readAtOnce(nativePath(m_profile, path), label);
        if (!life)
            co_return DeviceError::closed();
        if (bytes)
            co_return co_await sink(*bytes);
        // The file may be larger than listed.
        const bool hasNoRoom =
            bytes.error().code == ErrorCode::TimedOut || isOutOfMemory(bytes.error().detail);
        if (!hasNoRoom && lacksModule(bytes.error())) {
            const auto needsPieces = co_await checkNeedsPieces(bytes.error());
            if (!needsPieces)
                co_return needsPieces.error();
            if (!life)
                co_return DeviceError::closed();
        } else if (!hasNoRoom || connection != m_link.connectionNumber()) {
            co_return bytes.error();
        }
    }
    const auto received = co_await m_queue.receive(path, std::move(sink), std::move(observer));
    if (received)
        co_return received;
    Error error = received.error();
    const bool hasFullText = error.code == ErrorCode::Closed || error.code == ErrorCode::File;
    if (error.code == ErrorCode::Canceled)
        error.message = u"Transfer canceled — %1 was not copied."_s.arg(label);
    else if (error.code == ErrorCode::Remote && error.detail.contains("OSError"_L1))
        error.message.prepend(u"Cannot read "_s + label + u": "_s);
    else if (!hasFullText)
        error.message.prepend(u"Failed to read "_s + label + u": "_s);
    co_return error;
}

/// When the board has too little memory, the error's `detail` is the board's reason.
Async<QByteArray> DeviceFileContent::readAtOnce(QString path, QString label)
{
    const auto output = co_await m_link.executeOnDevice(BoardScripts::read(path), commandTimeout);
    if (!output) {
        Error error = output.error();
        error.detail = isOutOfMemory(error.message) ? error.message : QString();
        error.message.prepend(u"Failed to read "_s + label + u": "_s);
        co_return error;
    }
    if (const auto answer = BoardScripts::textAfter(*output, "__FILEERR__"_L1)) {
        const QString reason = answer->trimmed();
        co_return Error{ErrorCode::Remote,
                        u"Cannot read "_s + label + u": "_s
                            + DeviceError::withSystemErrorNamed(reason),
                        isOutOfMemory(reason) ? reason : QString()};
    }
    if (const auto base64 = BoardScripts::textAfter(*output, "__FILE__"_L1)) {
        const QByteArray encoded = base64->trimmed().toUtf8();
        const auto decoded =
            QByteArray::fromBase64Encoding(encoded, QByteArray::AbortOnBase64DecodingErrors);
        // The decoder takes a text that was cut off for one without padding.
        if (decoded && encoded.size() % 4 == 0)
            co_return *decoded;
    }
    co_return Error{ErrorCode::Remote, u"Cannot decode "_s + label};
}

} // namespace Korvane
