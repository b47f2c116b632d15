#pragma once

#include "base/Lifetime.h"
#include "board/DeviceFileOperations.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <optional>

namespace Korvane {

class DeviceFiles;
class DeviceLink;

/// The free and used space of the board's file systems. Main thread only.
class BoardSpace final : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this.
    BoardSpace(DeviceLink &link, DeviceFiles &files, DeviceFileOperations &operations);

    /// Asks the board, unless it was asked since the last listing. The task may be dropped.
    QCoro::Task<void> request();
    /// Of the file system that has \p folder; nothing while it has not been read.
    [[nodiscard]] std::optional<DeviceFileOperations::Space> space(const QString &folder) const;

signals:
    void changed();

private:
    DeviceLink &m_link;
    DeviceFileOperations &m_operations;
    QHash<QString, DeviceFileOperations::Space> m_spaces;
    bool m_isRequested = false; // since the last listing
    Lifetime m_life;
};

} // namespace Korvane
