#pragma once

/// The limit of open file descriptors. With many clients the server needs more than the usual soft
/// limit of 1,024; once none is left, loading fonts, opening files and starting processes fail.
namespace Korvane::DescriptorLimit {

/// Raises the soft limit to the hard one; does nothing when the system refuses. Must be called
/// before there are threads.
void raise();

/// Restores the soft limit from before `raise` in a child process that is about to execute another
/// program, which may use select(). Makes system calls only, as is required between fork() and
/// exec().
void restoreInChild();

} // namespace Korvane::DescriptorLimit
