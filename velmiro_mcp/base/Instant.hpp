#pragma once

#include <chrono>

namespace velmiro {

/// A point in time, in milliseconds since 1970-01-01T00:00:00Z.
using Instant = std::chrono::sys_time<std::chrono::milliseconds>;

inline Instant currentInstant() {
    return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

} // namespace velmiro
