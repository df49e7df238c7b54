#pragma once

#include "velmiro_mcp/platform/local/calendars/Occurrence.hpp"
#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include <span>
#include <vector>

namespace velmiro::local {

/// Returns the occurrences of a recurring event in `range`, without those that are overridden.
/// `overrides` are the events with the same UID and a RECURRENCE-ID.
std::vector<Occurrence> seriesOccurrences(const StoredEvent& event,
                                          std::span<const StoredEvent* const> overrides,
                                          const TimeRange& range, UserClock& clock,
                                          WorkBudget& budget);

} // namespace velmiro::local
