#pragma once

#include <sys/types.h>

namespace velmiro::bench {

/// The memory that the stacks of a process's threads have now, in bytes, but for its first thread.
/// The system does not say which memory is a stack; those that DispatchQueue makes are told by
/// their size and by the guard in front of them.
double residentStackBytes(pid_t process);

} // namespace velmiro::bench
