#pragma once

#include "base/Lifetime.h"
#include "document/DocumentStore.h"

namespace Korvane {

class DeviceFiles;
class DeviceLink;

/// The files of the connected board. A place on another board is neither read nor written.
class BoardStore final : public DocumentStore
{
public:
    /// Both must outlive this.
    BoardStore(DeviceLink &link, DeviceFiles &files);

    [[nodiscard]] Async<std::optional<QByteArray>> read(DocumentPlace place) override;
    /// Compares large contents by a digest that the board computes.
    [[nodiscard]] Async<Comparison> compare(DocumentPlace place,
                                            QList<QByteArray> contents) override;
    [[nodiscard]] Async<void> write(DocumentPlace place, QString text, QString name) override;

private:
    [[nodiscard]] Async<Comparison> compareOnBoard(DocumentPlace place, QList<QByteArray> contents);
    /// Whether the file exists on the board of \p place, which must be the connected one.
    [[nodiscard]] Async<bool> exists(DocumentPlace place);
    [[nodiscard]] Async<void> checkBoard(DocumentPlace place);

    DeviceLink &m_link;
    DeviceFiles &m_files;
    Lifetime m_life;
};

} // namespace Korvane
