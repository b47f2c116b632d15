#include "document/LocalStore.h"

#include "base/LocalFile.h"

#include <QFileInfo>

namespace Korvane {

Async<std::optional<QByteArray>> LocalStore::read(DocumentPlace place)
{
    using Bytes = Result<std::optional<QByteArray>>;
    const std::function<Bytes()> work = [path = place.path]() -> Bytes {
        if (!QFileInfo::exists(path))
            return std::optional<QByteArray>();
        auto bytes = LocalFile::read(path);
        if (!bytes)
            return bytes.error();
        return std::optional(*std::move(bytes));
    };
    const auto held = co_await m_reads.run(work);
    if (!held)
        co_return Error{ErrorCode::Closed, {}};
    co_return *held;
}

Async<void> LocalStore::write(DocumentPlace place, QString text, QString)
{
    const std::function<Result<void>()> work = [path = place.path, text]() -> Result<void> {
        if (!text.isValidUtf16())
            return Error{ErrorCode::NotText, QStringLiteral("The text cannot be written as UTF-8")};
        return LocalFile::writeAtomically(path, text.toUtf8());
    };
    const auto written = co_await m_writes.run(work);
    if (!written)
        co_return Error{ErrorCode::Closed, {}};
    if (*written)
        co_return Result<void>();
    Error error = written->error();
    error.message.prepend(QStringLiteral("Save failed: "));
    co_return error;
}

} // namespace Korvane
