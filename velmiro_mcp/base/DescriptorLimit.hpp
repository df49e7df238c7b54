#pragma once

/// The limit on open file descriptors. The usual soft limit is a few hundred; every question that
/// waits for the user and every running script needs some of them.
namespace velmiro {

/// Raises the soft limit as far as the system allows.
void raiseDescriptorLimit() noexcept;

/// Restores the original soft limit in a child that is about to become another program: one written
/// for the usual limit may try every number below it. Safe between `vfork` and `exec`.
void restoreDescriptorLimit() noexcept;

} // namespace velmiro
