#pragma once

#include "base/Async.h"
#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/LocalFile.h"
#include "board/DeviceFileContent.h"

#include <memory>

namespace Korvane {

/// Local files as the source or the target of transfers: opened, read and written in pieces off the
/// main thread. Every step fails with `Closed` when the Background or this object was destroyed.
/// The message of other errors is the system's text alone, unless stated otherwise. Main thread
/// only.
class LocalPieces final
{
public:
    using Reader = std::shared_ptr<LocalFile::Reader>;
    using Writer = std::shared_ptr<LocalFile::Writer>;

    /// \p background must outlive this.
    explicit LocalPieces(Background &background);

    /// Fails with a `File` error whose message is \p failure.
    [[nodiscard]] Async<Reader> openReader(QString path, QString failure);
    [[nodiscard]] Async<Writer> openWriter(QString path);
    [[nodiscard]] Async<void> commit(Writer writer);
    /// Removes what was written; the file at the writer's path is unchanged.
    [[nodiscard]] QCoro::Task<void> discard(Writer writer);
    /// The file of \p reader, which may be read more than once.
    [[nodiscard]] DeviceFileContent::Source sourceOf(const Reader &reader);
    [[nodiscard]] PieceTransfer::Sink sinkOf(const Writer &writer);

private:
    enum class From { Start, LastPiece };
    [[nodiscard]] Async<QByteArray> readPiece(Reader reader, From from, qsizetype maxBytes);
    [[nodiscard]] Async<void> writePiece(Writer writer, QByteArray bytes);

    Background &m_background;
    Lifetime m_life;
};

} // namespace Korvane
