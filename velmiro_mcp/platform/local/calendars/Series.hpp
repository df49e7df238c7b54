#pragma once

#include "velmiro_mcp/platform/local/calendars/Occurrence.hpp"
#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include <span>
#include <vector>

namespace velmiro::local {

/// The occurrences of an event that repeats, without those in whose place others stand.
/// `overrides` are the events of the same UID that have a RECURRENCE-ID.
std::vector<Occurrence> seriesOccurrences(const StoredEvent& event,
                                          std::span<const StoredEvent* const> overrides,
                                          const TimeRange& range, UserClock& clock,
                                          WorkBudget& budget);

} // namespace velmiro::local
