#pragma once

#include "velmiro_mcp/platform/local/recurrence/RecurrenceRule.hpp"

#include <optional>
#include <string_view>

namespace velmiro::local {

/// Reads the value of an RRULE or EXRULE, as much of it as can be read: blanks, parts that are not
/// known or empty, and numbers that the format does not allow are passed over; of a part that comes
/// twice the last counts. Returns `nullopt` when no frequency remains, and for a rule in another
/// calendar than the Gregorian (RSCALE).
/// UNTIL has no zone but UTC, or else that of the start it belongs to, which the caller knows.
std::optional<RecurrenceRule> readRule(std::string_view text);

} // namespace velmiro::local
