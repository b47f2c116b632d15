#pragma once

#include "base/UserPrompts.h"
#include "board/DeviceLink.h"
#include "board/TransferStatus.h"

namespace Korvane {

/// Yields true when no transfer is left: there was none, they ended while the question was open, or
/// the user let them be canceled. Canceled ones get two seconds to remove incomplete files from the
/// board. False when they are to continue, the board was disconnected meanwhile, or \p transfer was
/// destroyed. \p question is the title of the dialog; \p prompts and \p link must outlive
/// \p transfer.
[[nodiscard]] QCoro::Task<bool> endTransfers(TransferStatus &transfer, UserPrompts &prompts,
                                             const DeviceLink &link, QString question);

} // namespace Korvane
