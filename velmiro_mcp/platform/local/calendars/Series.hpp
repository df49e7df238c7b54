#pragma once

#include "velmiro_mcp/platform/local/calendars/Occurrences.hpp"

#include <span>
#include <vector>

namespace velmiro::local {

/// How long an event lasts: days by the calendar, and an exact time after them.
struct Span {
    std::chrono::days days{0};
    std::chrono::seconds time{0};
};

/// What `end` or `duration` say, whichever is there; else nothing, or one day when all-day. An end
/// before its start, like a negative duration, is none; an all-day event has at least its one day.
Span spanOf(const Moment& start, const std::optional<Moment>& end,
            const std::optional<NominalDuration>& duration, UserClock& clock);

/// When something that begins at `start` and lasts `span` ends.
Instant endOf(const Moment& start, const Span& span, UserClock& clock);

/// The occurrences of an event that repeats, without those in whose place others stand.
/// `replacements` are the events of the same UID that have a RECURRENCE-ID.
std::vector<Occurrence> seriesOccurrences(const StoredEvent& event,
                                          std::span<const StoredEvent* const> replacements,
                                          const TimeRange& range, UserClock& clock,
                                          WorkBudget& budget);

} // namespace velmiro::local
