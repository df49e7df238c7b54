#pragma once

#include "velmiro_mcp/platform/local/icalendar/Components.hpp"
#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <cstdint>
#include <memory>

namespace velmiro::local {

/// The most steps that one VTIMEZONE may take. The whole history of a zone takes less than half.
inline constexpr std::uint64_t mostStepsOfVTimeZone = 50'000;

/// Returns the zone that a VTIMEZONE describes. `fallback`, which may be null, is the zone before
/// the first observance, and the whole zone if no observance can be read or the steps run out.
std::shared_ptr<const Zone> readVTimeZone(const Component& component,
                                          const std::shared_ptr<const Zone>& fallback,
                                          WorkBudget& budget);

} // namespace velmiro::local
