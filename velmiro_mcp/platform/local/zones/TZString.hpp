#pragma once

#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <string_view>
#include <vector>

namespace velmiro::local {

/// Returns the changes that a TZ string (CET-1CEST,M3.5.0,M10.5.0/3) makes from the year `from` to
/// `Zone::lastYear`. The first change is to the offset of standard time, at the start of 1900; it
/// is the only one if the string names no daylight saving time. Returns none if the string is
/// malformed.
std::vector<Zone::Change> changesOfTZString(std::string_view text, int from);

} // namespace velmiro::local
