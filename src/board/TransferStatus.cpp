#include "board/TransferStatus.h"

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;

/// A shorter operation shows no progress.
constexpr std::chrono::milliseconds shortOperation{500};

QString rateText(double bytesPerSecond)
{
    if (bytesPerSecond < 1e3)
        return u"%1 B/s"_s.arg(bytesPerSecond, 0, 'f', 0);
    if (bytesPerSecond < 1e6)
        return u"%1 kB/s"_s.arg(bytesPerSecond / 1e3, 0, 'f', 0);
    return u"%1 MB/s"_s.arg(bytesPerSecond / 1e6, 0, 'f', 1);
}

/// In the unit that suits \p total: "0.4 of 1.2 MB".
QString sizeText(qint64 done, qint64 total)
{
    if (total < 1'000)
        return u"%1 of %2 bytes"_s.arg(done).arg(total);
    const double unit = total < 1'000'000 ? 1e3 : 1e6;
    const int decimals = total < 1'000'000 ? 0 : 1;
    return u"%1 of %2 %3"_s.arg(static_cast<double>(done) / unit, 0, 'f', decimals)
        .arg(static_cast<double>(total) / unit, 0, 'f', decimals)
        .arg(total < 1'000'000 ? u"kB"_s : u"MB"_s);
}

QString timeText(double seconds)
{
    const auto whole = static_cast<qint64>(seconds) + 1;
    if (whole < 60)
        return u"%1 s"_s.arg(whole);
    if (whole < 3600)
        return u"%1 min"_s.arg((whole + 59) / 60);
    return u"%1 h %2 min"_s.arg(whole / 3600).arg(whole % 3600 / 60);
}

} // namespace

TransferStatus::Running::Running(TransferStatus &transfer)
    : m_transfer(&transfer)
{
    transfer.m_running.append(this);
    if (transfer.m_running.size() == 1)
        emit transfer.isSendingToDeviceChanged();
}

TransferStatus::Running::~Running()
{
    if (!m_transfer)
        return;
    m_transfer->m_running.removeOne(this);
    if (m_transfer->m_running.isEmpty())
        emit m_transfer->isSendingToDeviceChanged();
    if (m_transfer)
        emit m_transfer->statusChanged();
}

void TransferStatus::Running::setStatus(const QString &status)
{
    if (m_status == status)
        return;
    m_status = status;
    if (m_transfer)
        emit m_transfer->statusChanged();
}

void TransferStatus::Running::setTotal(qint64 totalBytes)
{
    m_totalBytes = totalBytes;
    m_timer.start();
    if (m_transfer)
        emit m_transfer->statusChanged();
}

void TransferStatus::Running::setDone(qint64 doneBytes)
{
    const std::chrono::milliseconds elapsed(m_timer.isValid() ? m_timer.elapsed() : 0);
    if (elapsed < shortOperation)
        return;
    const QString progress = progressText(doneBytes, m_totalBytes, elapsed);
    if (std::exchange(m_progress, progress) != progress && m_transfer)
        emit m_transfer->statusChanged();
}

PieceTransfer::Observer TransferStatus::Running::observer(qint64 before)
{
    PieceTransfer::Observer observer;
    observer.moved = [this, before](qint64 doneBytes) { setDone(before + doneBytes); };
    observer.isCanceled = [this] { return m_isCanceled; };
    return observer;
}

const TransferStatus::Running *TransferStatus::shown() const
{
    const auto found =
        std::find_if(m_running.crbegin(), m_running.crend(),
                     [](const Running *running) { return !running->m_status.isEmpty(); });
    return found == m_running.crend() ? nullptr : *found;
}

QString TransferStatus::status() const
{
    return shown() ? shown()->m_status : QString();
}

QString TransferStatus::progress() const
{
    return shown() ? shown()->m_progress : QString();
}

void TransferStatus::setRest(Rest rest)
{
    m_rest = std::move(rest);
    emit restChanged();
}

void TransferStatus::dropRest()
{
    if (!m_rest)
        return;
    m_rest.reset();
    emit restChanged();
}

Async<void> TransferStatus::resumeRest()
{
    if (!m_rest)
        co_return Error{ErrorCode::Canceled, {}};
    const auto life = m_life.watch();
    const Rest rest = *m_rest; // a copy, since it is dropped
    dropRest();
    auto resumed = co_await rest.resume();
    if (life && !resumed && !m_rest)
        setRest(rest);
    co_return resumed;
}

bool TransferStatus::canCancel() const
{
    return std::any_of(m_running.begin(), m_running.end(), [](const Running *running) {
        return running->m_totalBytes >= 0 && !running->m_isCanceled;
    });
}

void TransferStatus::cancel()
{
    for (Running *running : std::as_const(m_running)) {
        if (running->m_totalBytes >= 0)
            running->m_isCanceled = true;
    }
    emit statusChanged();
}

QString TransferStatus::progressText(qint64 doneBytes, qint64 totalBytes,
                                     std::chrono::milliseconds elapsed)
{
    if (doneBytes <= 0 || totalBytes <= 0 || elapsed.count() <= 0)
        return {};
    const double rate = static_cast<double>(doneBytes) * 1e3 / static_cast<double>(elapsed.count());
    // A file may have grown since its size was read.
    const qint64 percent = std::min<qint64>(100, doneBytes * 100 / totalBytes);
    QString text = u"%1 (%2 %), %3"_s.arg(sizeText(doneBytes, totalBytes), QString::number(percent),
                                          rateText(rate));
    if (doneBytes < totalBytes)
        text += u", %1 left"_s.arg(timeText(static_cast<double>(totalBytes - doneBytes) / rate));
    return text;
}

} // namespace Korvane
