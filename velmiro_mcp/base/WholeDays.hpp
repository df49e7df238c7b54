#pragma once

#include "velmiro_mcp/base/Instant.hpp"

#include <chrono>

/// The days of an all-day event, in the user's current time zone. Any thread may call.
namespace velmiro {

struct WholeDays {
    std::chrono::local_days first;
    std::chrono::local_days end; ///< the day after the last
};

/// Returns the days of an event from `start` to `end`, which is later. The first is the local day
/// of `start`. Their number is the local time between the two, rounded to whole days, but at least
/// one. A day of 23 or 25 hours counts as one.
WholeDays wholeDays(Instant start, Instant end);

/// Returns the last whole second of these days.
Instant lastSecond(const WholeDays& days);

} // namespace velmiro
