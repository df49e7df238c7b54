#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include <chrono>
#include <optional>

namespace velmiro::local {

/// How long an event lasts: days by the calendar, then an exact time.
struct Span {
    std::chrono::days days{0};
    std::chrono::seconds time{0};
};

/// Returns the length that `end` or `duration` gives, whichever is present. Without both, returns
/// no time, or one day if `start` is a date. An end before the start and a negative duration count
/// as no time; an all-day event lasts at least one day.
Span spanOf(const Moment& start, const std::optional<Moment>& end,
            const std::optional<NominalDuration>& duration, UserClock& clock);

/// Returns when something that begins at `start` and lasts `span` ends.
Instant endOf(const Moment& start, const Span& span, UserClock& clock);

} // namespace velmiro::local
