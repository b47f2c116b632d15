#include "board/TransferStatus.h"

#include <utility>

namespace Korvane {

TransferStatus::Running::Running(TransferStatus &transfer)
    : m_transfer(&transfer)
{
    if (++transfer.m_running == 1)
        emit transfer.isSendingToDeviceChanged();
}

TransferStatus::Running::~Running()
{
    // A coroutine that ends because everything goes may outlive the TransferStatus.
    if (!m_transfer || --m_transfer->m_running > 0)
        return;
    const bool hadStatus = !std::exchange(m_transfer->m_status, {}).isEmpty();
    emit m_transfer->isSendingToDeviceChanged();
    if (hadStatus && m_transfer)
        emit m_transfer->statusChanged();
}

void TransferStatus::Running::setStatus(const QString &status)
{
    if (!m_transfer || m_transfer->m_status == status)
        return;
    m_transfer->m_status = status;
    emit m_transfer->statusChanged();
}

} // namespace Korvane
