#pragma once

#include "base/UserPrompts.h"
#include "board/DeviceLink.h"
#include "board/TransferStatus.h"

namespace Korvane {

/// Ends the transfers that are in progress. Asks, with \p question as the title of the dialog,
/// before those that can be canceled are canceled; then all get two seconds to end and to remove
/// incomplete files from the board. Yields true when the caller may continue, also when a transfer
/// has not ended in that time; false when the user lets them continue, the board was disconnected
/// meanwhile, or \p transfer was destroyed. \p prompts and \p link must outlive \p transfer.
[[nodiscard]] QCoro::Task<bool> endTransfers(TransferStatus &transfer, UserPrompts &prompts,
                                             const DeviceLink &link, QString question);

} // namespace Korvane
