#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/platform/local/time/CivilTime.hpp"

#include <cstdint>
#include <unordered_map>

namespace velmiro::local {

/// Converts the times in files to instants, on the user's clock if a file names no zone. It caches
/// its results, so each reading of the calendars uses a new one: the user's zone can change.
class UserClock {
public:
    /// Returns when a date begins, or when the clock shows a time.
    Instant instantOf(const Moment& moment);

    /// Returns the first instant of a day.
    Instant startOf(CivilDay day);

    /// Returns the time that the clock of `zone` shows, or the user's clock if `zone` is null.
    static CivilTime civil(Instant instant, const Zone* zone);

private:
    Instant timeOf(CivilTime time);

    std::unordered_map<std::int64_t, Instant> times_;
    std::unordered_map<std::int64_t, Instant> days_;
};

} // namespace velmiro::local
