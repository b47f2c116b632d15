#pragma once

#include "base/Background.h"
#include "document/DocumentStore.h"

namespace Korvane {

/// The files of this computer. They are read and written off the main thread.
class LocalStore final : public DocumentStore
{
public:
    [[nodiscard]] Async<std::optional<QByteArray>> read(DocumentPlace place) override;
    [[nodiscard]] Async<void> write(DocumentPlace place, QString text, QString name) override;

private:
    /// Writing is not delayed by files that cannot be read, for example on a network that does not
    /// answer.
    Background m_reads;
    Background m_writes;
};

} // namespace Korvane
