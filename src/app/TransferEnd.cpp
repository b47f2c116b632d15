#include "app/TransferEnd.h"

#include "base/OneShot.h"

#include <QDeadlineTimer>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <stop_token>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

constexpr auto longestEnd = 2s;

} // namespace

QCoro::Task<bool> endTransfers(TransferStatus &transfer, UserPrompts &prompts,
                               const DeviceLink &link, QString question)
{
    if (!transfer.isSendingToDevice())
        co_return true;
    const QPointer<TransferStatus> life = &transfer;
    const int connection = link.connectionNumber();
    if (transfer.canCancel()) {
        std::stop_source ended;
        const QObject context; // of the connection
        QObject::connect(&transfer, &TransferStatus::isSendingToDeviceChanged, &context,
                         [&ended] { ended.request_stop(); });
        UserPrompts::Confirmation confirmation;
        confirmation.title = question;
        confirmation.message = transfer.status()
            + QStringLiteral(" It is not finished; the rest will be left undone.");
        confirmation.confirmTitle = QStringLiteral("Stop Transfer");
        confirmation.withdrawn = ended.get_token();
        const auto answer = co_await prompts.confirm(std::move(confirmation));
        if (!life)
            co_return false;
        if (!transfer.isSendingToDevice())
            co_return link.connectionNumber() == connection;
        if (!answer.confirmed)
            co_return false;
        transfer.cancel();
    }
    // Tested again after each change: a save is followed by a listing, which counts as one, too.
    const QDeadlineTimer end(longestEnd);
    while (transfer.isSendingToDevice() && !end.hasExpired()) {
        OneShot<bool> change;
        const QObject context; // of the connections
        QObject::connect(&transfer, &TransferStatus::isSendingToDeviceChanged, &context,
                         [&change] { change.deliver(true); });
        QTimer::singleShot(std::chrono::milliseconds(end.remainingTime()), &context,
                           [&change] { change.deliver(false); });
        static_cast<void>(co_await change.wait());
        if (!life)
            co_return false;
    }
    co_return link.connectionNumber() == connection;
}

} // namespace Korvane
