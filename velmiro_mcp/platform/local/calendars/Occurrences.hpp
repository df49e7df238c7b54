#pragma once

#include "velmiro_mcp/platform/local/calendars/Occurrence.hpp"
#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include <vector>

namespace velmiro::local {

/// The occurrences, in `range`, of a file's events. The events must stay where they are for as long
/// as the occurrences are used. A series that would take more steps than it may is cut off: those
/// of its occurrences that were found until then count.
std::vector<Occurrence> occurrences(const std::vector<StoredEvent>& events, const TimeRange& range,
                                    UserClock& clock, WorkBudget& budget);

} // namespace velmiro::local
