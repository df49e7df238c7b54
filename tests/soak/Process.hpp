#pragma once

#include <cstddef>
#include <sys/types.h>

namespace velmiro::soak {

/// What a process uses, as the kernel counts it.
struct Usage {
    double megabytes = 0; ///< of its own memory: without the pages of files
    std::size_t threads = 0;
    std::size_t descriptors = 0;
    std::size_t children = 0; ///< also those that have ended and were not waited for
};

/// Throws std::system_error if there is no such process.
Usage usageOf(pid_t process);

} // namespace velmiro::soak
