#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/platform/local/time/CivilTime.hpp"

#include <cstdint>
#include <unordered_map>

namespace velmiro::local {

/// Turns what files say into instants, on the user's clock where a file names no zone. Remembers
/// what it worked out, so one is made for each reading of the calendars and then given up: the
/// user's zone can change.
class UserClock {
public:
    /// When a date begins, or a time is shown.
    Instant instantOf(const Moment& moment);

    /// The first instant of a day.
    Instant startOf(CivilDay day);

    /// What the clock of `zone` shows, the user's where it is null.
    static CivilTime civil(Instant instant, const Zone* zone);

private:
    Instant timeOf(CivilTime time);

    std::unordered_map<std::int64_t, Instant> times_;
    std::unordered_map<std::int64_t, Instant> days_;
};

} // namespace velmiro::local
