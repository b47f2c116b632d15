#include "app/TransferEnd.h"

#include "base/OneShot.h"

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
    OneShot<bool> over;
    const QObject context; // of the connections
    QObject::connect(&transfer, &TransferStatus::isSendingToDeviceChanged, &context,
                     [&over] { over.deliver(true); });
    QTimer::singleShot(longestEnd, &context, [&over] { over.deliver(false); });
    static_cast<void>(co_await over.wait());
    if (!life)
        co_return false;
    co_return link.connectionNumber() == connection;
}

} // namespace Korvane
