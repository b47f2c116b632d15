#pragma once

#include "base/Async.h"
#include "document/DocumentPlace.h"

#include <QByteArray>

#include <optional>

namespace Korvane {

/// Reads and writes whole files of one kind of place. An error's message is the full text for the
/// user. Fails with ErrorCode::Closed when the store was destroyed meanwhile. Main thread only.
class DocumentStore
{
public:
    enum class Comparison { NoFile, Equal, Different };

    virtual ~DocumentStore() = default;

    /// The file's bytes; nothing when there is no such file.
    [[nodiscard]] virtual Async<std::optional<QByteArray>> read(DocumentPlace place) = 0;
    /// Whether the file holds one of \p contents; reads it. A failure with ErrorCode::NoRawREPL or
    /// BoardReplaced has the message that write() would give.
    [[nodiscard]] virtual Async<Comparison> compare(DocumentPlace place,
                                                    QList<QByteArray> contents);
    /// Creates or replaces the file, without asking. \p name is the document's, for messages.
    [[nodiscard]] virtual Async<void> write(DocumentPlace place, QString text, QString name) = 0;
};

} // namespace Korvane
