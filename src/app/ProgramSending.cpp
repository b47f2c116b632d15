#include "app/ProgramSending.h"

#include "board/ProgramRun.h"

namespace Korvane {

namespace {

constexpr qint64 shortestShown = 500; // milliseconds

} // namespace

ProgramSending::ProgramSending(ProgramRun &run, TransferStatus &transfer)
    : m_transfer(transfer)
{
    connect(&run, &ProgramRun::sending, this, &ProgramSending::show);
    connect(&run, &ProgramRun::sendingEnded, this, [this] {
        m_time.invalidate();
        m_running.reset();
    });
    connect(&transfer, &TransferStatus::statusChanged, this, [this, &run] {
        if (m_running && m_running->isCanceled())
            run.cancelSending();
    });
}

void ProgramSending::show(qint64 sentBytes, qint64 totalBytes)
{
    if (!m_time.isValid())
        m_time.start();
    if (!m_running && m_time.elapsed() < shortestShown)
        return;
    if (!m_running) {
        m_running.emplace(m_transfer);
        m_running->setStatus(QStringLiteral("Sending the program…"));
        m_running->setTotal(totalBytes);
    }
    m_running->setDone(sentBytes);
}

} // namespace Korvane
