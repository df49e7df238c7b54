#pragma once

/// How many descriptors the process may have open. The usual soft limit ends at a few hundred, and
/// every question that waits for the user and every script that runs needs some.
namespace velmiro {

/// Lets the process have as many descriptors as the system allows it.
void raiseDescriptorLimit() noexcept;

/// Undoes it in a child that is about to become another program: one that was written for the usual
/// limit may look at every number below it. Safe between `vfork` and `exec`.
void restoreDescriptorLimit() noexcept;

} // namespace velmiro
