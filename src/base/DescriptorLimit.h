#pragma once

/// The limit of open descriptors. A server whose connections may all be taken by others needs more
/// than the usual 1,024, and the window fails in bad ways when there are none.
namespace Korvane::DescriptorLimit {

/// Raises the soft limit to the hard one. Must be called before there are threads.
void raise();

/// Restores the soft limit from before `raise` in a child process that is about to execute another
/// program, which may use select(). Only makes system calls.
void restoreInChild();

} // namespace Korvane::DescriptorLimit
