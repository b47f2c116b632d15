#include "document/DocumentStore.h"

namespace Korvane {

Async<DocumentStore::Comparison> DocumentStore::compare(DocumentPlace place,
                                                        QList<QByteArray> contents)
{
    const auto bytes = co_await read(std::move(place));
    if (!bytes)
        co_return bytes.error();
    if (!*bytes)
        co_return Comparison::NoFile;
    co_return contents.contains(**bytes) ? Comparison::Equal : Comparison::Different;
}

} // namespace Korvane
