#pragma once

#include "base/UserPrompts.h"
#include "board/TransferStatus.h"

namespace Korvane {

/// Yields true when no transfer is left: there was none, they ended while the question was open, or
/// the user let them be canceled. Canceled ones get two seconds to remove incomplete files from the
/// board. False when they are to continue, or \p transfer was destroyed. \p question is the title
/// of the dialog; \p prompts must outlive it.
[[nodiscard]] QCoro::Task<bool> endTransfers(TransferStatus &transfer, UserPrompts &prompts,
                                             QString question);

} // namespace Korvane
