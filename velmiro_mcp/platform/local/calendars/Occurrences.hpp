#pragma once

#include "velmiro_mcp/platform/local/calendars/Occurrence.hpp"
#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include <vector>

namespace velmiro::local {

/// Returns the occurrences of a file's events in `range`. The events must stay in place for as long
/// as the occurrences are used. A series that would take too many steps is cut off: its occurrences
/// found until then count.
std::vector<Occurrence> occurrences(const std::vector<StoredEvent>& events, const TimeRange& range,
                                    UserClock& clock, WorkBudget& budget);

} // namespace velmiro::local
