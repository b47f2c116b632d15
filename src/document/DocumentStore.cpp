#include "document/DocumentStore.h"

namespace Korvane {

Async<DocumentStore::Held> DocumentStore::compare(DocumentPlace place, QList<QByteArray> contents)
{
    const auto bytes = co_await read(std::move(place));
    if (!bytes)
        co_return bytes.error();
    if (!*bytes)
        co_return Held::NoFile;
    co_return contents.contains(**bytes) ? Held::Expected : Held::Other;
}

} // namespace Korvane
