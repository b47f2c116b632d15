#include "board/LocalPieces.h"

#include "board/DeviceError.h"

#include <functional>
#include <optional>
#include <utility>

namespace Korvane {

namespace {

/// `Closed` when the Background was destroyed before the work had ended.
template <typename T> Result<T> unlessClosed(std::optional<Result<T>> result)
{
    if (!result)
        return DeviceError::closed();
    return *std::move(result);
}

Async<void> closed()
{
    co_return DeviceError::closed();
}

Async<QByteArray> closedSource()
{
    co_return DeviceError::closed();
}

} // namespace

LocalPieces::LocalPieces(Background &background)
    : m_background(background)
{
}

DeviceFileContent::Source LocalPieces::sourceOf(const Reader &reader)
{
    const PieceTransfer::Source next = [this, life = m_life.watch(), reader,
                                        from = From::Start](qsizetype maxBytes) mutable {
        return life ? readPiece(reader, std::exchange(from, From::LastPiece), maxBytes)
                    : closedSource();
    };
    return {[next] { return next; }, reader->size()};
}

PieceTransfer::Sink LocalPieces::sinkOf(const Writer &writer)
{
    return [this, life = m_life.watch(), writer](const QByteArray &bytes) {
        return life ? writePiece(writer, bytes) : closed();
    };
}

Async<LocalPieces::Reader> LocalPieces::openReader(QString path, QString failure)
{
    const std::function<Result<Reader>()> open = [path, failure]() -> Result<Reader> {
        auto reader = LocalFile::Reader::open(path);
        if (!reader)
            return Error{ErrorCode::File, failure};
        return reader;
    };
    co_return unlessClosed(co_await m_background.run(open));
}

Async<LocalPieces::Writer> LocalPieces::openWriter(QString path)
{
    const std::function<Result<Writer>()> open = [path] { return LocalFile::Writer::open(path); };
    co_return unlessClosed(co_await m_background.run(open));
}

Async<QByteArray> LocalPieces::readPiece(Reader reader, From from, qsizetype maxBytes)
{
    const std::function<Result<QByteArray>()> read = [reader, from,
                                                      maxBytes]() -> Result<QByteArray> {
        if (from == From::Start) {
            if (const auto rewound = reader->rewind(); !rewound)
                return rewound.error();
        }
        return reader->read(maxBytes);
    };
    co_return unlessClosed(co_await m_background.run(read));
}

Async<void> LocalPieces::writePiece(Writer writer, QByteArray bytes)
{
    const std::function<Result<void>()> write = [writer, bytes] { return writer->write(bytes); };
    co_return unlessClosed(co_await m_background.run(write));
}

Async<void> LocalPieces::commit(Writer writer)
{
    const std::function<Result<void>()> commit = [writer] { return writer->commit(); };
    co_return unlessClosed(co_await m_background.run(commit));
}

QCoro::Task<void> LocalPieces::discard(Writer writer)
{
    const std::function<bool()> discard = [writer] {
        writer->discard();
        return true;
    };
    co_await m_background.run(discard);
}

} // namespace Korvane
