#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"
#include "board/PieceTransfer.h"

#include <QList>
#include <QString>

#include <memory>

namespace Korvane {

class DeviceFiles;
class LocalPieces;
class TransferStatus;

/// The status text of a copy: "Copying lib/a.py (3 of 50)…". \p index is from 0.
[[nodiscard]] QString copyProgress(const QString &path, qsizetype index, qsizetype count);

/// The error of a copy of \p count files that ended with \p cause at \p path, the file at \p index.
/// `Closed` is returned unchanged.
[[nodiscard]] Error copyStoppedAt(const QString &path, qsizetype index, qsizetype count,
                                  const Error &cause);

/// Copies files of the board to this computer. A local file is replaced when all of its content has
/// arrived and was checked. Main thread only.
class FileReceiver final
{
public:
    struct Item
    {
        QString source; // path on the board
        QString target; // absolute local path
        QString label;  // name in messages
        qint64 sizeBytes;
    };

    /// All must outlive this.
    FileReceiver(DeviceFiles &files, LocalPieces &local, TransferStatus &transfer);

    /// Copies one file. The message of a `File` error is the system's text. `Closed` when this was
    /// destroyed.
    [[nodiscard]] Async<void> receive(Item item, PieceTransfer::Observer observer);
    /// Copies all in their order, shown as one transfer that can be canceled, and stops at the
    /// first failure. The error's message is the full text for the user. \p finished counts the
    /// files that were copied.
    [[nodiscard]] Async<void> receiveAll(QList<Item> items, std::shared_ptr<qsizetype> finished);

private:
    DeviceFiles &m_files;
    LocalPieces &m_local;
    TransferStatus &m_transfer;
    Lifetime m_life;
};

} // namespace Korvane
