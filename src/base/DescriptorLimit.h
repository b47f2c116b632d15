#pragma once

/// The limit of open descriptors. With many clients the server needs more than the usual 1,024, and
/// the window cannot load fonts, open files or start processes without one.
namespace Korvane::DescriptorLimit {

/// Raises the soft limit to the hard one. Must be called before there are threads.
void raise();

/// Restores the soft limit from before `raise` in a child process that is about to execute another
/// program, which may use select(). Only makes system calls.
void restoreInChild();

} // namespace Korvane::DescriptorLimit
