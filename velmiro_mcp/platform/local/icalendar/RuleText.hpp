#pragma once

#include "velmiro_mcp/platform/local/recurrence/RecurrenceRule.hpp"

#include <optional>
#include <string_view>

namespace velmiro::local {

/// Reads as much of an RRULE or EXRULE value as possible. White space, unknown or empty parts, and
/// numbers that the format does not allow are skipped; of a repeated part the last counts. Returns
/// `nullopt` if no frequency remains, and for a rule in a calendar other than the Gregorian
/// (RSCALE).
/// An UNTIL is in UTC or has no zone. Without one it is in the zone of the start it belongs to,
/// which the caller knows.
std::optional<RecurrenceRule> readRule(std::string_view text);

} // namespace velmiro::local
