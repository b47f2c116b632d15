#include "device/Transfer.h"

#include <utility>

namespace Korvane {

Transfer::Running::Running(Transfer &transfer)
    : m_transfer(&transfer)
{
    if (++transfer.m_running == 1)
        emit transfer.isSendingToDeviceChanged();
}

Transfer::Running::~Running()
{
    // A coroutine that ends because everything goes may outlive the Transfer.
    if (!m_transfer || --m_transfer->m_running > 0)
        return;
    const bool hadStatus = !std::exchange(m_transfer->m_status, {}).isEmpty();
    emit m_transfer->isSendingToDeviceChanged();
    if (hadStatus && m_transfer)
        emit m_transfer->statusChanged();
}

void Transfer::Running::setStatus(const QString &status)
{
    if (!m_transfer || m_transfer->m_status == status)
        return;
    m_transfer->m_status = status;
    emit m_transfer->statusChanged();
}

} // namespace Korvane
