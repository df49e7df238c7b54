#pragma once

#include <sys/types.h>

namespace velmiro::bench {

/// Returns the resident memory of the stacks of a process's threads, except the first, in bytes.
/// The system does not say which mappings are stacks; those that DispatchQueue makes are recognised
/// by their size and the guard page before them.
double residentStackBytes(pid_t process);

} // namespace velmiro::bench
