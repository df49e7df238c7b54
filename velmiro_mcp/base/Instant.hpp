#pragma once

#include <chrono>

namespace velmiro {

/// A point in time, in milliseconds since 1970-01-01T00:00:00Z.
using Instant = std::chrono::sys_time<std::chrono::milliseconds>;

} // namespace velmiro
