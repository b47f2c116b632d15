#pragma once

#include "board/TransferStatus.h"

#include <QElapsedTimer>
#include <QObject>

#include <optional>

namespace Korvane {

class ProgramRun;

/// Shows a program that is being sent to the board as a transfer, which can be canceled. One that
/// takes less than half a second is not shown. Main thread only.
class ProgramSending final : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive this.
    ProgramSending(ProgramRun &run, TransferStatus &transfer);

private:
    void show(qint64 sentBytes, qint64 totalBytes);

    TransferStatus &m_transfer;
    QElapsedTimer m_time; // since the sending began
    std::optional<TransferStatus::Running> m_running;
};

} // namespace Korvane
