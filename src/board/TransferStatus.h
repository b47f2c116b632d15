#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

namespace Korvane {

/// Whether a send, a save to the board or a copy in either direction is in progress, and on which
/// file, for whoever shows it.
class TransferStatus final : public QObject
{
    Q_OBJECT

public:
    /// Keeps `isSendingToDevice` set for as long as it lives; several may overlap.
    class Running final
    {
    public:
        explicit Running(TransferStatus &transfer);
        ~Running();
        Running(const Running &) = delete;
        Running &operator=(const Running &) = delete;

        /// What the person is told, for example "Copying lib/a.py (3 of 50)".
        void setStatus(const QString &status);

    private:
        QPointer<TransferStatus> m_transfer;
    };

    using QObject::QObject;

    [[nodiscard]] bool isSendingToDevice() const { return m_running > 0; }
    /// Empty while nothing runs.
    [[nodiscard]] const QString &status() const { return m_status; }

signals:
    void isSendingToDeviceChanged();
    void statusChanged();

private:
    int m_running = 0;
    QString m_status;
};

} // namespace Korvane
