#pragma once

#include "velmiro_mcp/base/Instant.hpp"

#include <chrono>

/// The days of an all-day event, on the user's clock of this moment. Any thread may call.
namespace velmiro {

struct WholeDays {
    std::chrono::local_days first;
    std::chrono::local_days end; ///< the day after the last
};

/// The days of an event from `start` to `end`, which is later. The first is the one that the clock
/// shows at `start`; their number is the nearest to the time until `end` on that clock, at least
/// one. A day of 23 or 25 hours is one day.
WholeDays wholeDays(Instant start, Instant end);

/// The last whole second of these days.
Instant lastSecond(const WholeDays& days);

} // namespace velmiro
