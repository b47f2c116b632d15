#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"
#include "board/PieceTransfer.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>

namespace Korvane {

/// The operations in progress that transfer data to or from the board: what the window shows of
/// them, the request to cancel them, and the files that an operation which ended early has left.
/// Main thread only.
class TransferStatus final : public QObject
{
    Q_OBJECT

public:
    /// One operation in progress, from construction to destruction; several may overlap. It may
    /// outlive the TransferStatus, and does nothing then.
    class Running final
    {
    public:
        explicit Running(TransferStatus &transfer);
        ~Running();
        Running(const Running &) = delete;
        Running &operator=(const Running &) = delete;

        /// The text to show, for example "Copying lib/a.py (3 of 50)…".
        void setStatus(const QString &status);
        static constexpr qint64 notCancelable = -1;
        /// Makes the operation one that can be canceled, and starts to measure its rate; with
        /// notCancelable it can't be canceled any more.
        void setTotal(qint64 totalBytes);
        /// From half a second after setTotal on, the progress is shown after the text.
        void setDone(qint64 doneBytes);
        [[nodiscard]] bool isCanceled() const { return m_isCanceled; }
        /// Reports to this operation, which must outlive the transfer. \p before is what was moved
        /// before this file.
        [[nodiscard]] PieceTransfer::Observer observer(qint64 before = 0);

    private:
        friend class TransferStatus;

        QPointer<TransferStatus> m_transfer;
        QString m_status;
        QString m_progress;
        QElapsedTimer m_timer;
        qint64 m_totalBytes = notCancelable;
        bool m_isCanceled = false;
    };

    using QObject::QObject;

    [[nodiscard]] bool isSendingToDevice() const { return !m_running.isEmpty(); }
    /// The text of the operation that began last and has one. Empty while nothing runs.
    [[nodiscard]] QString status() const;
    /// The progress of that operation as text; empty until there is enough data for it.
    [[nodiscard]] QString progress() const;
    /// True while an operation runs that can be canceled and has not been.
    [[nodiscard]] bool canCancel() const;
    /// Requests all operations to end. Each ends after its current piece and reports what it left
    /// on the board.
    void cancel();

    /// What a transfer of several files that ended early has left to do.
    struct Rest
    {
        /// The file at which the transfer ended.
        QString file;
        /// Sends or copies the rest, beginning with that file.
        std::function<Async<void>()> resume;
    };
    /// Replaces an earlier rest.
    void setRest(Rest rest);
    /// Called also when the next transfer of several files begins.
    void dropRest();
    /// Null when there is none.
    [[nodiscard]] const Rest *rest() const { return m_rest ? &*m_rest : nullptr; }
    /// Resumes the rest, which is removed first, so that it runs once. Sets it again when resuming
    /// failed and left no rest of its own. Fails with `Canceled` when there is none.
    [[nodiscard]] Async<void> resumeRest();

    /// "45 of 100 kB (45 %), 10 kB/s, 12 s left"; empty until there is enough data for it.
    [[nodiscard]] static QString progressText(qint64 doneBytes, qint64 totalBytes,
                                              std::chrono::milliseconds elapsed);

signals:
    void isSendingToDeviceChanged();
    /// Also when canCancel has changed.
    void statusChanged();
    void restChanged();

private:
    [[nodiscard]] const Running *shown() const;

    QList<Running *> m_running;
    std::optional<Rest> m_rest;
    Lifetime m_life;
};

} // namespace Korvane
